// Orvane as a Fcitx5 input method: one InputController per input context,
// Fcitx5's keys, focus and reset mapped onto it, the shared candidate panel
// shown on the input context that converts, the input mode and the menu as
// status-area actions.
#pragma once

#include <fcitx/action.h>
#include <fcitx/addonfactory.h>
#include <fcitx/inputcontextproperty.h>
#include <fcitx/inputmethodengine.h>
#include <fcitx/instance.h>
#include <fcitx/menu.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "app/log.h"
#include "candidate_panel.h"
#include "controller/input_controller.h"
#include "fcitx_client.h"
#include "services.h"

struct sd_event_source;

namespace orvane::fcitx5 {

class OrvaneEngine;

// What one input context keeps: its client and, from its first use, its
// controller; both go with the input context.
class ContextState final : public fcitx::InputContextProperty {
 public:
  ContextState(OrvaneEngine& engine, fcitx::InputContext& inputContext);
  ~ContextState() override;
  ContextState(const ContextState&) = delete;
  ContextState& operator=(const ContextState&) = delete;

  InputController& controller();
  InputController* existingController() const { return controller_.get(); }
  FcitxClient& client() { return client_; }

 private:
  OrvaneEngine& engine_;
  FcitxClient client_;
  std::unique_ptr<InputController> controller_;
};

// A status-area action that runs a function when activated.
class EngineAction final : public fcitx::Action {
 public:
  using Text = std::function<std::string(fcitx::InputContext*)>;
  using Run = std::function<void(fcitx::InputContext*)>;
  EngineAction(Text text, Run run, std::function<bool()> checked = {})
      : text_(std::move(text)), run_(std::move(run)), checked_(std::move(checked)) {
    setCheckable(static_cast<bool>(checked_));
  }
  std::string shortText(fcitx::InputContext* ic) const override { return text_(ic); }
  std::string icon(fcitx::InputContext*) const override { return {}; }
  bool isChecked(fcitx::InputContext*) const override { return checked_ && checked_(); }
  void activate(fcitx::InputContext* ic) override { run_(ic); }

 private:
  Text text_;
  Run run_;
  std::function<bool()> checked_;
};

class OrvaneEngine final : public fcitx::InputMethodEngineV2 {
 public:
  // The engine over the bundle found for this addon (ORVANE_BUNDLE wins).
  static std::unique_ptr<OrvaneEngine> start(fcitx::Instance& instance);
  ~OrvaneEngine() override;

  void keyEvent(const fcitx::InputMethodEntry& entry, fcitx::KeyEvent& keyEvent) override;
  void activate(const fcitx::InputMethodEntry& entry, fcitx::InputContextEvent& event) override;
  void deactivate(const fcitx::InputMethodEntry& entry, fcitx::InputContextEvent& event) override;
  void reset(const fcitx::InputMethodEntry& entry, fcitx::InputContextEvent& event) override;
  std::string subMode(const fcitx::InputMethodEntry& entry, fcitx::InputContext& inputContext) override;
  std::string subModeLabelImpl(const fcitx::InputMethodEntry& entry, fcitx::InputContext& inputContext) override;

  ContextState& state(fcitx::InputContext& inputContext);
  FcitxCandidatePanel& panel() { return *panel_; }
  // The mode chosen from the status area, as the system's input menu would.
  void selectMode(fcitx::InputContext& inputContext, InputController::InputMode mode);
  void forget(fcitx::InputContext& inputContext) { panel_->forget(&inputContext); }

 private:
  explicit OrvaneEngine(fcitx::Instance& instance);
  void addMenuActions(const InputController& controller);
  void showMode(fcitx::InputContext& inputContext);
  // Commits what the context is composing or converting, as leaving it does.
  void keepComposition(ContextState& s);
  static int onExit(sd_event_source* source, void* engine);

  fcitx::Instance& instance_;
  std::shared_ptr<Log::Sink> systemLog_;
  FcitxPasteboard pasteboard_;
  FcitxWorkspace workspace_;
  FcitxAboutPanel aboutPanel_;
  FcitxCandidatePanel* panel_ = nullptr;  // owned as the process's candidate window

  EngineAction modeAction_;
  EngineAction kanaAction_;
  EngineAction directAction_;
  fcitx::Menu modeMenu_;
  std::vector<std::unique_ptr<EngineAction>> menuActions_;
  std::optional<InputController::InputMode> shownMode_;
  std::unique_ptr<fcitx::HandlerTableEntry<fcitx::EventHandler>> destroyWatcher_;
  sd_event_source* exitSource_ = nullptr;

  // Last, so that the states and their controllers go first.
  fcitx::FactoryFor<ContextState> factory_;
};

// Where the bundle is for an addon at `library`: installed beside Fcitx5's
// addon folder (<prefix>/lib/orvane), else the build tree's.
std::filesystem::path bundleForAddon(const std::filesystem::path& library);

// Logs, at start-up, that conversion can offer only kana because the word
// lists or the connection table are missing; nothing when they are there.
void reportMissingData();

class OrvaneEngineFactory final : public fcitx::AddonFactory {
 public:
  fcitx::AddonInstance* create(fcitx::AddonManager* manager) override;
};

}  // namespace orvane::fcitx5
