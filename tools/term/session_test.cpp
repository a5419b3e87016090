#include "session.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "app/log.h"
#include "platform/bundle.h"
#include "testing/environment.h"

namespace orvane::term {
namespace {

std::vector<TermInput> decode(std::string_view bytes) {
  KeyDecoder decoder;
  decoder.feed(bytes);
  decoder.flush();
  return decoder.take();
}

// A session fed with the bytes a terminal would send, over a small
// dictionary in which ねこ is 猫 first and 根子 second.
class SessionTest : public ::testing::Test {
 protected:
  SessionTest() {
    env.writeParts({{10, "名詞,一般,*,*,*,*,*"}});
    env.writeConnection(20, 0);
    env.writeWords({{"ねこ", 10, 10, 100, "猫"}, {"ねこ", 10, 10, 300, "根子"}});
    InputController::setInputMode(InputController::InputMode::kana);
    auto owned = std::make_unique<TerminalPanel>();
    panel = owned.get();
    setCandidatesWindow(std::move(owned));
    session = std::make_unique<Session>(
        *panel, std::make_shared<LogPane>(),
        Session::Hooks{[this](std::string_view bytes) { written += bytes; },
                       [this](const std::vector<std::string>& argv) { return ran.push_back(argv), runStatus; }});
    session->start();
  }
  ~SessionTest() override {
    session.reset();
    setCandidatesWindow(nullptr);
    InputController::setInputMode(InputController::InputMode::kana);
  }

  void type(std::string_view bytes) {
    for (const auto& input : decode(bytes)) session->handle(input);
  }
  std::string marked() const { return session->client().markedText().text; }
  std::string text() const { return session->client().text(); }

  testing::Environment env;
  Log::ScopedCapture log;
  TerminalPanel* panel = nullptr;
  std::unique_ptr<Session> session;
  std::string written;
  std::vector<std::vector<std::string>> ran;
  int runStatus = 0;
};

TEST_F(SessionTest, TypingConvertingAndCommittingThroughTerminalBytes) {
  type("neko");
  EXPECT_EQ(marked(), "ねこ");
  type(" ");
  ASSERT_TRUE(session->screen().candidates);
  EXPECT_EQ(session->screen().candidates->rows.at(0), "猫");
  type("\x1b[B");  // Down: the window's selection and the marked text follow
  EXPECT_EQ(session->screen().candidates->selected, 1);
  EXPECT_EQ(marked(), "根子");
  type("\r");
  EXPECT_EQ(text(), "根子");
  EXPECT_FALSE(session->screen().candidates);
  // The choice is learned: first the next time.
  type("neko ");
  EXPECT_EQ(session->screen().candidates->rows.at(0), "根子");
  type("\x1b");  // Escape returns to the kana
  EXPECT_EQ(marked(), "ねこ");
  EXPECT_FALSE(session->screen().candidates);
}

TEST_F(SessionTest, KeysTheInputMethodPassesEditTheText) {
  type("ab\r");  // あb committed by Return, which is consumed
  EXPECT_EQ(text(), "あb");
  type("\r \t\x7f");  // with nothing composed these reach the text area
  EXPECT_EQ(text(), "あb\n ");
  type(std::string(1, '\0'));  // Ctrl-Space: the ideographic space
  EXPECT_EQ(text(), "あb\n \u3000");
  type("\x0c" "ka");  // Ctrl-L: direct mode, keys go straight in
  EXPECT_EQ(session->screen().mode, "英数");
  EXPECT_EQ(text(), "あb\n \u3000ka");
  type("\nka");  // Ctrl-J: kana again
  EXPECT_EQ(marked(), "か");
}

TEST_F(SessionTest, ChordsCommitAndPasteDoesNotCompose) {
  type("ka\x01");  // Ctrl-A commits what was typed; the area ignores the chord
  EXPECT_EQ(text(), "か");
  EXPECT_EQ(marked(), "");
  type("ki\x1b[200~neko\x1b[201~");
  EXPECT_EQ(text(), "かきneko");
}

TEST_F(SessionTest, EndingCommitsWhatIsBeingWritten) {
  type("neko ");
  type("\x04");  // Ctrl-D
  EXPECT_TRUE(session->wantsToQuit());
  session->finish();
  EXPECT_EQ(text(), "猫");
  EXPECT_FALSE(panel->isVisible());
}

TEST_F(SessionTest, MenuRunsTheControllerActions) {
  type("ka\x0f");  // Ctrl-O
  auto screen = session->screen();
  ASSERT_TRUE(screen.menu);
  EXPECT_EQ(screen.menu->items,
            (std::vector<std::string>{"ユーザ辞書を編集...", "Orvane IME のログを見る方法をコピー", "Orvane IME について"}));
  // Keys while the menu is open never reach the input method.
  type("\x1b[Bx");
  EXPECT_EQ(marked(), "か");
  EXPECT_EQ(session->screen().menu->selected, 1);
  type("\r");
  EXPECT_FALSE(session->screen().menu);
  EXPECT_EQ(written, clipboardSequence("log stream --predicate 'subsystem == \"com.orvane.inputmethod.OrvaneIME\"'"));
  EXPECT_NE(session->screen().notice, "");

  type("\x1bOQ" "3");  // F2, then the third item by its number
  auto about = session->screen().about;
  ASSERT_TRUE(about);
  EXPECT_FALSE(about->lines.empty());
  type("q");  // closes the overlay and is not typed
  EXPECT_FALSE(session->screen().about);
  EXPECT_EQ(marked(), "か");

  type("\x1bOQ\x1b");  // Escape closes the menu, composition untouched
  EXPECT_FALSE(session->screen().menu);
  EXPECT_EQ(marked(), "か");
}

TEST_F(SessionTest, EditingTheDictionaryStartsAnEditorOrSaysWhy) {
  unsetenv("VISUAL");
  setenv("EDITOR", "vi", 1);
  type("\x0f" "1");
  ASSERT_EQ(ran.size(), 1u);
  // The bundle's editor when the build made one, else the user's own.
  auto helper = TerminalWorkspace::executableIn(platform::Bundle::main().bundleURL() / "Contents" / "Helpers" /
                                                "Orvane IME Dictionary.app");
  if (helper)
    EXPECT_EQ(ran[0], std::vector<std::string>{helper->string()});
  else
    EXPECT_EQ(ran[0].back(), (env.userDirectory() / "dictionary.txt").string());

  runStatus = -1;  // nothing could be started
  unsetenv("EDITOR");
  type("\x0f" "1");
  auto errors = log->messages("imk");
  EXPECT_TRUE(std::any_of(errors.begin(), errors.end(),
                          [](const std::string& m) { return m.starts_with("dictionary editor launch failed: "); }));
  EXPECT_NE(session->screen().notice.find("$EDITOR"), std::string::npos);
  EXPECT_EQ(marked(), "");
}

TEST(TerminalServicesTest, WithoutAnEditorBundleTheUsersEditorOpensTheDictionary) {
  testing::TempDir dir;
  const auto document = dir / "dictionary.txt";
  std::vector<std::vector<std::string>> ran;
  int status = 0;
  std::vector<std::string> failures;
  TerminalWorkspace workspace([&](const std::vector<std::string>& argv) { return ran.push_back(argv), status; },
                              document, [&](const std::string& error) { failures.push_back(error); });
  std::optional<std::string> result;
  auto open = [&] { workspace.openApplication(dir / "Missing.app", [&](auto error) { result = std::move(error); }); };

  unsetenv("VISUAL");
  setenv("EDITOR", "vi", 1);
  open();
  ASSERT_EQ(ran.size(), 1u);
  EXPECT_EQ(ran[0], (std::vector<std::string>{"/bin/sh", "-c", "vi \"$1\"", "vi", document.string()}));
  EXPECT_FALSE(result);

  setenv("VISUAL", "emacs", 1);  // the visual editor wins in a terminal too
  open();
  EXPECT_EQ(ran.at(1).at(2), "emacs \"$1\"");

  status = -1;  // an editor that cannot start is an error, not a silent nothing
  open();
  EXPECT_TRUE(result);
  EXPECT_EQ(failures.size(), 1u);

  unsetenv("VISUAL");
  unsetenv("EDITOR");
  open();
  EXPECT_EQ(ran.size(), 3u);
  ASSERT_TRUE(result);
  EXPECT_NE(result->find("not there"), std::string::npos);
  EXPECT_EQ(failures.size(), 2u);
}

TEST(TerminalClientTest, PassedKeysActLikeAPlainTextArea) {
  const struct {
    std::string before, bytes, after;
  } cases[] = {
      {"a😀", "\x7f", "a"},  // a whole emoji
      {"xe\u0301", "\x7f", "x"},  // a letter with its accent
      {"", "\x7f\x1bOq", "1"},
      {"a", "\r\x1bOM", "a\n\n"},
      // Shift-Tab, arrows, escape, function keys and chords add nothing.
      {"a", "\x1b[Z\x1b[D\x1b[3~\x1bOP\x1bx\x01", "a"},
      {"", "é漢", "é漢"},
  };
  for (const auto& c : cases) {
    TerminalClient client;
    client.paste(c.before);
    for (const auto& input : decode(c.bytes)) client.typeKey(input.event);
    EXPECT_EQ(client.text(), c.after) << c.bytes;
  }
}

TEST(TerminalServicesTest, Base64AndTheClipboardSequence) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foobar", "Zm9vYmFy"}, {"\xff\xfe", "//4="}, {"あ", "44GC"}};
  for (const auto& [in, out] : cases) EXPECT_EQ(base64(in), out) << in;
  EXPECT_EQ(clipboardSequence("hi"), "\x1b]52;c;aGk=\x07");
}

TEST(TerminalServicesTest, FindsTheProgramInsideABundle) {
  testing::TempDir dir;
  auto app = dir / "Editor.app";
  auto program = app / "Contents" / "MacOS" / "Editor";
  testing::writeFile(program, "#!/bin/sh\n");
  EXPECT_FALSE(TerminalWorkspace::executableIn(app));  // not executable yet
  std::filesystem::permissions(program, std::filesystem::perms::owner_exec, std::filesystem::perm_options::add);
  EXPECT_EQ(TerminalWorkspace::executableIn(app), program);
  EXPECT_EQ(TerminalWorkspace::executableIn(program), program);
  EXPECT_FALSE(TerminalWorkspace::executableIn(dir / "Missing.app"));
}

TEST(FrontEndCommandTest, KeysTheFrontEndKeeps) {
  const struct {
    std::string bytes;
    Command command;
  } cases[] = {
      {"\x04", Command::quit},     {"\x0f", Command::menu},   {"\x1bOQ", Command::menu},
      {"\x1b[12~", Command::menu}, {"\x1bOR", Command::toggleLog}, {"\x1bOP", Command::keys},
      {"d", Command::none},        {"\x1b" "d", Command::none},    {"\x01", Command::none},
  };
  for (const auto& c : cases) {
    auto inputs = decode(c.bytes);
    ASSERT_EQ(inputs.size(), 1u) << c.bytes;
    EXPECT_EQ(frontEndCommand(inputs[0].event), c.command) << c.bytes;
  }
}

}  // namespace
}  // namespace orvane::term
