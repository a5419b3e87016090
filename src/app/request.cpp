#include "app/request.h"

#include <limits>
#include <nlohmann/json.hpp>

#include "text/text.h"

namespace orvane::app {
namespace {

using nlohmann::json;

struct Malformed {
  std::string what;
};

const json* field(const json& object, const char* name) {
  auto it = object.find(name);
  return it == object.end() ? nullptr : &*it;
}

int64_t integer(const json& value, const char* name, int64_t min, int64_t max) {
  auto outOfRange = [&] {
    return Malformed{std::string(name) + " must be an integer from " + std::to_string(min) + " to " +
                     std::to_string(max)};
  };
  if (value.is_number_unsigned()) {
    auto v = value.get<uint64_t>();
    if (v > static_cast<uint64_t>(max)) throw outOfRange();
    return static_cast<int64_t>(v);
  }
  if (!value.is_number_integer()) throw outOfRange();
  auto v = value.get<int64_t>();
  if (v < min || v > max) throw outOfRange();
  return v;
}

int64_t optionalInteger(const json& object, const char* name, int64_t fallback, int64_t min, int64_t max) {
  const json* value = field(object, name);
  return value ? integer(*value, name, min, max) : fallback;
}

int64_t requiredInteger(const json& object, const char* name, int64_t min, int64_t max) {
  const json* value = field(object, name);
  return integer(value ? *value : json(), name, min, max);
}

std::string requiredString(const json& object, const char* name) {
  const json* value = field(object, name);
  if (!value || !value->is_string()) throw Malformed{std::string(name) + " must be a string"};
  return value->get<std::string>();
}

// Absent and null both mean "no string".
std::optional<std::string> optionalString(const json& object, const char* name) {
  const json* value = field(object, name);
  if (!value || value->is_null()) return std::nullopt;
  if (!value->is_string()) throw Malformed{std::string(name) + " must be a string or null"};
  return value->get<std::string>();
}

RequestValue requestValue(const json* value) {
  if (!value) return std::monostate{};
  if (value->is_boolean()) return value->get<bool>();
  if (value->is_number_unsigned()) {
    auto v = value->get<uint64_t>();
    if (v <= static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) return static_cast<int64_t>(v);
    return static_cast<double>(v);
  }
  if (value->is_number_integer()) return value->get<int64_t>();
  if (value->is_number_float()) return value->get<double>();
  if (value->is_string()) return value->get<std::string>();
  return std::monostate{};
}

constexpr int64_t maxFlags = std::numeric_limits<int64_t>::max();

Operation operation(const std::string& op, const json& object) {
  if (op == "key") {
    KeyRequest key;
    key.code = static_cast<uint16_t>(requiredInteger(object, "code", 0, std::numeric_limits<uint16_t>::max()));
    key.chars = optionalString(object, "chars");
    key.flags = static_cast<uint64_t>(optionalInteger(object, "flags", 0, 0, maxFlags));
    key.type = static_cast<uint64_t>(
        optionalInteger(object, "type", static_cast<int64_t>(platform::keyDownEventType), 0, maxFlags));
    return key;
  }
  if (op == "type") return TypeRequest{requiredString(object, "text")};
  if (op == "setValue") {
    return SetValueRequest{requestValue(field(object, "value")),
                           requiredInteger(object, "tag", std::numeric_limits<int64_t>::min(),
                                           std::numeric_limits<int64_t>::max())};
  }
  if (op == "menuAction") {
    auto action = requiredString(object, "action");
    if (action == "openDictionaryEditor") return MenuActionRequest{MenuAction::openDictionaryEditor};
    if (action == "copyLogCommand") return MenuActionRequest{MenuAction::copyLogCommand};
    if (action == "showAbout") return MenuActionRequest{MenuAction::showAbout};
    throw Malformed{"unknown menu action: " + action};
  }
  if (op == "panelHighlight") return PanelRequest{false, optionalString(object, "text")};
  if (op == "panelSelect") return PanelRequest{true, optionalString(object, "text")};
  if (op == "activate") return Command::activate;
  if (op == "deactivate") return Command::deactivate;
  if (op == "commitComposition") return Command::commitComposition;
  if (op == "menu") return Command::menu;
  if (op == "candidates") return Command::candidates;
  if (op == "recognizedEvents") return Command::recognizedEvents;
  throw Malformed{"unknown op: " + op};
}

}  // namespace

ParsedRequest parseRequest(std::string_view line) {
  // The parser would refuse bad bytes too, but only inside strings and with
  // a message about offsets; this names the actual problem.
  if (!text::isValidUTF8(line)) return {std::nullopt, "invalid UTF-8"};
  json object;
  try {
    object = json::parse(line);
  } catch (const json::parse_error& e) {
    return {std::nullopt, std::string("not JSON: ") + e.what()};
  }
  if (!object.is_object()) return {std::nullopt, "not a JSON object"};
  try {
    const json* op = field(object, "op");
    if (!op) throw Malformed{"missing op"};
    if (!op->is_string()) throw Malformed{"op must be a string"};
    Request request;
    if (const json* client = field(object, "client")) {
      if (!client->is_string()) throw Malformed{"client must be a string"};
      request.client = client->get<std::string>();
    }
    request.bundle = optionalString(object, "bundle");
    request.operation = operation(op->get<std::string>(), object);
    return {std::move(request), {}};
  } catch (const Malformed& m) {
    return {std::nullopt, m.what};
  }
}

std::vector<KeyRequest> keysForText(std::string_view text) {
  namespace KeyCode = platform::KeyCode;
  std::vector<KeyRequest> keys;
  for (auto& character : text::characters(text)) {
    KeyRequest key;
    if (character == " ") {
      key.code = KeyCode::space;
      key.chars = " ";
    } else if (character == "\n" || character == "\r\n") {
      key.code = KeyCode::returnKey;
      key.chars = "\r";
    } else if (character == "\t") {
      key.code = KeyCode::tab;
      key.chars = "\t";
    } else {
      key.chars = std::move(character);
    }
    keys.push_back(std::move(key));
  }
  return keys;
}

}  // namespace orvane::app
