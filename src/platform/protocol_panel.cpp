#include "platform/protocol_panel.h"

namespace orvane::platform {

void ProtocolCandidatePanel::didUpdate() { writer_.write(Json{{"panel", "update"}, {"rows", rows()}}); }

void ProtocolCandidatePanel::didShow(int locationHint) {
  writer_.write(Json{{"panel", "show"}, {"hint", locationHint}});
}

void ProtocolCandidatePanel::didHide() { writer_.write(Json{{"panel", "hide"}}); }

void ProtocolCandidatePanel::didReceiveArrow(bool down) {
  writer_.write(Json{{"panel", "arrow"}, {"down", down}, {"selected", selectedCandidate()}});
}

}  // namespace orvane::platform
