#include "app/service.h"

#include <algorithm>
#include <type_traits>

#include "controller/input_controller.h"
#include "platform/clock.h"
#include "platform/protocol_client.h"

namespace orvane::app {

static_assert(std::is_same_v<RequestValue, InputController::Value>,
              "setValue hands the parsed value to the controller as it is");

struct Service::Session {
  // Declared before the controller, which refers to it, so that it goes last.
  std::unique_ptr<platform::ProtocolClient> client;
  std::unique_ptr<InputController> controller;
};

Service::Service(platform::ProtocolWriter& writer, std::string connectionName)
    : writer_(writer), connectionName_(std::move(connectionName)) {}

Service::~Service() {
  if (auto* panel = candidatesWindow()) panel->setActiveController(nullptr);
}

Service::Session& Service::session(const Request& request) {
  auto it = sessions_.find(request.client);
  if (it != sessions_.end()) return *it->second;
  auto created = std::make_unique<Session>();
  created->client = std::make_unique<platform::ProtocolClient>(writer_, request.client, request.bundle);
  created->controller = std::make_unique<InputController>(created->client.get());
  return *sessions_.emplace(request.client, std::move(created)).first->second;
}

void Service::handleLine(std::string_view line) {
  auto parsed = parseRequest(line);
  if (!parsed.request) {
    writer_.write(platform::Json{{"error", parsed.error}});
    return;
  }
  auto& current = session(*parsed.request);
  // The panel's callbacks go to the controller whose client spoke last.
  if (auto* panel = candidatesWindow()) panel->setActiveController(current.controller.get());
  current.controller->setClient(current.client.get());
  perform(current, parsed.request->operation);
}

void Service::serve(std::istream& input) {
  std::string line;
  while (std::getline(input, line)) handleLine(line);
}

void Service::perform(Session& session, const Operation& operation) {
  auto& controller = *session.controller;
  auto* client = session.client.get();
  std::visit(
      [&](const auto& op) {
        using T = std::decay_t<decltype(op)>;
        if constexpr (std::is_same_v<T, KeyRequest> || std::is_same_v<T, PanelRequest> ||
                      std::is_same_v<T, Command>) {
          perform(session, op);
        } else if constexpr (std::is_same_v<T, TypeRequest>) {
          auto keys = keysForText(op.text);
          for (const auto& key : keys) perform(session, key);
          // No keys, still an answer: a client waits for one per request.
          if (keys.empty()) writer_.write(platform::Json{{"result", nullptr}});
        } else if constexpr (std::is_same_v<T, SetValueRequest>) {
          controller.setValue(op.value, op.tag, client);
          writer_.write(platform::Json{{"result", nullptr}});
        } else if constexpr (std::is_same_v<T, MenuActionRequest>) {
          switch (op.action) {
            case MenuAction::openDictionaryEditor: controller.openDictionaryEditor(nullptr); break;
            case MenuAction::copyLogCommand: controller.copyLogCommand(nullptr); break;
            case MenuAction::showAbout: controller.showAbout(nullptr); break;
          }
          writer_.write(platform::Json{{"result", nullptr}});
        }
      },
      operation);
}

void Service::perform(Session& session, const KeyRequest& key) {
  platform::KeyEvent event;
  event.type = key.type;
  event.keyCode = key.code;
  event.characters = key.chars;
  event.charactersIgnoringModifiers = key.chars;
  event.modifierFlags = key.flags;
  event.timestamp = platform::systemUptime();
  bool consumed = session.controller->handle(event, session.client.get());
  writer_.write(platform::Json{{"result", consumed}});
}

void Service::perform(Session& session, const PanelRequest& request) {
  auto& controller = *session.controller;
  if (request.select) {
    controller.candidateSelected(request.text);
  } else {
    // A move the user makes in the window also moves the window's own
    // selection; a text the window does not show only reaches the controller.
    auto* list = dynamic_cast<platform::ListCandidatePanel*>(candidatesWindow());
    std::optional<int64_t> row;
    if (list && request.text) {
      const auto& rows = list->rows();
      if (auto it = std::find(rows.begin(), rows.end(), *request.text); it != rows.end())
        row = it - rows.begin();
    }
    if (row)
      list->highlightRow(*row);
    else
      controller.candidateSelectionChanged(request.text);
  }
  writer_.write(platform::Json{{"result", nullptr}});
}

void Service::perform(Session& session, Command command) {
  auto& controller = *session.controller;
  auto* client = session.client.get();
  switch (command) {
    case Command::activate:
      controller.activateServer(client);
      break;
    case Command::deactivate:
      controller.deactivateServer(client);
      break;
    case Command::commitComposition:
      controller.commitComposition(client);
      break;
    case Command::menu: {
      auto titles = platform::Json::array();
      for (const auto& item : controller.menu()) titles.push_back(item.title);
      writer_.write(platform::Json{{"menu", std::move(titles)}});
      return;
    }
    case Command::candidates:
      writer_.write(platform::Json{{"rows", controller.candidates(nullptr)}});
      return;
    case Command::recognizedEvents:
      writer_.write(platform::Json{{"mask", controller.recognizedEvents(nullptr)}});
      return;
  }
  writer_.write(platform::Json{{"result", nullptr}});
}

}  // namespace orvane::app
