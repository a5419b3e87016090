// The one candidate panel of the process: rows taken from the active
// controller, one selected row moved by arrow-key events.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/key_event.h"

namespace orvane::platform {

// What the panel asks of the controller that drives it.
class CandidatePanelDataSource {
 public:
  virtual ~CandidatePanelDataSource() = default;
  virtual std::vector<std::string> candidates(const void* sender) = 0;
  virtual void candidateSelectionChanged(const std::optional<std::string>& text) = 0;
  virtual void candidateSelected(const std::optional<std::string>& text) = 0;
};

inline constexpr int panelTypeSingleColumn = 1;
inline constexpr int locationHintBelowText = 2;
inline constexpr uint16_t downArrowKeyCode = KeyCode::down;
inline constexpr uint16_t upArrowKeyCode = KeyCode::up;

class CandidatePanel {
 public:
  virtual ~CandidatePanel() = default;
  virtual void updateCandidates() = 0;
  virtual void show(int locationHint) = 0;
  virtual void hide() = 0;
  virtual void interpretKeyEvents(const std::vector<KeyEvent>& events) = 0;
  virtual int64_t selectedCandidate() const = 0;
  // The controller whose client is current; the service sets it before it
  // delivers each request.
  virtual void setActiveController(CandidatePanelDataSource* controller) = 0;
  virtual CandidatePanelDataSource* activeController() const = 0;
};

// The platform-independent list behaviour: rows reloaded from the active
// controller with the selection on row 0, one-row moves on arrow keys with a
// selection-change report. Front-ends derive from it to show what happens.
class ListCandidatePanel : public CandidatePanel {
 public:
  void updateCandidates() override;
  void show(int locationHint) override;
  void hide() override;
  void interpretKeyEvents(const std::vector<KeyEvent>& events) override;
  int64_t selectedCandidate() const override { return selected_; }
  void setActiveController(CandidatePanelDataSource* controller) override { active_ = controller; }
  CandidatePanelDataSource* activeController() const override { return active_; }

  const std::vector<std::string>& rows() const { return rows_; }
  bool isVisible() const { return visible_; }
  // A user's choice of a row (click or Return in the window).
  void selectRow(int64_t row);
  // A user's move of the selection (mouse, scrolling).
  void highlightRow(int64_t row);

 protected:
  // Observation hooks for front-ends; called after the state changed.
  virtual void didUpdate() {}
  virtual void didShow(int /*locationHint*/) {}
  virtual void didHide() {}
  // An arrow key arrived; the selection has moved if it could.
  virtual void didReceiveArrow(bool /*down*/) {}

 private:
  std::optional<std::string> rowText(int64_t row) const;

  CandidatePanelDataSource* active_ = nullptr;
  std::vector<std::string> rows_;
  int64_t selected_ = 0;
  bool visible_ = false;
};

}  // namespace orvane::platform
