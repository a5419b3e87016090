#include "platform/candidate_panel.h"

namespace orvane::platform {

void ListCandidatePanel::updateCandidates() {
  rows_ = active_ ? active_->candidates(this) : std::vector<std::string>{};
  selected_ = 0;
  didUpdate();
}

void ListCandidatePanel::show(int locationHint) {
  visible_ = true;
  didShow(locationHint);
}

void ListCandidatePanel::hide() {
  visible_ = false;
  didHide();
}

void ListCandidatePanel::interpretKeyEvents(const std::vector<KeyEvent>& events) {
  for (const auto& e : events) {
    if (e.type != keyDownEventType) continue;
    bool down = e.keyCode == downArrowKeyCode;
    if (!down && e.keyCode != upArrowKeyCode) continue;
    auto next = selected_ + (down ? 1 : -1);
    bool moves = next >= 0 && next < static_cast<int64_t>(rows_.size());
    if (moves) selected_ = next;
    didReceiveArrow(down);
    if (moves && active_) active_->candidateSelectionChanged(rowText(selected_));
  }
}

void ListCandidatePanel::selectRow(int64_t row) {
  if (active_) active_->candidateSelected(rowText(row));
}

void ListCandidatePanel::highlightRow(int64_t row) {
  if (row < 0 || row >= static_cast<int64_t>(rows_.size())) return;
  selected_ = row;
  if (active_) active_->candidateSelectionChanged(rowText(row));
}

std::optional<std::string> ListCandidatePanel::rowText(int64_t row) const {
  if (row < 0 || row >= static_cast<int64_t>(rows_.size())) return std::nullopt;
  return rows_[static_cast<std::size_t>(row)];
}

}  // namespace orvane::platform
