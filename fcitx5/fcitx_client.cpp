#include "fcitx_client.h"

#include <fcitx/inputpanel.h>

namespace orvane::fcitx5 {
namespace {

// Fcitx5 commits the preedit itself when a context loses focus, unless told
// not to; the controller commits on deactivation (and learns from it), so
// no span is Fcitx5's to commit.
fcitx::TextFormatFlags formatFor(int style) {
  using fcitx::TextFormatFlag;
  if (style == platform::MarkStyle::selectedConverted)
    return {TextFormatFlag::Underline, TextFormatFlag::HighLight, TextFormatFlag::DontCommit};
  return {TextFormatFlag::Underline, TextFormatFlag::DontCommit};
}

// The byte offset of a UTF-16 position in UTF-8 text, clamped to its end.
std::size_t byteOffset(std::string_view text, int64_t utf16) {
  std::size_t byte = 0;
  int64_t units = 0;
  while (byte < text.size() && units < utf16) {
    const auto lead = static_cast<unsigned char>(text[byte]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    units += length == 4 ? 2 : 1;
    byte = std::min(text.size(), byte + length);
  }
  return byte;
}

}  // namespace

fcitx::Text preeditText(const platform::AttributedString& marked, platform::TextRange selection) {
  fcitx::Text out;
  std::size_t done = 0;
  for (const auto& run : marked.runs) {
    const auto start = byteOffset(marked.text, run.start);
    const auto end = byteOffset(marked.text, run.start + run.length);
    if (start > done) out.append(marked.text.substr(done, start - done));
    if (end > start) out.append(marked.text.substr(start, end - start), formatFor(run.style));
    done = std::max(done, end);
  }
  if (done < marked.text.size()) out.append(marked.text.substr(done));
  out.setCursor(static_cast<int>(byteOffset(marked.text, selection.location)));
  return out;
}

std::optional<std::string> FcitxClient::bundleIdentifier() const {
  const auto& program = inputContext_.program();
  if (program.empty()) return std::nullopt;
  return program;
}

void FcitxClient::setMarkedText(const platform::AttributedString& text, platform::TextRange selection,
                                platform::TextRange /*replacement*/) {
  showPreedit(preeditText(text, selection));
}

void FcitxClient::insertText(std::string_view text, platform::TextRange /*replacement*/) {
  inputContext_.commitString(std::string(text));
  // The commit takes the marked text's place.
  showPreedit(fcitx::Text());
}

void FcitxClient::showPreedit(const fcitx::Text& preedit) {
  if (closing_) return;
  auto& panel = inputContext_.inputPanel();
  // An application that draws no preedit of its own gets it in Fcitx5's panel.
  if (inputContext_.capabilityFlags().test(fcitx::CapabilityFlag::Preedit)) {
    panel.setClientPreedit(preedit);
  } else {
    panel.setPreedit(preedit);
  }
  inputContext_.updatePreedit();
  inputContext_.updateUserInterface(fcitx::UserInterfaceComponent::InputPanel);
}

}  // namespace orvane::fcitx5
