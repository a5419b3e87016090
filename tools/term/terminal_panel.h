// The shared candidate panel as the terminal front-end shows it: the list
// behaviour of the platform, and a nudge to redraw whenever it changes.
#pragma once

#include <functional>
#include <utility>

#include "platform/candidate_panel.h"

namespace orvane::term {

class TerminalPanel final : public platform::ListCandidatePanel {
 public:
  void setOnChange(std::function<void()> onChange) { onChange_ = std::move(onChange); }
  int shownCount() const { return shownCount_; }

 protected:
  void didUpdate() override { changed(); }
  void didShow(int) override {
    ++shownCount_;
    changed();
  }
  void didHide() override { changed(); }
  void didReceiveArrow(bool) override { changed(); }

 private:
  void changed() {
    if (onChange_) onChange_();
  }
  std::function<void()> onChange_;
  int shownCount_ = 0;
};

}  // namespace orvane::term
