#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "controller/controller_fixture.h"

namespace orvane {
namespace {

using Mode = InputController::InputMode;
using Strings = std::vector<std::string>;

class KeyHandlingTest : public ControllerFixture {};

platform::KeyEvent eventOf(std::optional<std::string> characters, uint16_t code = 0) {
  platform::KeyEvent e;
  e.keyCode = code;
  e.characters = std::move(characters);
  return e;
}

TEST_F(KeyHandlingTest, WithNothingComposedEditingKeysPassAndAreLogged) {
  for (uint16_t code : {Key::returnKey, Key::keypadEnter, Key::tab, Key::space, Key::deleteBackward,
                        Key::deleteForward, Key::escape, Key::left, Key::right, Key::down, Key::up}) {
    for (uint64_t flags : {uint64_t{0}, shiftFlag}) {
      if (code == Key::space && flags) continue;  // Shift+Space types an ideographic space
      log->lines.clear();
      EXPECT_FALSE(key(code, flags)) << code;
      EXPECT_EQ(log->messages("key"),
                Strings{"keyDown: code=" + std::to_string(code) + " chars=" + *charactersOf(code) + " -> pass"});
    }
  }
  EXPECT_TRUE(client.calls.empty());
  EXPECT_TRUE(controller->composer().isEmpty());
}

TEST_F(KeyHandlingTest, TypingShowsKanaWithTheCaretAfterPendingRomaji) {
  const std::vector<std::pair<std::string, int64_t>> expected = {
      {"k", 1}, {"か", 1}, {"かn", 2}, {"かんj", 3}, {"かんじ", 3}};
  type("kanji");
  ASSERT_EQ(client.markedTexts.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const auto& m = client.markedTexts[i];
    EXPECT_EQ(m.text.text, expected[i].first);
    EXPECT_EQ(m.selection, (platform::TextRange{expected[i].second, 0})) << m.text.text;
    ASSERT_EQ(m.text.runs.size(), 1u);
    EXPECT_EQ(m.text.runs[0].style, platform::MarkStyle::raw);
    EXPECT_EQ(m.text.runs[0].length, static_cast<int64_t>(text::utf16Length(m.text.text)));
  }
  EXPECT_EQ(log->messages("client").back(), "setMarkedText: かんじ");
  EXPECT_EQ(log->messages("key").front(), "keyDown: code=0 chars=k -> consumed");
}

TEST_F(KeyHandlingTest, MarkingStylesStayDistinguishable) {
  auto mark = [&](int style) { return controller->markForStyle(style, {0, 1}).value(); };
  const auto raw = mark(platform::MarkStyle::raw), converted = mark(platform::MarkStyle::converted);
  const auto selected = mark(platform::MarkStyle::selectedConverted);
  EXPECT_TRUE(raw != converted && converted != selected && raw != selected);
}

TEST_F(KeyHandlingTest, EditingKeysWhileComposing) {
  // Typed first, then the key; afterwards the marked text (empty: none), caret and committed text.
  struct { std::string typed; uint16_t code; uint64_t flags; bool consumed; std::string marked; int64_t caret;
           std::string committed; } cases[] = {
      {"kan", Key::returnKey, 0, true, "", 0, "かん"},       {"ka", Key::keypadEnter, 0, true, "", 0, "か"},
      {"ka", Key::tab, 0, false, "", 0, "か"},              {"kak", Key::escape, 0, true, "", 0, ""},
      {"a", Key::deleteBackward, 0, true, "", 0, ""},       {"kak", Key::deleteBackward, 0, true, "か", 1, ""},
      {"kat", Key::deleteBackward, shiftFlag, true, "か", 1, ""}, {"aiu", Key::left, 0, true, "あいう", 2, ""},
      {"an", Key::left, 0, true, "あん", 1, ""},            {"aiu", Key::right, 0, true, "あいう", 3, ""},
      {"aiu", Key::down, 0, true, "あいう", 3, ""},         {"aiu", Key::up, 0, true, "あいう", 3, ""},
      {"aiu", Key::deleteForward, 0, true, "あいう", 3, ""},
      // Shift+Space commits and inserts an ideographic space.
      {"kan", Key::space, shiftFlag, true, "", 0, "かん\u3000"}, {"", Key::space, shiftFlag, true, "", 0, "\u3000"},
  };
  for (const auto& c : cases) {
    restart();
    type(c.typed);
    SCOPED_TRACE(c.typed + " " + std::to_string(c.code));
    EXPECT_EQ(key(c.code, c.flags), c.consumed);
    EXPECT_EQ(client.markedString(), c.marked);
    EXPECT_EQ(client.caret(), c.caret);
    EXPECT_EQ(client.committed, c.committed);
  }
}

TEST_F(KeyHandlingTest, KeypadKeysJoinOnlyAnExistingComposition) {
  EXPECT_FALSE(character("1", keypadFlag));
  EXPECT_TRUE(client.calls.empty());
  type("ka");
  key(Key::left);
  EXPECT_TRUE(character("1", keypadFlag));
  EXPECT_TRUE(character("+", keypadFlag));
  EXPECT_EQ(client.markedString(), "1+か");
  // Without the keypad flag the same digit is full-width.
  EXPECT_TRUE(character("1"));
  EXPECT_EQ(client.markedString(), "1+１か");
}

TEST_F(KeyHandlingTest, OnlyOnePrintableASCIICharacterComposes) {
  const std::vector<std::optional<std::string>> passing = {
      std::nullopt, "", "ab", "é", "\x01", " ", "\x7f", "か", "\U0001F600"};
  for (const auto& chars : passing) EXPECT_FALSE(controller->handle(eventOf(chars), &client)) << chars.value_or("(none)");
  // Named keys never type, whatever they carry.
  EXPECT_FALSE(character("a", 0, Key::left));
  EXPECT_FALSE(character("a", 0, Key::returnKey));
  EXPECT_TRUE(client.calls.empty());
  EXPECT_EQ(log->messages("key").front(), "keyDown: code=0 chars= -> pass");
}

TEST_F(KeyHandlingTest, AbsentAndNonKeyDownEventsAreRefusedSilently) {
  EXPECT_FALSE(controller->handle(std::nullopt, &client));
  auto up = eventOf("a");
  up.type = 11;
  EXPECT_FALSE(controller->handle(up, &client));
  EXPECT_TRUE(log->messages("key").empty());
}

TEST_F(KeyHandlingTest, ChordsCommitAndPass) {
  const uint64_t chords[] = {platform::ModifierFlag::command, platform::ModifierFlag::control,
                             platform::ModifierFlag::option, platform::ModifierFlag::command | shiftFlag};
  for (auto flags : chords) {
    client.committed.clear();
    type("kan");
    EXPECT_FALSE(character("c", flags));
    EXPECT_EQ(client.committed, "かん");
  }
  EXPECT_EQ(log->messages("key").back(), "keyDown: code=0 chars=c -> pass");
}

TEST_F(KeyHandlingTest, ModeKeys) {
  type("kak");
  // The Kana key only sets the mode; the composition stays.
  EXPECT_TRUE(key(Key::kana));
  EXPECT_EQ(controller->composer().text(), "かk");
  EXPECT_EQ(client.modes, (Strings{"com.orvane.inputmethod.OrvaneIME.Japanese"}));
  EXPECT_TRUE(log->messages("imk").empty());  // already kana: no mode line

  // Eisu commits first, so nothing composed is lost.
  EXPECT_TRUE(key(Key::eisu));
  EXPECT_EQ(client.committed, "かk");
  EXPECT_EQ(client.modes.back(), "com.orvane.inputmethod.OrvaneIME.Roman");
  EXPECT_EQ(log->messages("imk"), (Strings{"inputMode: com.orvane.inputmethod.OrvaneIME.Roman"}));

  // In direct mode everything else passes.
  client.clearRecords();
  EXPECT_FALSE(character("a"));
  EXPECT_FALSE(key(Key::space, shiftFlag));
  EXPECT_FALSE(key(Key::returnKey));
  EXPECT_TRUE(client.calls.empty());
  EXPECT_EQ(log->messages("key").back(), "keyDown: code=36 chars=\r -> pass");

  EXPECT_TRUE(key(Key::kana));
  EXPECT_TRUE(character("a"));
  EXPECT_EQ(client.markedString(), "あ");
}

TEST_F(KeyHandlingTest, ModeIsSharedByEveryController) {
  testing::FakeClient other;
  InputController second(&other);
  EXPECT_TRUE(key(Key::eisu));
  EXPECT_FALSE(second.handle(eventOf("a"), &other));
  EXPECT_EQ(InputController::inputMode("com.orvane.inputmethod.OrvaneIME.Roman"), Mode::direct);
  EXPECT_EQ(InputController::inputMode("com.orvane.inputmethod.OrvaneIME.Japanese"), Mode::kana);
  EXPECT_FALSE(InputController::inputMode("com.orvane.inputmethod.OrvaneIME"));
}

TEST_F(KeyHandlingTest, ClientWithoutTextInputStillChangesState) {
  testing::FakeClient mute(std::nullopt, false);
  auto send = [&](std::optional<std::string> chars, uint16_t code = 0) {
    return controller->handle(eventOf(std::move(chars), code), &mute);
  };
  EXPECT_TRUE(send("k"));
  EXPECT_TRUE(send("a"));
  EXPECT_EQ(controller->composer().kana(), "か");
  EXPECT_TRUE(send("\r", Key::returnKey));
  EXPECT_TRUE(controller->composer().isEmpty());
  EXPECT_TRUE(send(std::nullopt, Key::eisu));
  EXPECT_TRUE(mute.calls.empty());
  EXPECT_TRUE(log->messages("client").empty());
  // Nor does a missing client crash.
  EXPECT_TRUE(controller->handle(eventOf(std::nullopt, Key::kana), nullptr));
  EXPECT_TRUE(controller->handle(eventOf("a"), nullptr));
}

TEST_F(KeyHandlingTest, CommitCompositionFlushesPendingN) {
  type("kan");
  controller->commitComposition(&client);
  EXPECT_EQ(client.committed, "かん");
  EXPECT_EQ(log->messages("imk"), (Strings{"commitComposition"}));
  controller->commitComposition(&client);
  EXPECT_EQ(client.insertions.size(), 1u);
}

}  // namespace
}  // namespace orvane
