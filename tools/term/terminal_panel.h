// The shared candidate panel of the terminal front-end. The list behaviour
// is the platform's; the screen reads rows(), selectedCandidate() and
// isVisible() on every redraw, and a redraw follows every key, so the panel
// has nothing to draw by itself.
#pragma once

#include "platform/candidate_panel.h"

namespace orvane::term {

class TerminalPanel final : public platform::ListCandidatePanel {};

}  // namespace orvane::term
