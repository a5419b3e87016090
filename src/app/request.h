// One request of the session protocol, read from one input line and checked
// whole before anything acts on it, so that a malformed line changes nothing.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/key_event.h"

namespace orvane::app {

struct KeyRequest {
  uint16_t code = 0;
  std::optional<std::string> chars;
  uint64_t flags = 0;
  uint64_t type = platform::keyDownEventType;
  bool operator==(const KeyRequest&) const = default;
};

struct TypeRequest {
  std::string text;
};

// The JSON value of setValue as the controller takes it: anything that is
// not a boolean, a number or a string arrives as no value.
using RequestValue = std::variant<std::monostate, bool, int64_t, double, std::string>;

struct SetValueRequest {
  RequestValue value;
  int64_t tag = 0;
};

enum class MenuAction { openDictionaryEditor, copyLogCommand, showAbout };

struct MenuActionRequest {
  MenuAction action;
};

// A move of the selection in the candidate window (highlight) or the choice
// of a row (select).
struct PanelRequest {
  bool select = false;
  std::optional<std::string> text;
};

// Requests without fields of their own.
enum class Command { activate, deactivate, commitComposition, menu, candidates, recognizedEvents };

using Operation =
    std::variant<KeyRequest, TypeRequest, SetValueRequest, MenuActionRequest, PanelRequest, Command>;

inline constexpr std::string_view defaultClientID = "default";

struct Request {
  std::string client{defaultClientID};
  // The client's bundle identifier; only the request that creates the
  // client's controller uses it.
  std::optional<std::string> bundle;
  Operation operation;
};

// Exactly one of the two is set.
struct ParsedRequest {
  std::optional<Request> request;
  std::string error;
};

ParsedRequest parseRequest(std::string_view line);

// The key-downs that typing the text stands for, one per character.
std::vector<KeyRequest> keysForText(std::string_view text);

}  // namespace orvane::app
