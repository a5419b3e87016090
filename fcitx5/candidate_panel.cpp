#include "candidate_panel.h"

#include <fcitx/inputpanel.h>

#include <algorithm>

namespace orvane::fcitx5 {
namespace {

class Row final : public fcitx::CandidateWord {
 public:
  Row(FcitxCandidatePanel& panel, const std::string& text, int row)
      : fcitx::CandidateWord(fcitx::Text(text)), panel_(panel), row_(row) {}
  // Choosing commits, and the commit hides the panel, which may free this
  // row: nothing of it is touched afterwards.
  void select(fcitx::InputContext*) const override { panel_.selectRow(row_); }

 private:
  FcitxCandidatePanel& panel_;
  int row_;
};

}  // namespace

CandidateRows::CandidateRows(FcitxCandidatePanel& panel, const std::vector<std::string>& rows, int selected)
    : panel_(panel), selected_(selected) {
  setPageable(this);
  setCursorMovable(this);
  words_.reserve(rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) words_.push_back(std::make_unique<Row>(panel, rows[i], static_cast<int>(i)));
}

const fcitx::CandidateWord& CandidateRows::candidate(int index) const {
  return *words_.at(static_cast<std::size_t>(pageStart() + index));
}

int CandidateRows::size() const { return std::clamp(totalSize() - pageStart(), 0, candidatePageSize); }

int CandidateRows::totalPages() const { return (totalSize() + candidatePageSize - 1) / candidatePageSize; }

void CandidateRows::prev() { panel_.moveSelection(std::max(0, selected_ - candidatePageSize)); }

void CandidateRows::next() { panel_.moveSelection(std::min(totalSize() - 1, selected_ + candidatePageSize)); }

void CandidateRows::setPage(int page) { panel_.moveSelection(std::clamp(page * candidatePageSize, 0, totalSize() - 1)); }

void CandidateRows::prevCandidate() { panel_.moveSelection(std::max(0, selected_ - 1)); }

void CandidateRows::nextCandidate() { panel_.moveSelection(std::min(totalSize() - 1, selected_ + 1)); }

void FcitxCandidatePanel::moveSelection(int row) {
  highlightRow(row);
  if (auto* list = current()) list->setSelected(static_cast<int>(selectedCandidate()));
  refresh();
}

void FcitxCandidatePanel::forget(fcitx::InputContext* inputContext) {
  if (shownOn_ != inputContext) return;
  shownOn_ = nullptr;
  list_ = nullptr;
}

void FcitxCandidatePanel::didUpdate() {
  pending_ = std::make_unique<CandidateRows>(*this, rows(), static_cast<int>(selectedCandidate()));
  if (isVisible()) attach();
}

void FcitxCandidatePanel::didShow(int /*locationHint*/) { attach(); }

void FcitxCandidatePanel::didHide() { detach(); }

void FcitxCandidatePanel::didReceiveArrow(bool /*down*/) {
  auto* list = current();
  if (!list) return;
  list->setSelected(static_cast<int>(selectedCandidate()));
  refresh();
}

CandidateRows* FcitxCandidatePanel::current() const {
  // Fcitx5 may have replaced or dropped the list (an input method switch
  // resets the panel); only the list put there is ours to move.
  if (!shownOn_ || shownOn_->inputPanel().candidateList().get() != list_) return nullptr;
  return list_;
}

void FcitxCandidatePanel::attach() {
  auto* target = activeController() ? contextOf_(activeController()) : nullptr;
  if (shownOn_ && shownOn_ != target) detach();
  if (!target) return;
  shownOn_ = target;
  if (pending_) {
    list_ = pending_.get();
    target->inputPanel().setCandidateList(std::move(pending_));
  }
  refresh();
}

void FcitxCandidatePanel::detach() {
  pending_.reset();
  if (!shownOn_) return;
  if (current()) shownOn_->inputPanel().setCandidateList(nullptr);
  refresh();
  shownOn_ = nullptr;
  list_ = nullptr;
}

void FcitxCandidatePanel::refresh() {
  if (shownOn_) shownOn_->updateUserInterface(fcitx::UserInterfaceComponent::InputPanel);
}

}  // namespace orvane::fcitx5
