#include "engine.h"

#include <dlfcn.h>
#include <systemd/sd-event.h>

#include <fcitx-utils/event.h>
#include <fcitx/addonmanager.h>
#include <fcitx/inputcontext.h>
#include <fcitx/inputcontextmanager.h>
#include <fcitx/statusarea.h>
#include <fcitx/userinterfacemanager.h>

#include <system_error>

#include "app/startup.h"
#include "dictionary/kana_dictionary.h"
#include "key_mapping.h"
#include "learning/learning.h"
#include "platform/bundle.h"

namespace orvane::fcitx5 {
namespace fs = std::filesystem;
namespace {

using Mode = InputController::InputMode;

constexpr std::string_view bundleName = "Orvane IME.app";
constexpr std::string_view propertyName = "orvane-state";

std::string_view modeText(Mode mode) { return mode == Mode::kana ? "かな" : "英数"; }

InputController* controllerOf(platform::CandidatePanelDataSource* source) {
  return dynamic_cast<InputController*>(source);
}

fcitx::InputContext* contextOf(platform::CandidatePanelDataSource* source) {
  auto* controller = controllerOf(source);
  auto* client = controller ? dynamic_cast<FcitxClient*>(controller->client()) : nullptr;
  return client ? &client->inputContext() : nullptr;
}

fs::path thisLibrary() {
  Dl_info info{};
  if (::dladdr(reinterpret_cast<void*>(&bundleForAddon), &info) == 0 || !info.dli_fname) return {};
  std::error_code ec;
  auto path = fs::canonical(info.dli_fname, ec);
  return ec ? fs::path(info.dli_fname) : path;
}

}  // namespace

// Without the word lists and the connection table a conversion can offer
// only the kana; the files' own readers say nothing of missing files.
void reportMissingData() {
  const auto& directory = KanaDictionary::mozcDirectoryURL();
  std::error_code ec;
  for (auto name : {KanaDictionary::wordsFileName, KanaDictionary::connectionFileName}) {
    const auto path = directory / name;
    if (fs::is_regular_file(path, ec)) continue;
    Log::imk.error("dictionary load failed: %{public}s %{public}s", path.string(),
                   "The file is missing: the dictionary data were not built or installed; "
                   "typing gives kana and Space offers only kana until they are.");
    return;
  }
}

fs::path bundleForAddon(const fs::path& library) {
  // <prefix>/lib/<triplet>/fcitx5/orvane.so and <prefix>/lib/orvane/.
  auto installed = library.parent_path().parent_path().parent_path() / "orvane" / bundleName;
  std::error_code ec;
  if (fs::is_directory(installed, ec)) return installed;
  return ORVANE_BUILD_BUNDLE_DIR;
}

// Per input context.

ContextState::ContextState(OrvaneEngine& engine, fcitx::InputContext& inputContext)
    : engine_(engine), client_(inputContext) {}

ContextState::~ContextState() {
  controller_.reset();
  engine_.forget(client_.inputContext());
}

InputController& ContextState::controller() {
  if (!controller_) controller_ = std::make_unique<InputController>(&client_);
  return *controller_;
}

// The engine.

std::unique_ptr<OrvaneEngine> OrvaneEngine::start(fcitx::Instance& instance) {
  platform::Bundle::setMainBundleURL(bundleForAddon(thisLibrary()));
  return std::unique_ptr<OrvaneEngine>(new OrvaneEngine(instance));
}

OrvaneEngine::OrvaneEngine(fcitx::Instance& instance)
    : instance_(instance),
      systemLog_(Log::makeSystemLogSink()),
      pasteboard_(instance),
      aboutPanel_(instance),
      modeAction_([](fcitx::InputContext*) { return std::string(modeText(InputController::inputMode())); },
                  [this](fcitx::InputContext* ic) {
                    if (ic)
                      selectMode(*ic, InputController::inputMode() == Mode::kana ? Mode::direct : Mode::kana);
                  }),
      kanaAction_([](fcitx::InputContext*) { return std::string(modeText(Mode::kana)); },
                  [this](fcitx::InputContext* ic) {
                    if (ic) selectMode(*ic, Mode::kana);
                  },
                  [] { return InputController::inputMode() == Mode::kana; }),
      directAction_([](fcitx::InputContext*) { return std::string(modeText(Mode::direct)); },
                    [this](fcitx::InputContext* ic) {
                      if (ic) selectMode(*ic, Mode::direct);
                    },
                    [] { return InputController::inputMode() == Mode::direct; }),
      factory_([this](fcitx::InputContext& ic) { return new ContextState(*this, ic); }) {
  Log::addSink(systemLog_);
  platform::install({&pasteboard_, &workspace_, &aboutPanel_, nullptr});

  // Start-up in the order of the program's own: the launch line, the shared
  // panel, then the dictionary and the learned choices before the first key.
  const auto& bundle = platform::Bundle::main();
  if (auto connection = bundle.infoString(app::connectionNameKey)) {
    Log::imk.log("launch: connection=%{public}s", *connection);
  } else {
    Log::imk.error("launch failed: %{public}s", "no InputMethodConnectionName in " + bundle.infoPlistURL().string());
  }
  auto panel = std::make_unique<FcitxCandidatePanel>(contextOf);
  panel_ = panel.get();
  setCandidatesWindow(std::move(panel));
  reportMissingData();
  KanaDictionary::preload();
  Learning::reloadIfNeeded();

  auto& ui = instance_.userInterfaceManager();
  modeAction_.registerAction("orvane-mode", &ui);
  kanaAction_.registerAction("orvane-mode-kana", &ui);
  directAction_.registerAction("orvane-mode-direct", &ui);
  modeMenu_.addAction(&kanaAction_);
  modeMenu_.addAction(&directAction_);
  modeAction_.setMenu(&modeMenu_);
  instance_.inputContextManager().registerProperty(std::string(propertyName), &factory_);
  // Fcitx5 closes its DBus connections as its event loop exits, before it
  // saves, drops the input contexts and unloads the engine. An exit source
  // that runs before the connections' own gives the applications what they
  // were typing while they can still receive it, whether Fcitx5 was told to
  // exit, to restart or to make way for another one, or got SIGTERM.
  if (std::string_view(fcitx::EventLoop::impl()) == "sd-event") {
    auto* loop = static_cast<sd_event*>(instance_.eventLoop().nativeHandle());
    if (sd_event_add_exit(loop, &exitSource_, &OrvaneEngine::onExit, this) >= 0)
      sd_event_source_set_priority(exitSource_, SD_EVENT_PRIORITY_IMPORTANT);
  }
  // A context can go while it converts (its window closed) without losing
  // focus first; what it held goes to the application as on leaving it.
  destroyWatcher_ = instance_.watchEvent(
      fcitx::EventType::InputContextDestroyed, fcitx::EventWatcherPhase::PreInputMethod, [this](fcitx::Event& event) {
        auto& ic = *static_cast<fcitx::InputContextEvent&>(event).inputContext();
        auto& s = state(ic);
        s.client().setClosing();
        panel_->forget(&ic);
        keepComposition(s);
      });
}

OrvaneEngine::~OrvaneEngine() {
  sd_event_source_disable_unref(exitSource_);
  destroyWatcher_.reset();
  // The controllers go before the panel they may be showing.
  factory_.unregister();
  setCandidatesWindow(nullptr);
  platform::install({});
  Log::removeSink(systemLog_);
}

ContextState& OrvaneEngine::state(fcitx::InputContext& inputContext) {
  return *inputContext.propertyFor(&factory_);
}

int OrvaneEngine::onExit(sd_event_source*, void* engine) {
  auto& self = *static_cast<OrvaneEngine*>(engine);
  self.instance_.inputContextManager().foreach([&self](fcitx::InputContext* ic) {
    self.keepComposition(self.state(*ic));
    return true;
  });
  return 0;
}

void OrvaneEngine::keepComposition(ContextState& s) {
  if (auto* controller = s.existingController(); controller && !controller->composer().isEmpty())
    controller->deactivateServer(&s.client());
}

void OrvaneEngine::keyEvent(const fcitx::InputMethodEntry&, fcitx::KeyEvent& keyEvent) {
  auto& ic = *keyEvent.inputContext();
  auto& s = state(ic);
  if (s.controller().handle(fcitx5::keyEvent(keyEvent.key(), keyEvent.isRelease()), &s.client()))
    keyEvent.filterAndAccept();
  showMode(ic);
}

void OrvaneEngine::activate(const fcitx::InputMethodEntry&, fcitx::InputContextEvent& event) {
  auto& ic = *event.inputContext();
  auto& s = state(ic);
  s.controller().activateServer(&s.client());
  if (menuActions_.empty()) addMenuActions(s.controller());
  auto& area = ic.statusArea();
  area.addAction(fcitx::StatusGroup::InputMethod, &modeAction_);
  for (auto& action : menuActions_) area.addAction(fcitx::StatusGroup::InputMethod, action.get());
  shownMode_.reset();
  showMode(ic);
}

void OrvaneEngine::deactivate(const fcitx::InputMethodEntry&, fcitx::InputContextEvent& event) {
  auto& ic = *event.inputContext();
  auto& s = state(ic);
  if (auto* controller = s.existingController()) controller->deactivateServer(&s.client());
  auto& area = ic.statusArea();
  area.removeAction(&modeAction_);
  for (auto& action : menuActions_) area.removeAction(action.get());
}

void OrvaneEngine::reset(const fcitx::InputMethodEntry&, fcitx::InputContextEvent& event) {
  auto& s = state(*event.inputContext());
  if (auto* controller = s.existingController()) controller->commitComposition(&s.client());
}

std::string OrvaneEngine::subMode(const fcitx::InputMethodEntry&, fcitx::InputContext&) {
  return std::string(modeText(InputController::inputMode()));
}

std::string OrvaneEngine::subModeLabelImpl(const fcitx::InputMethodEntry&, fcitx::InputContext&) {
  return InputController::inputMode() == Mode::kana ? "あ" : "A";
}

void OrvaneEngine::selectMode(fcitx::InputContext& inputContext, Mode mode) {
  auto& s = state(inputContext);
  s.controller().setValue(std::string(InputController::rawValue(mode)), InputController::inputModeTag, &s.client());
  showMode(inputContext);
}

void OrvaneEngine::addMenuActions(const InputController& controller) {
  auto& ui = instance_.userInterfaceManager();
  for (const auto& item : controller.menu()) {
    auto action = std::make_unique<EngineAction>(
        [title = item.title](fcitx::InputContext*) { return title; },
        [this, selector = item.action](fcitx::InputContext* ic) {
          if (ic) state(*ic).controller().performMenuAction(selector);
        });
    std::string name = "orvane-" + item.action;
    if (!name.empty() && name.back() == ':') name.pop_back();
    action->registerAction(name, &ui);
    menuActions_.push_back(std::move(action));
  }
}

void OrvaneEngine::showMode(fcitx::InputContext& inputContext) {
  const auto mode = InputController::inputMode();
  if (shownMode_ == mode) return;
  shownMode_ = mode;
  modeAction_.update(&inputContext);
  kanaAction_.update(&inputContext);
  directAction_.update(&inputContext);
  inputContext.updateUserInterface(fcitx::UserInterfaceComponent::StatusArea);
}

fcitx::AddonInstance* OrvaneEngineFactory::create(fcitx::AddonManager* manager) {
  return OrvaneEngine::start(*manager->instance()).release();
}

}  // namespace orvane::fcitx5
