#include "platform/protocol_client.h"

namespace orvane::platform {

void ProtocolClient::setMarkedText(const AttributedString& text, TextRange selection, TextRange replacement) {
  // Every keystroke's line: written directly unless a string is not UTF-8.
  std::string line = "{\"client\":";
  bool valid = appendJSONString(line, id_);
  line += ",\"call\":\"setMarkedText\",\"text\":";
  valid = valid && appendJSONString(line, text.text);
  line += ",\"runs\":[";
  for (std::size_t k = 0; k < text.runs.size(); ++k) {
    line += k == 0 ? "{\"start\":" : ",{\"start\":";
    appendJSONNumber(line, text.runs[k].start);
    line += ",\"length\":";
    appendJSONNumber(line, text.runs[k].length);
    line += ",\"style\":";
    appendJSONNumber(line, text.runs[k].style);
    line += '}';
  }
  line += "],\"selection\":";
  appendProtocolRange(line, selection);
  line += ",\"replacement\":";
  appendProtocolRange(line, replacement);
  line += '}';
  if (valid) {
    writer_.writeLine(line);
    return;
  }
  Json runs = Json::array();
  for (const auto& run : text.runs)
    runs.push_back(Json{{"start", run.start}, {"length", run.length}, {"style", run.style}});
  writer_.write(Json{{"client", id_},
                     {"call", "setMarkedText"},
                     {"text", text.text},
                     {"runs", std::move(runs)},
                     {"selection", protocolRange(selection)},
                     {"replacement", protocolRange(replacement)}});
}

void ProtocolClient::insertText(std::string_view text, TextRange replacement) {
  writer_.write(Json{{"client", id_},
                     {"call", "insertText"},
                     {"text", std::string(text)},
                     {"replacement", protocolRange(replacement)}});
}

void ProtocolClient::selectInputMode(std::string_view modeIdentifier) {
  writer_.write(Json{{"client", id_}, {"call", "selectInputMode"}, {"mode", std::string(modeIdentifier)}});
}

}  // namespace orvane::platform
