#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "controller/controller_fixture.h"
#include "platform/bundle.h"
#include "platform/services.h"
#include "testing/environment.h"

namespace orvane {
namespace {

using Strings = std::vector<std::string>;

struct RecordingServices final : platform::Pasteboard, platform::Workspace, platform::AboutPanel {
  void clearContents() override { calls.push_back("clear"); }
  void setString(std::string_view text) override { calls.push_back("set:" + std::string(text)); }
  void openApplication(const std::filesystem::path& path,
                       std::function<void(std::optional<std::string>)> completion) override {
    calls.push_back("open:" + path.string());
    completion(launchError);
  }
  void activateApplication() override { calls.push_back("activate"); }
  void show(const std::optional<std::string>& credits) override {
    calls.push_back("about:" + credits.value_or("(none)"));
  }
  Strings calls;
  std::optional<std::string> launchError;
};

RecordingServices& services() {
  static RecordingServices s;
  return s;
}

class ActivationTest : public ControllerFixture {
 protected:
  ActivationTest() {
    platform::install({&services(), &services(), &services(), nullptr});
    services().calls.clear();
    services().launchError.reset();
    env.writeParts({{10, "名詞,一般,*,*,*,*,*"}});
    env.writeConnection(20, 0);
    env.writeWords({{"ねこ", 10, 10, 100, "猫"}});
  }
  testing::Environment env;
};

TEST_F(ActivationTest, LifecycleLinesNameTheClient) {
  testing::FakeClient anonymous(std::nullopt);
  testing::FakeClient mute(std::string("com.example.mute"), false);
  struct { platform::Client* client; std::string description; } cases[] = {{&client, "com.example.editor"}, {&anonymous, "unknown"}, {&mute, "unknown"}, {nullptr, "unknown"}};
  for (const auto& c : cases) {
    log->lines.clear();
    InputController created(c.client);
    created.activateServer(c.client);
    created.deactivateServer(c.client);
    EXPECT_EQ(log->messages("imk"), (Strings{"init: client=" + c.description, "activateServer: client=" + c.description,
                                             "deactivateServer: client=" + c.description}));
  }
}

TEST_F(ActivationTest, DeactivationCommitsAndHidesThePanel) {
  type("neko");
  key(Key::space);
  ASSERT_TRUE(panel->isVisible());
  controller->deactivateServer(&client);
  EXPECT_EQ(client.committed, "猫");
  EXPECT_FALSE(panel->isVisible());
  client.clearRecords();
  controller->deactivateServer(&client);
  EXPECT_TRUE(client.insertions.empty());
}

TEST_F(ActivationTest, ModeMenuSelection) {
  using Mode = InputController::InputMode;
  const std::string kanaID = "com.orvane.inputmethod.OrvaneIME.Japanese";
  const std::string directID = "com.orvane.inputmethod.OrvaneIME.Roman";
  struct { InputController::Value value; int64_t tag; Mode mode; std::string committed; Strings lines; } cases[] = {
      // Kana mode never commits; direct mode commits first.
      {kanaID, InputController::inputModeTag, Mode::kana, "", {"setValue: mode=" + kanaID}},
      {directID, InputController::inputModeTag, Mode::direct, "かk",
       {"setValue: mode=" + directID, "inputMode: " + directID}},
      // Another input method's mode, another tag, a value that is no string: passed on.
      {std::string("com.example.other.Mode"), InputController::inputModeTag, Mode::kana, "", {}},
      {directID, 0x696D696E, Mode::kana, "", {}},
      {int64_t{1}, InputController::inputModeTag, Mode::kana, "", {}},
      {std::monostate{}, InputController::inputModeTag, Mode::kana, "", {}},
  };
  for (const auto& c : cases) {
    restart();
    type("kak");
    controller->setValue(c.value, c.tag, &client);
    EXPECT_EQ(InputController::inputMode(), c.mode);
    EXPECT_EQ(client.committed, c.committed);
    EXPECT_EQ(log->messages("imk"), c.lines);
  }
}

// The titles are shown, and so checked, by every front-end's tests.
TEST_F(ActivationTest, MenuHasThreeItemsThatAreActionsInEitherMode) {
  for (auto mode : {InputController::InputMode::kana, InputController::InputMode::direct}) {
    InputController::setInputMode(mode);
    auto items = controller->menu();
    ASSERT_EQ(items.size(), 3u);
    for (const auto& item : items) {
      EXPECT_EQ(item.keyEquivalent, "");
      EXPECT_TRUE(controller->performMenuAction(item.action)) << item.action;
    }
  }
  EXPECT_FALSE(controller->performMenuAction("paste:"));
}

TEST_F(ActivationTest, MenuActionsReachTheirServicesAndLogOnlyFailures) {
  const auto editor = platform::Bundle::main().bundleURL() / "Contents/Helpers/Orvane IME Dictionary.app";
  controller->copyLogCommand(nullptr);
  controller->openDictionaryEditor(nullptr);
  controller->showAbout(nullptr);
  testing::writeFile(env.mozcDirectory() / "CREDITS.txt", "Word lists: example\n");
  controller->showAbout(nullptr);
  EXPECT_EQ(services().calls,
            (Strings{"clear", R"(set:log stream --predicate 'subsystem == "com.orvane.inputmethod.OrvaneIME"')",
                     "open:" + editor.string(), "activate", "about:(none)", "activate", "about:Word lists: example\n"}));
  EXPECT_TRUE(log->lines.empty());

  services().launchError = "The application is damaged.";
  controller->performMenuAction("openDictionaryEditor");
  ASSERT_EQ(log->lines.size(), 1u);
  EXPECT_EQ(log->lines[0].level, Log::Level::error);
  EXPECT_EQ(log->lines[0].message, "dictionary editor launch failed: The application is damaged.");
}

}  // namespace
}  // namespace orvane
