#include "platform/protocol_panel.h"

namespace orvane::platform {

void ProtocolCandidatePanel::didUpdate() {
  // Rows come with every conversion and page: written directly unless a
  // row is not UTF-8.
  const auto& all = rows();
  std::string line = "{\"panel\":\"update\",\"rows\":[";
  bool valid = true;
  for (std::size_t k = 0; k < all.size() && valid; ++k) {
    if (k > 0) line += ',';
    valid = appendJSONString(line, all[k]);
  }
  line += "]}";
  if (valid) {
    writer_.writeLine(line);
  } else {
    writer_.write(Json{{"panel", "update"}, {"rows", all}});
  }
}

void ProtocolCandidatePanel::didShow(int locationHint) {
  writer_.write(Json{{"panel", "show"}, {"hint", locationHint}});
}

void ProtocolCandidatePanel::didHide() { writer_.write(Json{{"panel", "hide"}}); }

void ProtocolCandidatePanel::didReceiveArrow(bool down) {
  writer_.write(Json{{"panel", "arrow"}, {"down", down}, {"selected", selectedCandidate()}});
}

}  // namespace orvane::platform
