// A real Fcitx5 instance in this process: Fcitx5's test front-end and test UI
// loaded from the system, the engine registered as a static addon, the
// bundle and the user data in a temporary directory with a small dictionary.
// Input contexts are created through the test front-end and fed keys the way
// a front-end does.
#pragma once

#include <fcitx-utils/key.h>
#include <fcitx/inputcontext.h>
#include <fcitx/addonloader.h>
#include <fcitx/instance.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "app/log.h"
#include "engine.h"
#include "testing/environment.h"

namespace orvane::fcitx5::testing {

// Writes the dictionary the tests convert with: かんじ has twelve spellings,
// enough for two pages of candidates with the alphabet forms; ねこ and いぬ
// are single nouns, so that かんじねこ is two clauses.
void writeTestDictionary(const orvane::testing::Environment& env);

// A copy of the build tree's bundle under `root`: its property list and
// default dictionary, and Resources/Mozc linked to `mozc` when given (the
// build tree's data may not be built, and tests convert with their own).
std::filesystem::path makeBundle(const std::filesystem::path& root, const std::filesystem::path* mozc);

class FcitxHarness {
 public:
  // quiet: no test UI printing every panel update and no log capture, for
  // benchmarks (a desktop UI draws later, from the event loop).
  struct Options {
    bool quiet = false;
  };
  // One per process: Fcitx5 instances are not made to come and go; the first
  // call's options hold. It stops when the tests end, before the process's
  // statics go.
  static FcitxHarness& shared(Options options);
  static FcitxHarness& shared() { return shared(Options{}); }
  void stop();

  fcitx::Instance& instance() { return *instance_; }
  OrvaneEngine& engine();
  orvane::testing::Environment& environment() { return *env_; }
  Log::CaptureSink& log() { return **log_; }

  // A focused input context of the given program that draws its preedit.
  fcitx::InputContext* createInputContext(std::string_view program = "test-app");
  void destroyInputContext(fcitx::InputContext* ic);

  // Sends one key press (and its release) the way a front-end does; true
  // when the engine consumed the press.
  bool press(fcitx::InputContext* ic, const fcitx::Key& key);
  bool press(fcitx::InputContext* ic, std::string_view keyName) { return press(ic, fcitx::Key(std::string(keyName))); }
  bool release(fcitx::InputContext* ic, const fcitx::Key& key);
  // One press per ASCII character.
  void type(fcitx::InputContext* ic, std::string_view keys);

  // Commits since the last call, in order, with the input context of each.
  struct Commit {
    fcitx::InputContext* ic;
    std::string text;
    bool operator==(const Commit&) const = default;
  };
  std::vector<Commit> takeCommits();

  // Fresh dictionary and learning stores, kana mode, no commits recorded,
  // an empty log.
  void clear();

 private:
  explicit FcitxHarness(Options options);

  orvane::testing::TempDir root_;
  std::unique_ptr<orvane::testing::Environment> env_;
  std::unique_ptr<Log::ScopedCapture> log_;
  fcitx::StaticAddonRegistry registry_;
  std::unique_ptr<fcitx::Instance> instance_;
  std::unique_ptr<fcitx::HandlerTableEntry<fcitx::EventHandler>> commitWatcher_;
  std::vector<Commit> commits_;
};

}  // namespace orvane::fcitx5::testing
