// A client text field on the far side of the session protocol: every call
// the controller makes becomes one line naming the client.
#pragma once

#include <optional>
#include <string>

#include "platform/client.h"
#include "platform/protocol_io.h"

namespace orvane::platform {

class ProtocolClient final : public Client {
 public:
  ProtocolClient(ProtocolWriter& writer, std::string id, std::optional<std::string> bundleIdentifier)
      : writer_(writer), id_(std::move(id)), bundleIdentifier_(std::move(bundleIdentifier)) {}

  const std::string& id() const { return id_; }

  std::optional<std::string> bundleIdentifier() const override { return bundleIdentifier_; }
  void setMarkedText(const AttributedString& text, TextRange selection, TextRange replacement) override;
  void insertText(std::string_view text, TextRange replacement) override;
  void selectInputMode(std::string_view modeIdentifier) override;

 private:
  ProtocolWriter& writer_;
  std::string id_;
  std::optional<std::string> bundleIdentifier_;
};

}  // namespace orvane::platform
