#include "platform/protocol_io.h"

#include <string>

namespace orvane::platform {

void ProtocolWriter::write(const Json& line) {
  // Text that reaches us from a log argument may be lossy; a replacement
  // character is better than losing the whole line.
  std::string text = line.dump(-1, ' ', false, Json::error_handler_t::replace);
  text += '\n';
  out_.write(text.data(), static_cast<std::streamsize>(text.size()));
}

void ProtocolWriter::writeLine(std::string_view json) {
  out_.write(json.data(), static_cast<std::streamsize>(json.size()));
  out_.put('\n');
}

int64_t protocolLocation(int64_t location) { return location == NSNotFound ? -1 : location; }

Json protocolRange(TextRange range) {
  return Json::array({protocolLocation(range.location), range.length});
}

}  // namespace orvane::platform
