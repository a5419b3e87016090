#include "fcitx_harness.h"

#include <fcitx-utils/log.h>
#include <fcitx/addonmanager.h>
#include <fcitx/inputmethodgroup.h>
#include <fcitx/inputmethodmanager.h>

#include <testfrontend_public.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace orvane::fcitx5::testing {
namespace fs = std::filesystem;

namespace {

OrvaneEngineFactory& engineFactory() {
  static OrvaneEngineFactory factory;
  return factory;
}

}  // namespace

void writeTestDictionary(const orvane::testing::Environment& env) {
  env.writeParts({{10, "名詞,一般,*,*,*,*,*"}});
  env.writeConnection(20, 0);
  std::vector<orvane::testing::WordLine> words;
  const std::vector<std::string> kanji = {"漢字", "感じ", "幹事", "監事", "莞爾", "完治",
                                          "寛治", "貫地", "菅氏", "換字", "観自", "間時"};
  for (std::size_t i = 0; i < kanji.size(); ++i) words.push_back({"かんじ", 10, 10, 100 + static_cast<int64_t>(i), kanji[i]});
  words.push_back({"ねこ", 10, 10, 100, "猫"});
  words.push_back({"いぬ", 10, 10, 100, "犬"});
  env.writeWords(words);
}

fs::path makeBundle(const fs::path& root, const fs::path* mozc) {
  auto bundle = root / "Orvane IME.app";
  fs::create_directories(bundle / "Contents" / "Resources");
  const fs::path built = ORVANE_BUILD_BUNDLE_DIR;
  for (const auto* file : {"Info.plist", "Resources/dictionary.txt"})
    fs::copy_file(built / "Contents" / file, bundle / "Contents" / file, fs::copy_options::overwrite_existing);
  if (mozc) fs::create_directory_symlink(*mozc, bundle / "Contents" / "Resources" / "Mozc");
  return bundle;
}

FcitxHarness& FcitxHarness::shared(Options options) {
  static FcitxHarness* harness = [&] {
    auto* h = new FcitxHarness(options);
    struct Stop final : ::testing::Environment {
      explicit Stop(FcitxHarness& h) : h_(h) {}
      void TearDown() override { h_.stop(); }
      FcitxHarness& h_;
    };
    ::testing::AddGlobalTestEnvironment(new Stop(*h));
    return h;
  }();
  return *harness;
}

void FcitxHarness::stop() {
  commitWatcher_.reset();
  instance_.reset();
}

FcitxHarness::FcitxHarness(Options options)
    : log_(options.quiet ? nullptr : std::make_unique<Log::ScopedCapture>()) {
  clear();
  // The dictionary and the learning stores are the environment's; the
  // bundle only has to be there.
  const auto bundle = makeBundle(root_.path(), nullptr);
  const auto home = root_.path() / "home";
  ::setenv("ORVANE_BUNDLE", bundle.c_str(), 1);
  ::setenv("XDG_DATA_HOME", (home / "data").c_str(), 1);
  ::setenv("XDG_CONFIG_HOME", (home / "config").c_str(), 1);
  ::setenv("FCITX_CONFIG_HOME", (home / "config" / "fcitx5").c_str(), 1);
  ::setenv("FCITX_DATA_HOME", (home / "data" / "fcitx5").c_str(), 1);
  ::setenv("FCITX_ADDON_DIRS", FCITX5_SYSTEM_ADDON_DIR, 1);
  ::setenv("FCITX_DATA_DIRS", ORVANE_FCITX5_STATIC_DATA ":/usr/share/fcitx5/testing", 1);

  registry_["orvane"] = &engineFactory();
  char arg0[] = "fcitx5";
  char arg1[] = "--disable=all";
  char arg2[] = "--enable=testfrontend,testui,orvane";
  char quietArg2[] = "--enable=testfrontend,orvane";
  char* argv[] = {arg0, arg1, options.quiet ? quietArg2 : arg2};
  instance_ = std::make_unique<fcitx::Instance>(3, argv);
  // The test front-end logs every preedit and commit; a real one sends them.
  if (options.quiet) fcitx::Log::setLogRule("*=1");
  instance_->addonManager().registerDefaultLoader(&registry_);
  instance_->initialize();

  auto group = instance_->inputMethodManager().currentGroup();
  group.inputMethodList().clear();
  group.inputMethodList().push_back(fcitx::InputMethodGroupItem("orvane"));
  group.setDefaultInputMethod("orvane");
  instance_->inputMethodManager().setGroup(std::move(group));

  commitWatcher_ = instance_->watchEvent(fcitx::EventType::InputContextCommitString,
                                         fcitx::EventWatcherPhase::Default, [this](fcitx::Event& event) {
                                           auto& commit = static_cast<fcitx::CommitStringEvent&>(event);
                                           commits_.push_back({commit.inputContext(), commit.text()});
                                         });
}

OrvaneEngine& FcitxHarness::engine() {
  auto* engine = dynamic_cast<OrvaneEngine*>(instance_->addonManager().addon("orvane", true));
  if (!engine) std::abort();
  return *engine;
}

fcitx::InputContext* FcitxHarness::createInputContext(std::string_view program) {
  auto* frontend = instance_->addonManager().addon("testfrontend", true);
  auto uuid = frontend->call<fcitx::ITestFrontend::createInputContext>(std::string(program));
  auto* ic = instance_->inputContextManager().findByUUID(uuid);
  ic->setCapabilityFlags(fcitx::CapabilityFlag::Preedit);
  ic->focusIn();
  return ic;
}

void FcitxHarness::destroyInputContext(fcitx::InputContext* ic) {
  auto* frontend = instance_->addonManager().addon("testfrontend", true);
  frontend->call<fcitx::ITestFrontend::destroyInputContext>(ic->uuid());
}

bool FcitxHarness::press(fcitx::InputContext* ic, const fcitx::Key& key) {
  fcitx::KeyEvent down(ic, key, false);
  bool consumed = ic->keyEvent(down);
  release(ic, key);
  return consumed;
}

bool FcitxHarness::release(fcitx::InputContext* ic, const fcitx::Key& key) {
  fcitx::KeyEvent up(ic, key, true);
  return ic->keyEvent(up);
}

void FcitxHarness::type(fcitx::InputContext* ic, std::string_view keys) {
  for (char c : keys) press(ic, fcitx::Key(fcitx::Key::keySymFromUnicode(static_cast<unsigned char>(c))));
}

std::vector<FcitxHarness::Commit> FcitxHarness::takeCommits() { return std::exchange(commits_, {}); }

void FcitxHarness::clear() {
  env_.reset();
  env_ = std::make_unique<orvane::testing::Environment>();
  writeTestDictionary(*env_);
  InputController::setInputMode(InputController::InputMode::kana);
  commits_.clear();
  if (log_) (**log_).lines.clear();
}

}  // namespace orvane::fcitx5::testing
