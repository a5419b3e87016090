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

// The lines written so far, as one array.
struct Lines {
  std::ostringstream out;
  ProtocolWriter writer{out};

  Json written() const {
    Json result = Json::array();
    std::istringstream in(out.str());
    for (std::string line; std::getline(in, line);) result.push_back(Json::parse(line));
    return result;
  }
};

// Records what the panel reports to its controller in the same stream, so
// that the order of lines and callbacks shows.
class Source final : public CandidatePanelDataSource {
 public:
  explicit Source(ProtocolWriter& writer) : writer_(writer) {}
  std::vector<std::string> candidates(const void*) override { return {"漢字", "感じ", "幹事"}; }
  void candidateSelectionChanged(const std::optional<std::string>& text) override { report("changed", text); }
  void candidateSelected(const std::optional<std::string>& text) override { report("chosen", text); }

 private:
  void report(const char* what, const std::optional<std::string>& text) {
    writer_.write(Json{{what, text ? Json(*text) : Json()}});
  }
  ProtocolWriter& writer_;
};

KeyEvent arrow(bool down) {
  return *makeKeyEvent(keyDownEventType, ModifierFlag::numericPad | ModifierFlag::function, 0,
                       down ? "\uF701" : "\uF700", down ? "\uF701" : "\uF700", false,
                       down ? downArrowKeyCode : upArrowKeyCode);
}

TEST(ProtocolCandidatePanel, ReportsReloadShowArrowsAndHide) {
  Lines lines;
  Source source(lines.writer);
  ProtocolCandidatePanel panel(lines.writer);
  panel.setActiveController(&source);

  panel.updateCandidates();
  panel.show(locationHintBelowText);
  panel.interpretKeyEvents({arrow(true), arrow(true), arrow(true)});
  panel.interpretKeyEvents({arrow(false)});
  panel.hide();

  EXPECT_EQ(lines.written(), Json::parse(R"([
    {"panel":"update","rows":["漢字","感じ","幹事"]},
    {"panel":"show","hint":2},
    {"panel":"arrow","down":true,"selected":1}, {"changed":"感じ"},
    {"panel":"arrow","down":true,"selected":2}, {"changed":"幹事"},
    {"panel":"arrow","down":true,"selected":2},
    {"panel":"arrow","down":false,"selected":1}, {"changed":"感じ"},
    {"panel":"hide"}])"));
}

TEST(ProtocolLines, ClientCallsAndServicesWithNotFoundAsMinusOne) {
  Lines lines;
  ProtocolClient client(lines.writer, "ed", "org.example.Editor");
  EXPECT_EQ(client.bundleIdentifier(), "org.example.Editor");
  client.setMarkedText({"漢字か", {{0, 2, 4, {}}, {2, 1, 5, {{"underline", "thick"}}}}}, {2, 0}, {NSNotFound, 0});
  client.insertText("😀", {NSNotFound, 0});
  client.selectInputMode("com.orvane.inputmethod.OrvaneIME.Roman");
  ProtocolPasteboard pasteboard(lines.writer);
  pasteboard.clearContents();
  pasteboard.setString("log stream");
  ProtocolAboutPanel about(lines.writer);
  about.show(std::nullopt);
  about.show("Mozc\n© 2010");
  ProtocolLogSink sink(lines.writer);
  sink.write("imk", Log::Level::error, "dictionary load failed: x y");
  sink.write("key", Log::Level::defaultLevel, "keyDown: code=0 chars=a -> consumed");
  EXPECT_EQ(lines.written(), Json::parse(R"([{"client":"ed","call":"setMarkedText","text":"漢字か",
      "runs":[{"start":0,"length":2,"style":4},{"start":2,"length":1,"style":5}],
      "selection":[2,0],"replacement":[-1,0]},
    {"client":"ed","call":"insertText","text":"😀","replacement":[-1,0]},
    {"client":"ed","call":"selectInputMode","mode":"com.orvane.inputmethod.OrvaneIME.Roman"},
    {"pasteboard":"log stream"}, {"about":{"credits":null}}, {"about":{"credits":"Mozc\n© 2010"}},
    {"log":"imk","level":"error","message":"dictionary load failed: x y"},
    {"log":"key","level":"default","message":"keyDown: code=0 chars=a -> consumed"}])"));
}

void makeExecutable(const fs::path& path, std::string_view script) {
  testing::writeFile(path, script);
  fs::permissions(path, fs::perms::owner_all, fs::perm_options::add);
}

TEST(ProtocolWorkspace, RunsTheApplicationsExecutableOrReportsWhyNot) {
  testing::TempDir dir;
  Lines lines;
  ProtocolWorkspace workspace(lines.writer);
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
  for (int i : {1, 2}) EXPECT_TRUE(completions[i] && !completions[i]->empty()) << i;
  // Only the launch that happened is reported.
  EXPECT_EQ(lines.written(), Json::array({Json{{"open", app.string()}}}));
  bool launched = false;
  for (int i = 0; i < 500 && !(launched = fs::exists(app / "launched")); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_TRUE(launched);
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
  makeExecutable(dir / "not-a-program", "\x7f" "ELF garbage");
  EXPECT_TRUE(launchDetached(dir / "not-a-program"));
  EXPECT_TRUE(launchDetached(dir / "absent"));
}

class Registration : public ::testing::Test {
 protected:
  // A bundle made of the real property list with one replacement applied.
  fs::path bundle(std::string_view from = "", std::string_view to = "") {
    auto url = dir / ("B" + std::to_string(++count) + ".app");
    auto text = plist;
    auto at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
    testing::writeFile(url / "Contents" / "Info.plist", text);
    testing::writeFile(url / "Contents" / "MacOS" / "orvane", "");
    fs::create_directories(url / "Contents" / "Resources" / "Mozc");
    return url;
  }
  testing::TempDir dir;
  std::string plist = testing::readFile(fs::path(ORVANE_SOURCE_DIR) / "data" / "Info.plist");
  int count = 0;
  BundleInputSourceRegistry registry;
};

TEST_F(Registration, CompleteBundlesOnlyRegister) {
  EXPECT_EQ(registry.registerInputSource(bundle()), 0);
  for (auto part : {"Contents/Info.plist", "Contents/MacOS/orvane", "Contents/Resources/Mozc"}) {
    auto url = bundle();
    fs::remove_all(url / part);
    EXPECT_EQ(registry.registerInputSource(url), BundleInputSourceRegistry::fileNotFound) << part;
  }
  EXPECT_EQ(registry.registerInputSource(dir / "Nowhere.app"), BundleInputSourceRegistry::fileNotFound);

  // The property list must declare the connection, the controller and the modes.
  const struct {
    std::string_view from, to;
  } cases[] = {
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
