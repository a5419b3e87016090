#include "app/startup.h"

#include <memory>

#include "app/log.h"
#include "app/service.h"
#include "controller/input_controller.h"
#include "dictionary/kana_dictionary.h"
#include "learning/learning.h"
#include "platform/bundle.h"
#include "platform/protocol_panel.h"
#include "platform/protocol_services.h"

namespace orvane::app {

namespace {

// Log sinks live as long as the service that feeds them.
class ScopedSink {
 public:
  explicit ScopedSink(std::shared_ptr<Log::Sink> sink) : sink_(std::move(sink)) { Log::addSink(sink_); }
  ~ScopedSink() { Log::removeSink(sink_); }
  ScopedSink(const ScopedSink&) = delete;
  ScopedSink& operator=(const ScopedSink&) = delete;

 private:
  std::shared_ptr<Log::Sink> sink_;
};

}  // namespace

int startAndServe(std::istream& in, std::ostream& out) {
  // The shared panel and the installed services keep referring to these
  // until the process ends, as the platform's own objects would.
  static platform::ProtocolWriter writer(out);
  static platform::ProtocolPasteboard pasteboard(writer);
  static platform::ProtocolWorkspace workspace(writer);
  static platform::ProtocolAboutPanel aboutPanel(writer);
  ScopedSink systemLog(Log::makeSystemLogSink());
  ScopedSink protocolLog(std::make_shared<platform::ProtocolLogSink>(writer));

  const auto& bundle = platform::Bundle::main();
  auto connectionName = bundle.infoString(connectionNameKey);
  if (!connectionName) {
    // Without a connection name no client could ever reach us.
    Log::imk.error("launch failed: %{public}s",
                   bundle.hasInfoKey(connectionNameKey) ? "InputMethodConnectionName is not a string"
                                                        : "no InputMethodConnectionName in Info.plist");
    return 1;
  }
  Log::imk.log("launch: connection=%{public}s", *connectionName);

  platform::install({&pasteboard, &workspace, &aboutPanel, nullptr});

  Service server(writer, *connectionName);
  setCandidatesWindow(std::make_unique<platform::ProtocolCandidatePanel>(writer));
  if (!candidatesWindow()) {
    Log::imk.error("launch failed: %{public}s", "the candidate window could not be created");
    return 1;
  }

  KanaDictionary::preload();
  Learning::reloadIfNeeded();

  // Whatever a request wrote goes out when the next one is awaited: one
  // write for all its lines, not one per line.
  in.tie(&out);
  server.serve(in);
  return 0;
}

}  // namespace orvane::app
