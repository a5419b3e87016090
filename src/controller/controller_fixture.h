// A controller wired to a recording client and panel, with helpers that send
// keys the way the platform does.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/log.h"
#include "controller/input_controller.h"
#include "testing/fake_client.h"

namespace orvane {

namespace Key = platform::KeyCode;

inline constexpr uint64_t shiftFlag = platform::ModifierFlag::shift;
inline constexpr uint64_t keypadFlag = platform::ModifierFlag::numericPad;

// The characters a real keyboard sends with the named keys.
inline std::optional<std::string> charactersOf(uint16_t code) {
  switch (code) {
    case Key::returnKey: return "\r";
    case Key::keypadEnter: return "\x03";
    case Key::tab: return "\t";
    case Key::space: return " ";
    case Key::deleteBackward: return "\x7f";
    case Key::escape: return "\x1b";
    case Key::deleteForward: return "\uF728";
    case Key::left: return "\uF702";
    case Key::right: return "\uF703";
    case Key::down: return "\uF701";
    case Key::up: return "\uF700";
    default: return std::nullopt;
  }
}

class ControllerFixture : public ::testing::Test {
 protected:
  ControllerFixture() { restart(); }
  ~ControllerFixture() override {
    controller.reset();
    setCandidatesWindow(nullptr);
  }

  // A fresh controller, client, panel and log, in kana mode.
  void restart() {
    controller.reset();
    client = testing::FakeClient();
    auto owned = std::make_unique<testing::RecordingCandidatePanel>();
    panel = owned.get();
    setCandidatesWindow(std::move(owned));
    InputController::setInputMode(InputController::InputMode::kana);
    controller = std::make_unique<InputController>(&client);
    log->lines.clear();
  }

  bool key(uint16_t code, uint64_t flags = 0) {
    platform::KeyEvent e;
    e.keyCode = code;
    e.characters = charactersOf(code);
    e.charactersIgnoringModifiers = e.characters;
    e.modifierFlags = flags;
    return controller->handle(e, &client);
  }
  bool character(std::string_view c, uint64_t flags = 0, uint16_t code = 0) {
    platform::KeyEvent e;
    e.keyCode = code;
    e.characters = std::string(c);
    e.charactersIgnoringModifiers = e.characters;
    e.modifierFlags = flags;
    return controller->handle(e, &client);
  }
  // One key per ASCII character, as the keyboard would send them.
  void type(std::string_view keys) {
    for (char c : keys) character(std::string_view(&c, 1));
  }

  std::vector<std::string> surfaces() const {
    std::vector<std::string> out;
    for (const auto& c : controller->clauses()) out.push_back(c.surface());
    return out;
  }
  std::vector<int> styles() const {
    std::vector<int> out;
    if (!client.marked) return out;
    for (const auto& r : client.marked->text.runs) out.push_back(r.style);
    return out;
  }
  const Clause& focused() const {
    return controller->clauses().at(static_cast<std::size_t>(controller->focus()));
  }

  Log::ScopedCapture log;
  testing::FakeClient client;
  testing::RecordingCandidatePanel* panel = nullptr;
  std::unique_ptr<InputController> controller;
};

}  // namespace orvane
