// The output side of the session protocol: one JSON object per line, written
// whole and flushed at once so that a client reading line by line never
// waits on a buffer.
#pragma once

#include <cstdint>
#include <ostream>

#include <nlohmann/json.hpp>

#include "platform/client.h"

namespace orvane::platform {

// Field order follows the protocol's tables, which keeps lines readable.
using Json = nlohmann::ordered_json;

class ProtocolWriter {
 public:
  explicit ProtocolWriter(std::ostream& out) : out_(out) {}
  ProtocolWriter(const ProtocolWriter&) = delete;
  ProtocolWriter& operator=(const ProtocolWriter&) = delete;

  void write(const Json& line);
  // A line its caller already wrote as one JSON object, without the newline.
  void writeLine(std::string_view json);

 private:
  std::ostream& out_;
};

// A location as the protocol writes it: NSNotFound becomes -1.
int64_t protocolLocation(int64_t location);
Json protocolRange(TextRange range);

}  // namespace orvane::platform
