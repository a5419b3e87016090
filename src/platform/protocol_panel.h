// The shared candidate window as protocol lines: the list behaviour of
// ListCandidatePanel, with every change reported so that the front-end can
// draw the window.
#pragma once

#include "platform/candidate_panel.h"
#include "platform/protocol_io.h"

namespace orvane::platform {

class ProtocolCandidatePanel final : public ListCandidatePanel {
 public:
  explicit ProtocolCandidatePanel(ProtocolWriter& writer) : writer_(writer) {}

 protected:
  void didUpdate() override;
  void didShow(int locationHint) override;
  void didHide() override;
  void didReceiveArrow(bool down) override;

 private:
  ProtocolWriter& writer_;
};

}  // namespace orvane::platform
