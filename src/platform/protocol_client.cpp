#include "platform/protocol_client.h"

namespace orvane::platform {

void ProtocolClient::setMarkedText(const AttributedString& text, TextRange selection, TextRange replacement) {
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
