// One controller per client: keys, composition, conversion editing, the
// candidate window, activation and the menu.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "composer/romaji_composer.h"
#include "conversion/records.h"
#include "learning/segmentation.h"
#include "platform/candidate_panel.h"
#include "platform/client.h"
#include "platform/key_event.h"
#include "text/text.h"

namespace orvane {

// The process's one candidate panel, created at start-up.
platform::CandidatePanel* candidatesWindow();
void setCandidatesWindow(std::unique_ptr<platform::CandidatePanel> panel);

class InputController final : public platform::CandidatePanelDataSource {
 public:
  enum class InputMode { kana, direct };
  static std::string_view rawValue(InputMode mode);
  static std::optional<InputMode> inputMode(std::string_view rawValue);
  static InputMode inputMode();

  // The input-mode property tag of the text service ('imim').
  static constexpr int64_t inputModeTag = 0x696D696D;

  // A value handed to setValue; only strings mean anything here.
  using Value = std::variant<std::monostate, bool, int64_t, double, std::string>;

  struct MenuItem {
    std::string title;
    std::string keyEquivalent;
    std::string action;  // the selector name: "openDictionaryEditor:", ...
  };

  // Controller creation for a client (which may be absent); logs the init line.
  explicit InputController(platform::Client* client);
  ~InputController() override;
  InputController(const InputController&) = delete;
  InputController& operator=(const InputController&) = delete;

  // The client the controller currently serves; the panel callbacks use it.
  platform::Client* client() const { return client_; }
  void setClient(platform::Client* client) { client_ = client; }

  bool handle(const std::optional<platform::KeyEvent>& event, platform::Client* client);
  uint64_t recognizedEvents(const void* sender) const;
  void commitComposition(platform::Client* sender);
  static void setInputMode(InputMode mode);

  void activateServer(platform::Client* client);
  void deactivateServer(platform::Client* client);
  std::vector<MenuItem> menu() const;
  void setValue(const Value& value, int64_t tag, platform::Client* client);
  void openDictionaryEditor(const void* sender);
  void copyLogCommand(const void* sender);
  void showAbout(const void* sender);
  // Runs a menu item's action by its selector name; false when unknown.
  bool performMenuAction(std::string_view action);

  // The attributes the platform uses for a marking style over a range.
  std::optional<platform::TextAttributes> markForStyle(int style, platform::TextRange range) const;

  // Candidate window.
  void onCandidatesWindow(const std::function<void(platform::CandidatePanel&)>& body) const;
  std::vector<std::string> candidates(const void* sender) override;
  void candidateSelectionChanged(const std::optional<std::string>& text) override;
  void candidateSelected(const std::optional<std::string>& text) override;

  // Read-only views for front-ends and tests.
  bool isConverting() const { return !clauses_.empty(); }
  const std::vector<Clause>& clauses() const { return clauses_; }
  int64_t focus() const { return focus_; }
  const RomajiComposer& composer() const { return composer_; }

 private:
  // Key handling and composing.
  bool dispatch(const platform::KeyEvent& event, platform::Client* client);
  bool typeCharacters(const platform::KeyEvent& event, platform::Client* client);
  void insert(std::string_view text, platform::Client* client);
  void updateMarkedText(platform::Client* client);

  // Conversion editing.
  void startConversion(platform::Client* client);
  void endConversion();
  void commit(platform::Client* client);
  void moveCandidate(int64_t by, platform::Client* client);
  void pageCandidates(bool forward, platform::Client* client);
  void resizeFocusedClause(int64_t by, platform::Client* client);
  void forgetFocusedCandidate(platform::Client* client);
  std::vector<Clause> addAlphabetCandidates(std::vector<Clause> clauses, bool first) const;
  std::set<int64_t> boundaries() const;
  void learnFromCommit();

  // Candidate window.
  void showCandidatesWindow();
  void sendArrowToCandidatesWindow(bool down);

  platform::Client* client_ = nullptr;
  RomajiComposer composer_;
  Characters reading_;
  std::vector<Clause> clauses_;
  int64_t focus_ = 0;
  std::set<int64_t> initialBoundaries_;
  std::vector<Segmentation::Match> appliedSegments_;
};

}  // namespace orvane
