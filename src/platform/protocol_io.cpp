#include "platform/protocol_io.h"

#include <charconv>
#include <string>

#include "text/text.h"

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

bool appendJSONString(std::string& out, std::string_view s) {
  if (!text::isValidUTF8(s)) return false;
  static constexpr char hex[] = "0123456789abcdef";
  out += '"';
  std::size_t plain = 0;  // start of the bytes not yet appended, which need no escape
  for (std::size_t i = 0; i < s.size(); ++i) {
    const auto c = static_cast<unsigned char>(s[i]);
    if (c >= 0x20 && c != '"' && c != '\\') continue;
    out.append(s.data() + plain, i - plain);
    plain = i + 1;
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\b': out += "\\b"; break;
      case '\f': out += "\\f"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        out += "\\u00";
        out += hex[c >> 4];
        out += hex[c & 0xF];
    }
  }
  out.append(s.data() + plain, s.size() - plain);
  out += '"';
  return true;
}

void appendJSONNumber(std::string& out, int64_t value) {
  char buffer[24];
  out.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
}

void appendProtocolRange(std::string& out, TextRange range) {
  out += '[';
  appendJSONNumber(out, protocolLocation(range.location));
  out += ',';
  appendJSONNumber(out, range.length);
  out += ']';
}

}  // namespace orvane::platform
