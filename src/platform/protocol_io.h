// The output side of the session protocol: one JSON object per line, each
// written whole. The stream is flushed when the program next waits for its
// input (the serving loop ties its input to this output), so that the lines
// a request causes reach the client in one write and one wake-up instead of
// one for every line, and a client reading line by line still never waits on
// a buffer.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

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

// The lines of every keystroke (log lines, marked text, candidate rows) are
// written field by field rather than through a JSON tree, exactly as the
// tree's writer spells them. Each returns false, having written part of the
// line, when a string is not valid UTF-8: the caller then writes the line
// through a tree, whose writer replaces what is not UTF-8.
bool appendJSONString(std::string& out, std::string_view s);
void appendJSONNumber(std::string& out, int64_t value);
void appendProtocolRange(std::string& out, TextRange range);

}  // namespace orvane::platform
