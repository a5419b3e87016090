#include "terminal_client.h"

#include "key_decoder.h"
#include "text/text.h"

namespace orvane::term {

void TerminalClient::setMarkedText(const platform::AttributedString& text, platform::TextRange selection,
                                   platform::TextRange /*replacement*/) {
  // The caret is all the area shows of the selection: there is nothing to
  // select in marked text here.
  marked_ = text;
  caret_ = selection.location == platform::NSNotFound ? static_cast<int64_t>(text::utf16Length(text.text))
                                                      : selection.location;
}

void TerminalClient::insertText(std::string_view text, platform::TextRange /*replacement*/) {
  // Text arrives only at the end, in place of the marked text.
  text_ += text;
  marked_ = {};
  caret_ = 0;
}

void TerminalClient::paste(std::string_view text) { text_ += text::decodeLossy(text); }

void TerminalClient::typeKey(const platform::KeyEvent& event) {
  namespace Flag = platform::ModifierFlag;
  if (event.modifierFlags & (Flag::control | Flag::option | Flag::command)) return;
  switch (event.keyCode) {
    case KeyCode::returnKey:
    case KeyCode::keypadEnter:
      text_ += '\n';
      return;
    case KeyCode::tab:
      if (!(event.modifierFlags & Flag::shift)) text_ += '\t';
      return;
    case KeyCode::space:
      text_ += ' ';
      return;
    case KeyCode::deleteBackward: {
      auto chars = text::characters(text_);
      if (!chars.empty()) text_.resize(text_.size() - chars.back().size());
      return;
    }
    case KeyCode::character:
      break;
    default:
      // Arrows, Escape, function keys and forward delete have nothing to do
      // in an area whose caret is always at the end.
      if (!(event.modifierFlags & Flag::numericPad) || event.keyCode == KeyCode::deleteForward) return;
      break;
  }
  const std::string& chars = event.characters.value_or("");
  for (char32_t c : text::scalars(chars))
    if (c < 0x20 || c == 0x7f || (c >= 0xF700 && c <= 0xF8FF)) return;
  text_ += chars;
}

}  // namespace orvane::term
