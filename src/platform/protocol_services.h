// The pasteboard, the workspace, the About panel and the log as the session
// protocol's front-end sees them: each effect becomes one line.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "app/log.h"
#include "platform/application.h"
#include "platform/protocol_io.h"
#include "platform/services.h"

namespace orvane::platform {

class ProtocolPasteboard final : public Pasteboard {
 public:
  explicit ProtocolPasteboard(ProtocolWriter& writer) : writer_(writer) {}
  // The line goes out when there is something to hold: a clear followed by
  // a string reports the string alone.
  void clearContents() override { contents_.clear(); }
  void setString(std::string_view text) override;
  const std::string& contents() const { return contents_; }

 private:
  ProtocolWriter& writer_;
  std::string contents_;
};

// Launches the application's executable detached; the completion runs before
// openApplication returns, so that a failure is reported inside the request
// that caused it.
class ProtocolWorkspace final : public Workspace {
 public:
  explicit ProtocolWorkspace(ProtocolWriter& writer) : writer_(writer) {}
  void openApplication(const std::filesystem::path& path,
                       std::function<void(std::optional<std::string> error)> completion) override;

 private:
  ProtocolWriter& writer_;
};

class ProtocolAboutPanel final : public AboutPanel {
 public:
  explicit ProtocolAboutPanel(ProtocolWriter& writer) : writer_(writer) {}
  void show(const std::optional<std::string>& credits) override;

 private:
  ProtocolWriter& writer_;
};

// Mirrors every log line into the protocol, fully formatted.
class ProtocolLogSink final : public Log::Sink {
 public:
  explicit ProtocolLogSink(ProtocolWriter& writer) : writer_(writer) {}
  bool wants(Log::Level) const override { return true; }
  void write(std::string_view category, Log::Level level, std::string_view message) override;

 private:
  ProtocolWriter& writer_;
};

}  // namespace orvane::platform
