// The built `orvane` driven over pipes, as a front-end drives it.
#include <gtest/gtest.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>

#include "platform/process.h"
#include "testing/environment.h"
#include "text/text.h"

namespace orvane {
namespace {
namespace fs = std::filesystem;
using nlohmann::json;

const fs::path builtBundle = ORVANE_BUNDLE_DIR;
const fs::path builtProgram = builtBundle / "Contents" / "MacOS" / "orvane";
constexpr const char* now = "1700000000";
constexpr int64_t inputModeTag = 1768778093;
constexpr const char* kanaMode = "com.orvane.inputmethod.OrvaneIME.Japanese";
constexpr const char* directMode = "com.orvane.inputmethod.OrvaneIME.Roman";

// Closing lines have one field; the panel's update line also has "rows".
bool isClosing(const json& line) {
  if (line.size() != 1) return false;
  for (auto key : {"result", "menu", "rows", "mask", "error"})
    if (line.contains(key)) return true;
  return false;
}

// What one request caused, and the line that closed it.
struct Exchange {
  std::vector<json> effects;
  json closing;

  std::vector<json> calls(std::string_view call) const {
    std::vector<json> out;
    for (const auto& l : effects)
      if (l.value("call", "") == call) out.push_back(l);
    return out;
  }
  std::vector<std::string> logs(std::string_view category, std::string_view level = "default") const {
    std::vector<std::string> out;
    for (const auto& l : effects)
      if (l.value("log", "") == category && l.value("level", "") == level) out.push_back(l["message"]);
    return out;
  }
  std::vector<json> panel() const {
    std::vector<json> out;
    for (const auto& l : effects)
      if (l.contains("panel")) out.push_back(l);
    return out;
  }
  // The effects that are not log lines, in order.
  std::vector<json> visible() const {
    std::vector<json> out;
    for (const auto& l : effects)
      if (!l.contains("log")) out.push_back(l);
    return out;
  }
};

// A temporary bundle holding the real property list and a tiny dictionary,
// with its own user data directory.
class Program : public ::testing::Test {
 protected:
  Program() {
    testing::writeFile(bundle / "Contents" / "Info.plist",
                       testing::readFile(fs::path(ORVANE_SOURCE_DIR) / "data" / "Info.plist"));
    auto mozc = bundle / "Contents" / "Resources" / "Mozc";
    testing::writeFile(mozc / "mozc.tsv", "かんじ\t1\t1\t3000\t漢字\nかんじ\t1\t1\t4000\t感じ\n");
    testing::writeFile(mozc / "id.def", "0 BOS/EOS,*,*,*,*,*,*\n1 名詞,一般,*,*,*,*,*\n");
    // A 2 x 2 table of zero costs.
    testing::writeFile(mozc / "connection.bin", std::string("\x02\0\0\0", 4) + std::string(8, '\0'));
  }

  platform::ChildProcess::EnvironmentChanges environment() const {
    return {{"ORVANE_BUNDLE", bundle.string()}, {"XDG_DATA_HOME", dataHome.string()}, {"ORVANE_NOW", now}};
  }

  platform::ChildProcess start() {
    auto child = platform::ChildProcess::start(builtProgram, {}, environment());
    if (!child) throw std::runtime_error("cannot start " + builtProgram.string());
    return std::move(*child);
  }

  // Sends one request and collects what it caused up to each of its closing
  // lines: one per character for type, one for every other request.
  static std::vector<Exchange> send(platform::ChildProcess& child, const std::string& request) {
    std::size_t closings = 1;
    if (json::accept(request)) {
      auto r = json::parse(request);
      if (r.is_object() && r.value("op", "") == "type" && r["text"].is_string())
        closings = std::max<std::size_t>(1, text::characterCount(r["text"].get<std::string>()));
    }
    EXPECT_TRUE(child.write(request + "\n"));
    std::vector<Exchange> out(1);
    while (out.size() <= closings) {
      auto line = child.readLine();
      if (!line) {
        ADD_FAILURE() << "no closing line for " << request;
        break;
      }
      auto parsed = json::parse(*line);
      if (!isClosing(parsed)) {
        out.back().effects.push_back(parsed);
        continue;
      }
      out.back().closing = parsed;
      out.emplace_back();
    }
    out.pop_back();
    return out;
  }

  static Exchange sendOne(platform::ChildProcess& child, const std::string& request) {
    auto out = send(child, request);
    return out.empty() ? Exchange{} : out.front();
  }

  // A whole session: one exchange per closing line; the output must end with
  // the last of them and the program with status 0.
  std::vector<Exchange> session(const std::vector<std::string>& requests) {
    auto child = start();
    std::vector<Exchange> out;
    for (const auto& r : requests)
      for (auto& e : send(child, r)) out.push_back(std::move(e));
    child.closeInput();
    EXPECT_TRUE(child.readAllLines().empty());
    EXPECT_EQ(child.wait(), 0);
    return out;
  }

  fs::path userDirectory() const { return dataHome / "Orvane IME"; }

  testing::TempDir dir;
  fs::path bundle = dir / "Orvane IME.app";
  fs::path dataHome = dir / "data";
};

TEST_F(Program, TypingKanjiThenReturnComposesAndCommits) {
  auto x = session({R"({"op":"type","text":"kanji"})", R"({"op":"key","code":36})"});
  ASSERT_EQ(x.size(), 6u);

  // Start-up speaks first: the launch line, then the controller's creation.
  ASSERT_FALSE(x[0].effects.empty());
  EXPECT_EQ(x[0].effects[0],
            json::parse(R"({"log":"imk","level":"default","message":"launch: connection=com.orvane.inputmethod.OrvaneIME_Connection"})"));
  EXPECT_EQ(x[0].logs("imk").back(), "init: client=unknown");

  const struct {
    const char* key;
    const char* marked;
    int caret;
  } steps[] = {{"k", "k", 1}, {"a", "か", 1}, {"n", "かn", 2}, {"j", "かんj", 3}, {"i", "かんじ", 3}};
  // Every marked text here is as long as its caret position.
  for (int i = 0; i < 5; ++i) {
    SCOPED_TRACE(steps[i].key);
    auto calls = x[i].calls("setMarkedText");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0]["client"], "default");
    EXPECT_EQ(calls[0]["text"], steps[i].marked);
    EXPECT_EQ(calls[0]["selection"], json::array({steps[i].caret, 0}));
    EXPECT_EQ(calls[0]["replacement"], json::array({-1, 0}));
    EXPECT_EQ(calls[0]["runs"], json::array({{{"start", 0}, {"length", steps[i].caret}, {"style", 2}}}));
    EXPECT_EQ(x[i].logs("key"), std::vector<std::string>{std::string("keyDown: code=0 chars=") + steps[i].key +
                                                         " -> consumed"});
    EXPECT_EQ(x[i].closing, json::parse(R"({"result":true})"));
  }

  auto inserted = x[5].calls("insertText");
  ASSERT_EQ(inserted.size(), 1u);
  EXPECT_EQ(inserted[0], json::parse(R"({"client":"default","call":"insertText","text":"かんじ","replacement":[-1,0]})"));
  EXPECT_TRUE(x[5].calls("setMarkedText").empty());
  EXPECT_EQ(x[5].logs("key"), std::vector<std::string>{"keyDown: code=36 chars= -> consumed"});
  EXPECT_EQ(x[5].closing, json::parse(R"({"result":true})"));
}

TEST_F(Program, MalformedLinesAreAnsweredWithOneErrorAndChangeNothing) {
  auto child = start();
  auto first = send(child, R"({"op":"type","text":"ka"})");
  ASSERT_EQ(first.size(), 2u);
  const std::string malformed[] = {
      "kanji",
      "",
      "[1]",
      R"({"client":"newcomer"})",
      R"({"op":"fly","client":"newcomer"})",
      R"({"op":"key","client":"newcomer"})",
      R"({"op":"key","code":36,"chars":1})",
      "{\"op\":\"type\",\"text\":\"ki\xff\"}",
      "{\"op\":\"key\",\"code\":0,\"chars\":\"\xe3\x81\"}",
      R"({"op":"type","text":"\udc00"})",
      R"({"op":"setValue","value":"com.orvane.inputmethod.OrvaneIME.Roman"})",
      R"({"op":"menuAction","action":"format"})",
  };
  for (const auto& line : malformed) {
    auto x = sendOne(child, line);
    EXPECT_TRUE(x.effects.empty()) << line;
    ASSERT_TRUE(x.closing.contains("error")) << line;
    EXPECT_TRUE(x.closing["error"].is_string() && !x.closing["error"].get<std::string>().empty()) << line;
    EXPECT_EQ(x.closing.size(), 1u) << line;
  }
  // The composition is as the last valid request left it, in kana mode.
  auto commit = sendOne(child, R"({"op":"commitComposition"})");
  auto inserted = commit.calls("insertText");
  ASSERT_EQ(inserted.size(), 1u);
  EXPECT_EQ(inserted[0]["text"], "か");
  EXPECT_TRUE(commit.logs("imk").size() == 1 && commit.logs("imk")[0] == "commitComposition");
  child.closeInput();
  EXPECT_EQ(child.wait(), 0);
}

TEST_F(Program, EveryRequestIsAnswered) {
  auto x = session({
      R"({"op":"recognizedEvents"})",
      R"({"op":"activate"})",
      R"({"op":"candidates"})",
      R"({"op":"panelHighlight","text":null})",
      R"({"op":"panelSelect","text":"漢字"})",
      R"({"op":"commitComposition"})",
      R"({"op":"setValue","value":[1,2],"tag":7})",
      R"({"op":"type","text":""})",
      R"({"op":"key","code":123,"flags":131072})",
      R"({"op":"key","code":0,"chars":"a","type":11})",
      R"({"op":"deactivate"})",
  });
  ASSERT_EQ(x.size(), 11u);
  EXPECT_EQ(x[0].closing, json::parse(R"({"mask":1024})"));
  EXPECT_EQ(x[2].closing, json::parse(R"({"rows":[]})"));
  for (int i : {1, 3, 4, 5, 6, 7, 10}) EXPECT_EQ(x[i].closing, json::parse(R"({"result":null})")) << i;
  // An arrow with nothing composed passes; a key-up is no key-down at all.
  EXPECT_EQ(x[8].closing, json::parse(R"({"result":false})"));
  EXPECT_EQ(x[8].logs("key"), std::vector<std::string>{"keyDown: code=123 chars= -> pass"});
  EXPECT_EQ(x[9].closing, json::parse(R"({"result":false})"));
  EXPECT_TRUE(x[9].effects.empty());
}

TEST_F(Program, ClientsHaveControllersOfTheirOwn) {
  auto x = session({
      R"({"op":"activate","client":"ed","bundle":"org.example.Editor"})",
      R"({"op":"type","text":"ka","client":"ed"})",
      R"({"op":"type","text":"ki","client":"term"})",
      R"({"op":"commitComposition","client":"ed","bundle":"ignored.later"})",
      R"({"op":"deactivate","client":"term"})",
  });
  ASSERT_EQ(x.size(), 7u);
  auto started = x[0].logs("imk");
  ASSERT_GE(started.size(), 2u);
  EXPECT_EQ(started[started.size() - 2], "init: client=org.example.Editor");
  EXPECT_EQ(started.back(), "activateServer: client=org.example.Editor");
  EXPECT_EQ(x[3].logs("imk").front(), "init: client=unknown");
  for (const auto& call : x[3].calls("setMarkedText")) EXPECT_EQ(call["client"], "term");
  auto edCommit = x[5].calls("insertText");
  ASSERT_EQ(edCommit.size(), 1u);
  EXPECT_EQ(edCommit[0]["client"], "ed");
  EXPECT_EQ(edCommit[0]["text"], "か");
  auto termCommit = x[6].calls("insertText");
  ASSERT_EQ(termCommit.size(), 1u);
  EXPECT_EQ(termCommit[0]["client"], "term");
  EXPECT_EQ(termCommit[0]["text"], "き");
}

TEST_F(Program, DeactivationCommitsAndHidesThePanel) {
  auto x = session({
      R"({"op":"deactivate"})",
      R"({"op":"type","text":"kan"})",
      R"({"op":"deactivate"})",
  });
  ASSERT_EQ(x.size(), 5u);
  EXPECT_TRUE(x[0].calls("insertText").empty());
  EXPECT_EQ(x[0].logs("imk").back(), "deactivateServer: client=unknown");

  // The pending n is flushed into the kana.
  EXPECT_EQ(x[4].logs("imk"), std::vector<std::string>{"deactivateServer: client=unknown"});
  EXPECT_EQ(x[4].calls("insertText"),
            std::vector<json>{json::parse(R"({"client":"default","call":"insertText","text":"かん","replacement":[-1,0]})")});
  EXPECT_EQ(x[4].visible().back(), json::parse(R"({"panel":"hide"})"));
}

TEST_F(Program, InputModeMenuSwitchesForEveryClient) {
  std::string roman = json{{"op", "setValue"}, {"value", directMode}, {"tag", inputModeTag}}.dump();
  std::string japanese = json{{"op", "setValue"}, {"value", kanaMode}, {"tag", inputModeTag}}.dump();
  auto x = session({
      R"({"op":"type","text":"ka"})",
      roman,
      R"({"op":"type","text":"a","client":"other"})",
      japanese,
      R"({"op":"type","text":"a","client":"other"})",
      json{{"op", "setValue"}, {"value", directMode}, {"tag", 1}}.dump(),
      json{{"op", "setValue"}, {"value", "com.example.inputmethod.Other"}, {"tag", inputModeTag}}.dump(),
      R"({"op":"key","code":0,"chars":"i"})",
  });
  ASSERT_EQ(x.size(), 9u);
  // Direct mode commits first.
  EXPECT_EQ(x[2].logs("imk"), (std::vector<std::string>{std::string("setValue: mode=") + directMode,
                                                         std::string("inputMode: ") + directMode}));
  ASSERT_EQ(x[2].calls("insertText").size(), 1u);
  EXPECT_EQ(x[2].calls("insertText")[0]["text"], "か");
  EXPECT_EQ(x[3].closing, json::parse(R"({"result":false})"));
  // Kana mode commits nothing.
  EXPECT_EQ(x[4].logs("imk"), (std::vector<std::string>{std::string("setValue: mode=") + kanaMode,
                                                         std::string("inputMode: ") + kanaMode}));
  EXPECT_TRUE(x[4].visible().empty());
  EXPECT_EQ(x[5].closing, json::parse(R"({"result":true})"));
  // Another tag or another input method's mode changes nothing.
  EXPECT_TRUE(x[6].effects.empty());
  EXPECT_TRUE(x[7].effects.empty());
  EXPECT_EQ(x[8].closing, json::parse(R"({"result":true})"));
}

TEST_F(Program, MenuTitlesAndCopyingTheLogCommand) {
  auto x = session({R"({"op":"menu"})", R"({"op":"menuAction","action":"copyLogCommand"})"});
  ASSERT_EQ(x.size(), 2u);
  EXPECT_EQ(x[0].closing,
            json::parse(R"({"menu":["ユーザ辞書を編集...","Orvane IME のログを見る方法をコピー","Orvane IME について"]})"));
  const json pasteboard = {{"pasteboard", "log stream --predicate 'subsystem == \"com.orvane.inputmethod.OrvaneIME\"'"}};
  EXPECT_EQ(x[1].visible(), std::vector<json>{pasteboard});
  EXPECT_EQ(x[1].closing, json::parse(R"({"result":null})"));
}

TEST_F(Program, AboutShowsTheCreditsWhenThereAreAny) {
  auto child = start();
  auto without = sendOne(child, R"({"op":"menuAction","action":"showAbout"})");
  EXPECT_EQ(without.visible(), std::vector<json>{json::parse(R"({"about":{"credits":null}})")});
  testing::writeFile(bundle / "Contents" / "Resources" / "Mozc" / "CREDITS.txt", "Mozc data\n© contributors\n");
  auto with = sendOne(child, R"({"op":"menuAction","action":"showAbout"})");
  EXPECT_EQ(with.visible(),
            std::vector<json>{json::parse(R"({"about":{"credits":"Mozc data\n© contributors\n"}})")});
  EXPECT_TRUE(with.logs("imk", "error").empty());
}

TEST_F(Program, DictionaryEditorIsLaunchedOrItsFailureLogged) {
  auto child = start();
  auto missing = sendOne(child, R"({"op":"menuAction","action":"openDictionaryEditor"})");
  EXPECT_TRUE(missing.visible().empty());
  auto errors = missing.logs("imk", "error");
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].rfind("dictionary editor launch failed: ", 0), 0u) << errors[0];
  EXPECT_EQ(missing.closing, json::parse(R"({"result":null})"));

  auto editor = bundle / "Contents" / "Helpers" / "Orvane IME Dictionary.app";
  auto script = editor / "Contents" / "MacOS" / "editor";
  testing::writeFile(script, "#!/bin/sh\ntouch \"$(dirname \"$0\")/launched\"\n");
  fs::permissions(script, fs::perms::owner_all, fs::perm_options::add);
  auto launched = sendOne(child, R"({"op":"menuAction","action":"openDictionaryEditor"})");
  const json open = {{"open", editor.string()}};
  EXPECT_EQ(launched.visible(), std::vector<json>{open});
  EXPECT_TRUE(launched.logs("imk", "error").empty());
  bool ran = false;
  for (int i = 0; i < 500 && !ran; ++i) {
    ran = fs::exists(script.parent_path() / "launched");
    if (!ran) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_TRUE(ran);
}

TEST_F(Program, ConversionChoiceIsLearnedAcrossRuns) {
  auto first = session({
      R"({"op":"type","text":"kanji"})",
      R"({"op":"key","code":49,"chars":" "})",
      R"({"op":"candidates"})",
      R"({"op":"key","code":125})",
      R"({"op":"key","code":36})",
  });
  ASSERT_EQ(first.size(), 9u);
  const auto& convert = first[5];
  EXPECT_EQ(convert.logs("imk").back(), "conversion: reading=かんじ clauses=漢字");
  auto marked = convert.calls("setMarkedText");
  ASSERT_EQ(marked.size(), 1u);
  EXPECT_EQ(marked[0]["text"], "漢字");
  EXPECT_EQ(marked[0]["runs"], json::parse(R"([{"start":0,"length":2,"style":5}])"));
  EXPECT_EQ(marked[0]["selection"], json::array({0, 0}));
  auto panel = convert.panel();
  ASSERT_EQ(panel.size(), 2u);
  EXPECT_EQ(panel[0]["panel"], "update");
  EXPECT_EQ(panel[1], json::parse(R"({"panel":"show","hint":2})"));
  auto rows = panel[0]["rows"];
  ASSERT_GE(rows.size(), 2u);
  EXPECT_EQ(rows[0], "漢字");
  EXPECT_EQ(rows[1], "感じ");
  EXPECT_EQ(first[6].closing["rows"], rows);

  // Down moves the window's selection along with the candidate.
  EXPECT_EQ(first[7].panel(), std::vector<json>{json::parse(R"({"panel":"arrow","down":true,"selected":1})")});
  ASSERT_FALSE(first[7].calls("setMarkedText").empty());
  EXPECT_EQ(first[7].calls("setMarkedText").back()["text"], "感じ");
  EXPECT_EQ(first[7].logs("imk"), std::vector<std::string>{"sync: sent down selectedId=1"});

  auto commit = first[8].calls("insertText");
  ASSERT_EQ(commit.size(), 1u);
  EXPECT_EQ(commit[0]["text"], "感じ");
  EXPECT_NE(testing::readFile(userDirectory() / "learning.tsv").find("感じ"), std::string::npos);

  // The next run ranks the learned choice first.
  auto second = session({
      R"({"op":"type","text":"kanji"})",
      R"({"op":"key","code":49,"chars":" "})",
      R"({"op":"panelHighlight","text":"漢字"})",
      R"({"op":"panelSelect","text":"漢字"})",
  });
  ASSERT_EQ(second.size(), 8u);
  ASSERT_EQ(second[5].calls("setMarkedText").size(), 1u);
  EXPECT_EQ(second[5].calls("setMarkedText")[0]["text"], "感じ");
  // A move made in the window shows the candidate without committing.
  ASSERT_EQ(second[6].calls("setMarkedText").size(), 1u);
  EXPECT_EQ(second[6].calls("setMarkedText")[0]["text"], "漢字");
  EXPECT_TRUE(second[6].calls("insertText").empty());
  // Choosing a row commits.
  EXPECT_EQ(second[7].logs("imk").front(), "candidateSelected: 漢字");
  ASSERT_EQ(second[7].calls("insertText").size(), 1u);
  EXPECT_EQ(second[7].calls("insertText")[0]["text"], "漢字");
  EXPECT_EQ(second[7].panel(), std::vector<json>{json::parse(R"({"panel":"hide"})")});
}

// A copy of the built program inside a bundle of its own, found from the
// program's place as the system finds it.
class Registering : public Program {
 protected:
  fs::path copyProgram(const fs::path& into) {
    auto target = into / "Contents" / "MacOS" / "orvane";
    fs::create_directories(target.parent_path());
    std::error_code ec;
    fs::create_hard_link(builtProgram, target, ec);
    if (ec) fs::copy_file(builtProgram, target, fs::copy_options::overwrite_existing);
    return target;
  }

  struct Result {
    std::vector<std::string> lines;
    int status;
  };
  Result run(const fs::path& program, const std::vector<std::string>& arguments,
             std::optional<std::string> programName = std::nullopt) {
    auto child = platform::ChildProcess::start(
        program, arguments, {{"ORVANE_BUNDLE", std::nullopt}, {"XDG_DATA_HOME", dataHome.string()}},
        std::move(programName));
    if (!child) return {{}, -1};
    child->closeInput();
    Result r{child->readAllLines(), 0};
    r.status = child->wait();
    return r;
  }
};

TEST_F(Registering, StatusLineAndExitStatus) {
  auto program = copyProgram(bundle);
  struct Case {
    std::vector<std::string> arguments;
    std::optional<std::string> programName;
    const char* line;
    int status;
  } cases[] = {
      {{"--register"}, std::nullopt, "TISRegisterInputSource: 0", 0},
      {{"-v", "x", "--register"}, std::nullopt, "TISRegisterInputSource: 0", 0},
      {{}, "--register", "TISRegisterInputSource: 0", 0},
  };
  for (const auto& c : cases) {
    auto r = run(program, c.arguments, c.programName);
    EXPECT_EQ(r.lines, std::vector<std::string>{c.line});
    EXPECT_EQ(r.status, c.status);
  }

  // An incomplete bundle does not register.
  fs::remove_all(bundle / "Contents" / "Resources" / "Mozc");
  auto r = run(program, {"--register"});
  EXPECT_EQ(r.lines, std::vector<std::string>{"TISRegisterInputSource: -43"});
  EXPECT_EQ(r.status, 1);
  auto plist = bundle / "Contents" / "Info.plist";
  fs::create_directories(bundle / "Contents" / "Resources" / "Mozc");
  auto text = testing::readFile(plist);
  text.replace(text.find("<string>InputController</string>"), 32, "<string>Other</string>");
  testing::writeFile(plist, text);
  r = run(program, {"--register"});
  EXPECT_EQ(r.lines, std::vector<std::string>{"TISRegisterInputSource: -50"});
  EXPECT_EQ(r.status, 1);
}

TEST_F(Registering, AnArgumentThatOnlyBeginsWithTheOptionStartsNormally) {
  auto program = copyProgram(bundle);
  auto r = run(program, {"--registered"});
  EXPECT_EQ(r.status, 0);
  ASSERT_FALSE(r.lines.empty());
  EXPECT_EQ(json::parse(r.lines[0])["message"], "launch: connection=com.orvane.inputmethod.OrvaneIME_Connection");
}

TEST_F(Registering, StartWithoutAConnectionNameStopsWithAnError) {
  auto program = copyProgram(bundle);
  auto plist = bundle / "Contents" / "Info.plist";
  auto original = testing::readFile(plist);
  const std::string name = "<string>com.orvane.inputmethod.OrvaneIME_Connection</string>";
  for (const char* replacement : {"<integer>7</integer>", ""}) {
    auto text = original;
    auto at = text.find(name);
    text.replace(at, name.size(), replacement);
    if (!*replacement) text.replace(text.find("<key>InputMethodConnectionName</key>"), 36, "");
    testing::writeFile(plist, text);
    auto r = run(program, {});
    EXPECT_NE(r.status, 0);
    ASSERT_EQ(r.lines.size(), 1u) << replacement;
    auto line = json::parse(r.lines[0]);
    EXPECT_EQ(line["log"], "imk");
    EXPECT_EQ(line["level"], "error");
  }
}

}  // namespace
}  // namespace orvane
