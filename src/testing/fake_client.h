// Recording stand-ins for the client text field and the candidate panel, so
// that tests can read back every call the controller made.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/candidate_panel.h"
#include "platform/client.h"
#include "platform/key_event.h"

namespace orvane::testing {

class FakeClient final : public platform::Client {
 public:
  struct MarkedText {
    platform::AttributedString text;
    platform::TextRange selection;
    platform::TextRange replacement;
  };
  struct Insertion {
    std::string text;
    platform::TextRange replacement;
  };

  explicit FakeClient(std::optional<std::string> bundleIdentifier = std::string("com.example.editor"),
                      bool offersTextInput = true)
      : bundleIdentifier_(std::move(bundleIdentifier)), offersTextInput_(offersTextInput) {}

  bool offersTextInput() const override { return offersTextInput_; }
  std::optional<std::string> bundleIdentifier() const override { return bundleIdentifier_; }
  void setMarkedText(const platform::AttributedString& text, platform::TextRange selection,
                     platform::TextRange replacement) override;
  void insertText(std::string_view text, platform::TextRange replacement) override;
  void selectInputMode(std::string_view modeIdentifier) override;

  // Every call in order, as "setMarkedText:<text>@<caret>", "insertText:<text>"
  // or "selectInputMode:<mode>".
  std::vector<std::string> calls;
  std::vector<MarkedText> markedTexts;
  std::vector<Insertion> insertions;
  std::vector<std::string> modes;

  // What the text field holds: everything inserted, and the marked text that
  // is still showing (cleared by an insertion, as a real field does).
  std::string committed;
  std::optional<MarkedText> marked;

  std::string markedString() const { return marked ? marked->text.text : std::string(); }
  int64_t caret() const { return marked ? marked->selection.location : 0; }
  void clearRecords();

 private:
  std::optional<std::string> bundleIdentifier_;
  bool offersTextInput_;
};

// Keeps only the last marked text, as a text field would: no growth per call,
// for benchmarks.
class CapturingClient final : public platform::Client {
 public:
  std::optional<std::string> bundleIdentifier() const override { return "com.example.bench"; }
  void setMarkedText(const platform::AttributedString& text, platform::TextRange selection,
                     platform::TextRange) override {
    marked = text.text;
    caret = selection.location;
  }
  void insertText(std::string_view text, platform::TextRange) override { committed = text.size(); }
  void selectInputMode(std::string_view) override {}
  std::string marked;
  int64_t caret = 0;
  std::size_t committed = 0;
};

// The list panel, with every request the controller made of it recorded.
class RecordingCandidatePanel final : public platform::ListCandidatePanel {
 public:
  void interpretKeyEvents(const std::vector<platform::KeyEvent>& received) override {
    events.insert(events.end(), received.begin(), received.end());
    ListCandidatePanel::interpretKeyEvents(received);
  }

  std::vector<platform::KeyEvent> events;
  std::vector<bool> arrows;  // true for down
  int updates = 0;
  int shows = 0;
  int hides = 0;
  std::vector<int> hints;
  void clearRecords();

 protected:
  void didUpdate() override { ++updates; }
  void didShow(int hint) override {
    ++shows;
    hints.push_back(hint);
  }
  void didHide() override { ++hides; }
  void didReceiveArrow(bool down) override { arrows.push_back(down); }
};

// A key as a keyboard without modifiers sends it: the same characters with
// and without modifiers.
inline platform::KeyEvent keyEvent(uint16_t code, std::string characters, uint64_t flags = 0) {
  platform::KeyEvent e;
  e.keyCode = code;
  e.characters = characters;
  e.charactersIgnoringModifiers = std::move(characters);
  e.modifierFlags = flags;
  return e;
}

}  // namespace orvane::testing
