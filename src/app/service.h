// The service connection of this platform: the session protocol on standard
// input and output. One controller per client, created on the client's first
// request and kept until the service ends.
#pragma once

#include <istream>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "app/request.h"
#include "platform/protocol_io.h"

namespace orvane {
class InputController;
namespace platform {
class ProtocolClient;
}

namespace app {

class Service {
 public:
  Service(platform::ProtocolWriter& writer, std::string connectionName);
  ~Service();
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  const std::string& connectionName() const { return connectionName_; }

  // Answers one request: whatever it causes, then its closing line.
  void handleLine(std::string_view line);
  // Answers every line until the input ends.
  void serve(std::istream& input);

 private:
  struct Session;
  Session& session(const Request& request);
  void perform(Session& session, const Operation& operation);
  void perform(Session& session, const KeyRequest& key);
  void perform(Session& session, const PanelRequest& panel);
  void perform(Session& session, Command command);

  platform::ProtocolWriter& writer_;
  std::string connectionName_;
  std::map<std::string, std::unique_ptr<Session>, std::less<>> sessions_;
};

}  // namespace app
}  // namespace orvane
