// The process's one candidate panel as Fcitx5's candidate list: shown on the
// input context whose controller owns the conversion, a vertical list in
// pages of nine, its cursor on the selected row.
#pragma once

#include <fcitx/candidatelist.h>
#include <fcitx/inputcontext.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/candidate_panel.h"

namespace orvane::fcitx5 {

inline constexpr int candidatePageSize = 9;

class FcitxCandidatePanel;

// The rows as Fcitx5 shows them. Clicking a row chooses it; the mouse wheel
// and the panel's page buttons move the selection, as moves in the window do.
class CandidateRows final : public fcitx::CandidateList,
                            public fcitx::PageableCandidateList,
                            public fcitx::CursorMovableCandidateList {
 public:
  CandidateRows(FcitxCandidatePanel& panel, const std::vector<std::string>& rows, int selected);

  void setSelected(int row) { selected_ = row; }
  int selected() const { return selected_; }
  int totalSize() const { return static_cast<int>(words_.size()); }

  const fcitx::Text& label(int) const override { return label_; }
  const fcitx::CandidateWord& candidate(int index) const override;
  int size() const override;
  int cursorIndex() const override { return selected_ - pageStart(); }
  fcitx::CandidateLayoutHint layoutHint() const override { return fcitx::CandidateLayoutHint::Vertical; }

  bool hasPrev() const override { return currentPage() > 0; }
  bool hasNext() const override { return currentPage() + 1 < totalPages(); }
  void prev() override;
  void next() override;
  bool usedNextBefore() const override { return true; }
  int totalPages() const override;
  int currentPage() const override { return selected_ / candidatePageSize; }
  void setPage(int page) override;

  void prevCandidate() override;
  void nextCandidate() override;

 private:
  int pageStart() const { return currentPage() * candidatePageSize; }

  FcitxCandidatePanel& panel_;
  std::vector<std::unique_ptr<fcitx::CandidateWord>> words_;
  fcitx::Text label_;
  int selected_ = 0;
};

class FcitxCandidatePanel final : public platform::ListCandidatePanel {
 public:
  // Finds the input context of a controller; nullptr when it has none.
  using ContextOf = std::function<fcitx::InputContext*(platform::CandidatePanelDataSource*)>;
  explicit FcitxCandidatePanel(ContextOf contextOf) : contextOf_(std::move(contextOf)) {}

  // The user moved the selection in the list (wheel, page buttons).
  void moveSelection(int row);
  // The input context is going away: the panel no longer shows there.
  void forget(fcitx::InputContext* inputContext);
  fcitx::InputContext* shownOn() const { return shownOn_; }

 protected:
  void didUpdate() override;
  void didShow(int locationHint) override;
  void didHide() override;
  void didReceiveArrow(bool down) override;

 private:
  CandidateRows* current() const;
  void attach();
  void detach();
  void refresh();

  ContextOf contextOf_;
  fcitx::InputContext* shownOn_ = nullptr;
  std::unique_ptr<CandidateRows> pending_;  // reloaded rows not yet shown
  CandidateRows* list_ = nullptr;           // owned by shownOn_'s input panel
};

}  // namespace orvane::fcitx5
