#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <thread>

#include "platform/input_source_registry.h"
#include "platform/process.h"
#include "platform/protocol_client.h"
#include "platform/protocol_panel.h"
#include "platform/protocol_services.h"
#include "testing/environment.h"

namespace orvane::platform {
namespace {
namespace fs = std::filesystem;

std::vector<Json> lines(const std::ostringstream& out) {
  std::vector<Json> result;
  std::istringstream in(out.str());
  for (std::string line; std::getline(in, line);) result.push_back(Json::parse(line));
  return result;
}

TEST(ProtocolClient, CallsBecomeLinesWithNotFoundAsMinusOne) {
  std::ostringstream out;
  ProtocolWriter writer(out);
  ProtocolClient client(writer, "ed", "org.example.Editor");
  client.setMarkedText({"漢字か", {{0, 2, 4, {}}, {2, 1, 5, {{"underline", "thick"}}}}}, {2, 0}, {NSNotFound, 0});
  client.insertText("😀", {NSNotFound, 0});
  client.selectInputMode("com.orvane.inputmethod.OrvaneIME.Roman");

  auto got = lines(out);
  ASSERT_EQ(got.size(), 3u);
  EXPECT_EQ(got[0], Json::parse(R"({"client":"ed","call":"setMarkedText","text":"漢字か",
      "runs":[{"start":0,"length":2,"style":4},{"start":2,"length":1,"style":5}],
      "selection":[2,0],"replacement":[-1,0]})"));
  EXPECT_EQ(got[1], Json::parse(R"({"client":"ed","call":"insertText","text":"😀","replacement":[-1,0]})"));
  EXPECT_EQ(got[2], Json::parse(
                        R"({"client":"ed","call":"selectInputMode","mode":"com.orvane.inputmethod.OrvaneIME.Roman"})"));
  EXPECT_EQ(client.bundleIdentifier(), "org.example.Editor");
}

// Records what the panel reports to its controller in the same stream, so
// that the order of lines and callbacks shows.
class Source final : public CandidatePanelDataSource {
 public:
  explicit Source(ProtocolWriter& writer) : writer_(writer) {}
  std::vector<std::string> candidates(const void*) override { return rows; }
  void candidateSelectionChanged(const std::optional<std::string>& text) override {
    writer_.write(Json{{"changed", text ? Json(*text) : Json()}});
  }
  void candidateSelected(const std::optional<std::string>& text) override {
    writer_.write(Json{{"chosen", text ? Json(*text) : Json()}});
  }
  std::vector<std::string> rows{"漢字", "感じ", "幹事"};

 private:
  ProtocolWriter& writer_;
};

KeyEvent arrow(bool down) {
  return *makeKeyEvent(keyDownEventType, ModifierFlag::numericPad | ModifierFlag::function, 0,
                       down ? "\uF701" : "\uF700", down ? "\uF701" : "\uF700", false,
                       down ? downArrowKeyCode : upArrowKeyCode);
}

TEST(ProtocolCandidatePanel, ReportsReloadShowArrowsAndHide) {
  std::ostringstream out;
  ProtocolWriter writer(out);
  Source source(writer);
  ProtocolCandidatePanel panel(writer);
  panel.setActiveController(&source);

  panel.updateCandidates();
  panel.show(locationHintBelowText);
  panel.interpretKeyEvents({arrow(true), arrow(true), arrow(true)});
  panel.interpretKeyEvents({arrow(false)});
  panel.hide();

  auto expected = Json::parse(R"([
    {"panel":"update","rows":["漢字","感じ","幹事"]},
    {"panel":"show","hint":2},
    {"panel":"arrow","down":true,"selected":1}, {"changed":"感じ"},
    {"panel":"arrow","down":true,"selected":2}, {"changed":"幹事"},
    {"panel":"arrow","down":true,"selected":2},
    {"panel":"arrow","down":false,"selected":1}, {"changed":"感じ"},
    {"panel":"hide"}])");
  auto got = lines(out);
  ASSERT_EQ(got.size(), expected.size());
  for (std::size_t i = 0; i < got.size(); ++i) EXPECT_EQ(got[i], expected[i]) << i;
}

TEST(ProtocolServices, PasteboardAboutAndLogLines) {
  std::ostringstream out;
  ProtocolWriter writer(out);
  ProtocolPasteboard pasteboard(writer);
  pasteboard.clearContents();
  pasteboard.setString("log stream");
  ProtocolAboutPanel about(writer);
  about.show(std::nullopt);
  about.show("Mozc\n© 2010");
  ProtocolLogSink sink(writer);
  sink.write("imk", Log::Level::error, "dictionary load failed: x y");
  sink.write("key", Log::Level::defaultLevel, "keyDown: code=0 chars=a -> consumed");

  auto got = lines(out);
  ASSERT_EQ(got.size(), 5u);
  EXPECT_EQ(got[0], Json::parse(R"({"pasteboard":"log stream"})"));
  EXPECT_EQ(got[1], Json::parse(R"({"about":{"credits":null}})"));
  EXPECT_EQ(got[2], Json::parse(R"({"about":{"credits":"Mozc\n© 2010"}})"));
  EXPECT_EQ(got[3], Json::parse(R"({"log":"imk","level":"error","message":"dictionary load failed: x y"})"));
  EXPECT_EQ(got[4], Json::parse(R"({"log":"key","level":"default","message":"keyDown: code=0 chars=a -> consumed"})"));
}

void makeExecutable(const fs::path& path, std::string_view script) {
  testing::writeFile(path, script);
  fs::permissions(path, fs::perms::owner_all, fs::perm_options::add);
}

bool appears(const fs::path& path) {
  for (int i = 0; i < 500; ++i) {
    if (fs::exists(path)) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

TEST(ProtocolWorkspace, RunsTheApplicationsExecutableOrReportsWhyNot) {
  testing::TempDir dir;
  std::ostringstream out;
  ProtocolWriter writer(out);
  ProtocolWorkspace workspace(writer);
  std::vector<std::optional<std::string>> completions;
  auto record = [&](std::optional<std::string> error) { completions.push_back(std::move(error)); };

  auto app = dir / "Editor.app";
  makeExecutable(app / "Contents" / "MacOS" / "run", "#!/bin/sh\ntouch \"$(dirname \"$0\")/../../launched\"\n");
  workspace.openApplication(app, record);
  workspace.openApplication(dir / "Missing.app", record);
  fs::create_directories(dir / "Empty.app" / "Contents" / "MacOS");
  workspace.openApplication(dir / "Empty.app", record);

  ASSERT_EQ(completions.size(), 3u);
  EXPECT_FALSE(completions[0]);
  EXPECT_TRUE(completions[1] && !completions[1]->empty());
  EXPECT_TRUE(completions[2] && !completions[2]->empty());
  // Only the launch that happened is reported.
  auto got = lines(out);
  ASSERT_EQ(got.size(), 1u);
  EXPECT_EQ(got[0], (Json{{"open", app.string()}}));
  EXPECT_TRUE(appears(app / "launched"));
}

TEST(ApplicationExecutable, NamedByThePropertyListOrTheOnlyFile) {
  testing::TempDir dir;
  auto macos = dir / "A.app" / "Contents" / "MacOS";
  testing::writeFile(macos / "one", "");
  EXPECT_EQ(applicationExecutable(dir / "A.app"), macos / "one");
  testing::writeFile(macos / "two", "");
  EXPECT_EQ(applicationExecutable(dir / "A.app"), std::nullopt);
  testing::writeFile(dir / "A.app" / "Contents" / "Info.plist",
                     R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)"
                     R"(<key>CFBundleExecutable</key><string>two</string></dict></plist>)");
  EXPECT_EQ(applicationExecutable(dir / "A.app"), macos / "two");
}

TEST(LaunchDetached, ReportsAnExecFailure) {
  testing::TempDir dir;
  testing::writeFile(dir / "not-a-program", "\x7f" "ELF garbage");
  fs::permissions(dir / "not-a-program", fs::perms::owner_all, fs::perm_options::add);
  EXPECT_TRUE(launchDetached(dir / "not-a-program"));
  EXPECT_TRUE(launchDetached(dir / "absent"));
}

class Registration : public ::testing::Test {
 protected:
  void SetUp() override {
    plist = testing::readFile(fs::path(ORVANE_SOURCE_DIR) / "data" / "Info.plist");
    ASSERT_NE(plist.find("InputMethodConnectionName"), std::string::npos);
  }
  // A bundle made of the real property list with one replacement applied.
  fs::path bundle(std::string_view from = {}, std::string_view to = {}) {
    auto url = dir / ("B" + std::to_string(++count) + ".app");
    auto text = plist;
    if (!from.empty()) {
      auto at = text.find(from);
      EXPECT_NE(at, std::string::npos) << from;
      if (at != std::string::npos) text.replace(at, from.size(), to);
    }
    testing::writeFile(url / "Contents" / "Info.plist", text);
    testing::writeFile(url / "Contents" / "MacOS" / "orvane", "");
    fs::create_directories(url / "Contents" / "Resources" / "Mozc");
    return url;
  }
  testing::TempDir dir;
  std::string plist;
  int count = 0;
  BundleInputSourceRegistry registry;
};

TEST_F(Registration, CompleteBundleRegisters) { EXPECT_EQ(registry.registerInputSource(bundle()), 0); }

TEST_F(Registration, MissingPartsAreFileNotFound) {
  for (auto part : {"Contents/Info.plist", "Contents/MacOS/orvane", "Contents/Resources/Mozc"}) {
    auto url = bundle();
    fs::remove_all(url / part);
    EXPECT_EQ(registry.registerInputSource(url), BundleInputSourceRegistry::fileNotFound) << part;
  }
  EXPECT_EQ(registry.registerInputSource(dir / "Nowhere.app"), BundleInputSourceRegistry::fileNotFound);
}

TEST_F(Registration, PropertyListMustDeclareConnectionControllerAndModes) {
  struct Case {
    std::string_view from, to;
  };
  const Case cases[] = {
      {"<key>InputMethodConnectionName</key>", "<key>SomethingElse</key>"},
      {"<string>com.orvane.inputmethod.OrvaneIME_Connection</string>", "<integer>1</integer>"},
      {"<string>InputController</string>", "<string>OtherController</string>"},
      {"<key>InputMethodServerControllerClass</key>", "<key>Nothing</key>"},
      {"<key>com.orvane.inputmethod.OrvaneIME.Roman</key>", "<key>com.example.Roman</key>"},
      {"<key>com.orvane.inputmethod.OrvaneIME.Japanese</key>", "<key>com.example.Japanese</key>"},
      {"<key>tsInputModeListKey</key>", "<key>tsList</key>"},
      {"<plist version=\"1.0\">", "<plist version=\"1.0\"><array/></plist><!--"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(registry.registerInputSource(bundle(c.from, c.to)), BundleInputSourceRegistry::invalidParameter)
        << c.from << " -> " << c.to;
}

}  // namespace
}  // namespace orvane::platform
