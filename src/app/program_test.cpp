// The built `orvane` driven over pipes, as a front-end drives it.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <nlohmann/json.hpp>

#include "platform/process.h"
#include "testing/environment.h"
#include "text/text.h"

namespace orvane {
namespace {
namespace fs = std::filesystem;
using nlohmann::json;

const fs::path builtProgram = fs::path(ORVANE_BUNDLE_DIR) / "Contents" / "MacOS" / "orvane";
constexpr int64_t inputModeTag = 1768778093;
constexpr const char* kanaMode = "com.orvane.inputmethod.OrvaneIME.Japanese";
constexpr const char* directMode = "com.orvane.inputmethod.OrvaneIME.Roman";

// Closing lines have one field; the panel's update line also has "rows".
bool isClosing(const json& line) {
  auto keys = {"result", "menu", "rows", "mask", "error"};
  return line.size() == 1 && std::any_of(keys.begin(), keys.end(), [&](auto key) { return line.contains(key); });
}

// What one request caused, and the line that closed it.
struct Exchange {
  std::vector<json> effects;
  json closing;

  std::vector<json> where(const std::function<bool(const json&)>& keep) const {
    std::vector<json> out;
    std::copy_if(effects.begin(), effects.end(), std::back_inserter(out), keep);
    return out;
  }
  std::vector<json> calls(std::string_view call) const {
    return where([&](const json& l) { return l.value("call", "") == call; });
  }
  std::vector<std::string> logs(std::string_view category, std::string_view level = "default") const {
    std::vector<std::string> out;
    for (const auto& l : effects)
      if (l.value("log", "") == category && l.value("level", "") == level) out.push_back(l["message"]);
    return out;
  }
  std::vector<json> panel() const { return where([](const json& l) { return l.contains("panel"); }); }
  // The effects that are not log lines, in order.
  std::vector<json> visible() const { return where([](const json& l) { return !l.contains("log"); }); }
  // The text of the only call of its kind.
  json onlyText(std::string_view call) const {
    auto found = calls(call);
    EXPECT_EQ(found.size(), 1u) << call;
    return found.empty() ? json() : found[0]["text"];
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

  platform::ChildProcess start() {
    auto child = platform::ChildProcess::start(
        builtProgram, {}, {{"ORVANE_BUNDLE", bundle.string()}, {"XDG_DATA_HOME", dataHome.string()}, {"ORVANE_NOW", "1700000000"}});
    if (!child) throw std::runtime_error("cannot start " + builtProgram.string());
    return std::move(*child);
  }

  // Sends one request and collects what it caused up to each of its closing
  // lines: one per character for type, one for every other request.
  static std::vector<Exchange> send(platform::ChildProcess& child, const std::string& request) {
    auto r = json::parse(request, nullptr, false);
    std::size_t closings = 1;
    if (r.is_object() && r.value("op", "") == "type" && r["text"].is_string())
      closings = std::max<std::size_t>(1, text::characterCount(r["text"].get<std::string>()));
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
      } else {
        out.back().closing = parsed;
        out.emplace_back();
      }
    }
    out.pop_back();
    return out;
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

  testing::TempDir dir;
  fs::path bundle = dir / "Orvane IME.app";
  fs::path dataHome = dir / "data";
};

json J(const char* text) { return json::parse(text); }
using Lines = std::vector<std::string>;

TEST_F(Program, TypingKanjiThenReturnComposesAndCommits) {
  auto x = session({R"({"op":"type","text":"kanji"})", R"({"op":"key","code":36})"});
  ASSERT_EQ(x.size(), 6u);
  // Start-up speaks first: the launch line, then the controller's creation.
  EXPECT_EQ(x[0].effects.at(0),
            J(R"({"log":"imk","level":"default","message":"launch: connection=com.orvane.inputmethod.OrvaneIME_Connection"})"));
  EXPECT_EQ(x[0].logs("imk").back(), "init: client=unknown");

  const struct {
    const char* key;
    const char* marked;
    int caret;  // also the marked text's length
  } steps[] = {{"k", "k", 1}, {"a", "か", 1}, {"n", "かn", 2}, {"j", "かんj", 3}, {"i", "かんじ", 3}};
  for (int i = 0; i < 5; ++i) {
    SCOPED_TRACE(steps[i].key);
    auto calls = x[i].calls("setMarkedText");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0], (json{{"client", "default"}, {"call", "setMarkedText"}, {"text", steps[i].marked},
                              {"selection", {steps[i].caret, 0}}, {"replacement", {-1, 0}},
                              {"runs", {{{"start", 0}, {"length", steps[i].caret}, {"style", 2}}}}}));
    EXPECT_EQ(x[i].logs("key"), Lines{std::string("keyDown: code=0 chars=") + steps[i].key + " -> consumed"});
    EXPECT_EQ(x[i].closing, J(R"({"result":true})"));
  }
  EXPECT_EQ(x[5].calls("insertText"),
            std::vector<json>{J(R"({"client":"default","call":"insertText","text":"かんじ","replacement":[-1,0]})")});
  EXPECT_TRUE(x[5].calls("setMarkedText").empty());
  EXPECT_EQ(x[5].logs("key"), Lines{"keyDown: code=36 chars= -> consumed"});
  EXPECT_EQ(x[5].closing, J(R"({"result":true})"));
}

TEST_F(Program, MalformedLinesAreAnsweredWithOneErrorAndChangeNothing) {
  auto child = start();
  ASSERT_EQ(send(child, R"({"op":"type","text":"ka"})").size(), 2u);
  for (const std::string line : {
           "kanji", "", "[1]", R"({"client":"newcomer"})", R"({"op":"fly","client":"newcomer"})",
           R"({"op":"key","client":"newcomer"})", R"({"op":"key","code":36,"chars":1})",
           "{\"op\":\"type\",\"text\":\"ki\xff\"}", "{\"op\":\"key\",\"code\":0,\"chars\":\"\xe3\x81\"}",
           R"({"op":"type","text":"\udc00"})", R"({"op":"setValue","value":"com.orvane.inputmethod.OrvaneIME.Roman"})",
           R"({"op":"menuAction","action":"format"})"}) {
    auto x = send(child, line).at(0);
    EXPECT_TRUE(x.effects.empty()) << line;
    EXPECT_EQ(x.closing.size(), 1u) << line;
    EXPECT_TRUE(x.closing["error"].is_string() && !x.closing["error"].get<std::string>().empty()) << line;
  }
  // The composition is as the last valid request left it, in kana mode.
  auto commit = send(child, R"({"op":"commitComposition"})").at(0);
  EXPECT_EQ(commit.onlyText("insertText"), "か");
  EXPECT_EQ(commit.logs("imk"), Lines{"commitComposition"});
  child.closeInput();
  EXPECT_EQ(child.wait(), 0);
}

TEST_F(Program, EveryRequestIsAnswered) {
  auto x = session({
      R"({"op":"recognizedEvents"})", R"({"op":"activate"})", R"({"op":"candidates"})",
      R"({"op":"panelHighlight","text":null})", R"({"op":"panelSelect","text":"漢字"})",
      R"({"op":"commitComposition"})", R"({"op":"setValue","value":[1,2],"tag":7})", R"({"op":"type","text":""})",
      R"({"op":"key","code":123,"flags":131072})", R"({"op":"key","code":0,"chars":"a","type":11})",
      R"({"op":"deactivate"})",
  });
  ASSERT_EQ(x.size(), 11u);
  EXPECT_EQ(x[0].closing, J(R"({"mask":1024})"));
  EXPECT_EQ(x[2].closing, J(R"({"rows":[]})"));
  for (int i : {1, 3, 4, 5, 6, 7, 10}) EXPECT_EQ(x[i].closing, J(R"({"result":null})")) << i;
  // An arrow with nothing composed passes; a key-up is no key-down at all.
  EXPECT_EQ(x[8].closing, J(R"({"result":false})"));
  EXPECT_EQ(x[8].logs("key"), Lines{"keyDown: code=123 chars= -> pass"});
  EXPECT_EQ(x[9].closing, J(R"({"result":false})"));
  EXPECT_TRUE(x[9].effects.empty());
}

TEST_F(Program, ClientsHaveControllersOfTheirOwn) {
  auto x = session({
      R"({"op":"activate","client":"ed","bundle":"org.example.Editor"})", R"({"op":"type","text":"ka","client":"ed"})",
      R"({"op":"type","text":"kin","client":"term"})",
      R"({"op":"commitComposition","client":"ed","bundle":"ignored.later"})", R"({"op":"deactivate","client":"term"})",
  });
  ASSERT_EQ(x.size(), 8u);
  auto started = x[0].logs("imk");
  ASSERT_GE(started.size(), 2u);
  EXPECT_EQ(Lines(started.end() - 2, started.end()),
            (Lines{"init: client=org.example.Editor", "activateServer: client=org.example.Editor"}));
  EXPECT_EQ(x[3].logs("imk").front(), "init: client=unknown");
  for (const auto& call : x[3].calls("setMarkedText")) EXPECT_EQ(call["client"], "term");
  EXPECT_EQ(x[6].onlyText("insertText"), "か");
  EXPECT_EQ(x[6].calls("insertText").at(0)["client"], "ed");
  // Deactivation commits, the pending n flushed into the kana, and hides the panel.
  EXPECT_EQ(x[7].logs("imk"), Lines{"deactivateServer: client=unknown"});
  EXPECT_EQ(x[7].calls("insertText"),
            std::vector<json>{J(R"({"client":"term","call":"insertText","text":"きん","replacement":[-1,0]})")});
  EXPECT_EQ(x[7].visible().back(), J(R"({"panel":"hide"})"));
}

// The mode is the same for every client; the tags and values that change
// nothing are the controller's own tests.
TEST_F(Program, InputModeMenuSwitchesForEveryClient) {
  auto setValue = [](const char* mode) { return json{{"op", "setValue"}, {"value", mode}, {"tag", inputModeTag}}.dump(); };
  auto switched = [](const char* mode) {
    return Lines{std::string("setValue: mode=") + mode, std::string("inputMode: ") + mode};
  };
  auto x = session({R"({"op":"type","text":"ka"})", setValue(directMode), R"({"op":"type","text":"a","client":"other"})",
                    setValue(kanaMode), R"({"op":"type","text":"a","client":"other"})"});
  ASSERT_EQ(x.size(), 6u);
  // Direct mode commits first; kana mode commits nothing.
  EXPECT_EQ(x[2].logs("imk"), switched(directMode));
  EXPECT_EQ(x[2].onlyText("insertText"), "か");
  EXPECT_EQ(x[3].closing, J(R"({"result":false})"));
  EXPECT_EQ(x[4].logs("imk"), switched(kanaMode));
  EXPECT_TRUE(x[4].visible().empty());
  EXPECT_EQ(x[5].closing, J(R"({"result":true})"));
}

// Each action reaches the protocol's service; launching a real editor is the
// workspace's own test.
TEST_F(Program, MenuActions) {
  testing::writeFile(bundle / "Contents" / "Resources" / "Mozc" / "CREDITS.txt", "Mozc data\n© contributors\n");
  auto x = session({R"({"op":"menu"})", R"({"op":"menuAction","action":"copyLogCommand"})",
                    R"({"op":"menuAction","action":"showAbout"})", R"({"op":"menuAction","action":"openDictionaryEditor"})"});
  ASSERT_EQ(x.size(), 4u);
  EXPECT_EQ(x[0].closing,
            J(R"({"menu":["ユーザ辞書を編集...","Orvane IME のログを見る方法をコピー","Orvane IME について"]})"));
  const json pasteboard = {{"pasteboard", "log stream --predicate 'subsystem == \"com.orvane.inputmethod.OrvaneIME\"'"}};
  EXPECT_EQ(x[1].visible(), std::vector<json>{pasteboard});
  EXPECT_EQ(x[2].visible(), std::vector<json>{J(R"({"about":{"credits":"Mozc data\n© contributors\n"}})")});
  EXPECT_TRUE(x[2].logs("imk", "error").empty());
  // The bundle has no editor: the failure is logged.
  EXPECT_TRUE(x[3].visible().empty());
  auto errors = x[3].logs("imk", "error");
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].rfind("dictionary editor launch failed: ", 0), 0u) << errors[0];
  for (int i : {1, 2, 3}) EXPECT_EQ(x[i].closing, J(R"({"result":null})")) << i;
}

TEST_F(Program, ConversionChoiceIsLearnedAcrossRuns) {
  auto first = session({R"({"op":"type","text":"kanji"})", R"({"op":"key","code":49,"chars":" "})",
                        R"({"op":"candidates"})", R"({"op":"key","code":125})", R"({"op":"key","code":36})"});
  ASSERT_EQ(first.size(), 9u);
  const auto& convert = first[5];
  EXPECT_EQ(convert.logs("imk").back(), "conversion: reading=かんじ clauses=漢字");
  EXPECT_EQ(convert.calls("setMarkedText"), std::vector<json>{J(R"({"client":"default","call":"setMarkedText",
      "text":"漢字","runs":[{"start":0,"length":2,"style":5}],"selection":[0,0],"replacement":[-1,0]})")});
  auto panel = convert.panel();
  ASSERT_EQ(panel.size(), 2u);
  EXPECT_EQ(panel[0]["panel"], "update");
  EXPECT_EQ(panel[1], J(R"({"panel":"show","hint":2})"));
  auto rows = panel[0]["rows"];
  ASSERT_GE(rows.size(), 2u);
  EXPECT_EQ(json::array({rows[0], rows[1]}), J(R"(["漢字","感じ"])"));
  EXPECT_EQ(first[6].closing["rows"], rows);
  // Down moves the window's selection along with the candidate.
  EXPECT_EQ(first[7].panel(), std::vector<json>{J(R"({"panel":"arrow","down":true,"selected":1})")});
  ASSERT_FALSE(first[7].calls("setMarkedText").empty());
  EXPECT_EQ(first[7].calls("setMarkedText").back()["text"], "感じ");
  EXPECT_EQ(first[7].logs("imk"), Lines{"sync: sent down selectedId=1"});
  EXPECT_EQ(first[8].onlyText("insertText"), "感じ");
  EXPECT_NE(testing::readFile(dataHome / "Orvane IME" / "learning.tsv").find("感じ"), std::string::npos);

  // The next run ranks the learned choice first; a move made in the window
  // shows the candidate without committing, choosing a row commits.
  auto second = session({R"({"op":"type","text":"kanji"})", R"({"op":"key","code":49,"chars":" "})",
                         R"({"op":"panelHighlight","text":"漢字"})", R"({"op":"panelSelect","text":"漢字"})"});
  ASSERT_EQ(second.size(), 8u);
  EXPECT_EQ(second[5].onlyText("setMarkedText"), "感じ");
  EXPECT_EQ(second[6].onlyText("setMarkedText"), "漢字");
  EXPECT_TRUE(second[6].calls("insertText").empty());
  EXPECT_EQ(second[7].logs("imk").front(), "candidateSelected: 漢字");
  EXPECT_EQ(second[7].onlyText("insertText"), "漢字");
  EXPECT_EQ(second[7].panel(), std::vector<json>{J(R"({"panel":"hide"})")});
}

// A copy of the built program inside a bundle of its own, found from the
// program's place as the system finds it.
class Registering : public Program {
 protected:
  Registering() {
    fs::create_directories(program.parent_path());
    std::error_code ec;
    fs::create_hard_link(builtProgram, program, ec);
    if (ec) fs::copy_file(builtProgram, program, fs::copy_options::overwrite_existing);
  }

  // The program's output lines; its exit status is left in `status`.
  Lines run(const Lines& arguments) {
    auto child = platform::ChildProcess::start(program, arguments,
                                               {{"ORVANE_BUNDLE", std::nullopt}, {"XDG_DATA_HOME", dataHome.string()}});
    if (!child) return {};
    child->closeInput();
    auto lines = child->readAllLines();
    status = child->wait();
    return lines;
  }

  // Applies one replacement to the bundle's property list.
  void editPropertyList(const std::string& from, const std::string& to) {
    auto text = testing::readFile(bundle / "Contents" / "Info.plist");
    auto at = text.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    testing::writeFile(bundle / "Contents" / "Info.plist", text.replace(at, from.size(), to));
  }

  fs::path program = bundle / "Contents" / "MacOS" / "orvane";
  int status = -1;
};

// The arguments and the statuses are the registration's own tests; here the
// program finds its bundle from its own place.
TEST_F(Registering, StatusLineAndExitStatus) {
  EXPECT_EQ(run({"-v", "x", "--register"}), Lines{"TISRegisterInputSource: 0"});
  EXPECT_EQ(status, 0);
  fs::remove_all(bundle / "Contents" / "Resources" / "Mozc");
  EXPECT_EQ(run({"--register"}), Lines{"TISRegisterInputSource: -43"});
  EXPECT_EQ(status, 1);
}

TEST_F(Registering, StartWithoutAConnectionNameStopsWithAnError) {
  const auto original = testing::readFile(bundle / "Contents" / "Info.plist");
  for (const char* replacement : {"<integer>7</integer>", ""}) {
    testing::writeFile(bundle / "Contents" / "Info.plist", original);
    editPropertyList("<string>com.orvane.inputmethod.OrvaneIME_Connection</string>", replacement);
    if (!*replacement) editPropertyList("<key>InputMethodConnectionName</key>", "");
    auto lines = run({});
    EXPECT_NE(status, 0);
    ASSERT_EQ(lines.size(), 1u) << replacement;
    EXPECT_EQ(json::parse(lines[0]).value("level", ""), "error");
    EXPECT_EQ(json::parse(lines[0]).value("log", ""), "imk");
  }
}

}  // namespace
}  // namespace orvane
