#include "testing/fake_client.h"

namespace orvane::testing {

void FakeClient::setMarkedText(const platform::AttributedString& text, platform::TextRange selection,
                               platform::TextRange replacement) {
  calls.push_back("setMarkedText:" + text.text + "@" + std::to_string(selection.location));
  markedTexts.push_back({text, selection, replacement});
  if (text.text.empty()) {
    marked.reset();
  } else {
    marked = markedTexts.back();
  }
}

void FakeClient::insertText(std::string_view text, platform::TextRange replacement) {
  calls.push_back("insertText:" + std::string(text));
  insertions.push_back({std::string(text), replacement});
  committed += text;
  marked.reset();
}

void FakeClient::selectInputMode(std::string_view modeIdentifier) {
  calls.push_back("selectInputMode:" + std::string(modeIdentifier));
  modes.emplace_back(modeIdentifier);
}

void FakeClient::clearRecords() {
  calls.clear();
  markedTexts.clear();
  insertions.clear();
  modes.clear();
}

void RecordingCandidatePanel::clearRecords() {
  events.clear();
  arrows.clear();
  updates = shows = hides = 0;
  hints.clear();
}

}  // namespace orvane::testing
