#include "controller/input_controller.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "app/log.h"
#include "conversion/converter.h"
#include "dictionary/kana_dictionary.h"
#include "learning/learning.h"
#include "platform/bundle.h"
#include "platform/clock.h"
#include "platform/file_system.h"
#include "platform/main_thread.h"
#include "platform/services.h"

namespace orvane {
namespace {

using platform::Client;
namespace Flag = platform::ModifierFlag;

constexpr std::string_view kanaModeID = "com.orvane.inputmethod.OrvaneIME.Japanese";
constexpr std::string_view directModeID = "com.orvane.inputmethod.OrvaneIME.Roman";

namespace KeyCode = platform::KeyCode;

constexpr uint64_t chordMask = Flag::control | Flag::option | Flag::command;
constexpr int64_t candidatePageSize = 9;
constexpr std::string_view ideographicSpace = "\u3000";
constexpr std::string_view dictionaryEditorPath = "Contents/Helpers/Orvane IME Dictionary.app";
constexpr std::string_view creditsFileName = "CREDITS.txt";

InputController::InputMode& currentInputMode() {
  static InputController::InputMode mode = InputController::InputMode::kana;
  return mode;
}

std::unique_ptr<platform::CandidatePanel>& sharedPanel() {
  static std::unique_ptr<platform::CandidatePanel> panel;
  return panel;
}

bool offersTextInput(const Client* client) { return client && client->offersTextInput(); }

std::string describe(const Client* client) {
  if (offersTextInput(client)) {
    if (auto id = client->bundleIdentifier()) return *id;
  }
  return "unknown";
}

bool isLetter(std::string_view character) {
  if (character.size() == 1 && static_cast<unsigned char>(character[0]) < 0x80) {
    char c = character[0];
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  }
  return text::isLetter(character);
}

bool containsLetter(std::string_view s) {
  bool ascii = std::all_of(s.begin(), s.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  if (ascii) return std::any_of(s.begin(), s.end(), [](char c) { return isLetter(std::string_view(&c, 1)); });
  for (const auto& c : text::characters(s))
    if (isLetter(c)) return true;
  return false;
}

// A single scalar U+0021 to U+007E: the only characters that compose.
std::optional<char> printableASCII(std::string_view characters) {
  if (characters.size() == 1 && characters[0] >= 0x21 && characters[0] <= 0x7E) return characters[0];
  return std::nullopt;
}

std::string joinedSurfaces(const std::vector<Clause>& clauses) {
  std::string out;
  for (std::size_t i = 0; i < clauses.size(); ++i) {
    if (i) out += "|";
    out += clauses[i].surface();
  }
  return out;
}

int64_t candidateCount(const Clause& c) { return static_cast<int64_t>(c.candidates.size()); }

std::optional<int64_t> firstIndexOf(const Clause& c, std::string_view text) {
  for (std::size_t i = 0; i < c.candidates.size(); ++i)
    if (c.candidates[i].text == text) return static_cast<int64_t>(i);
  return std::nullopt;
}

// The conversion's invariants are what every later operation indexes by, so
// a result that breaks them (no clause, a gap, an empty candidate list) is
// replaced by one clause of the plain reading rather than trusted.
std::vector<Clause> checked(std::vector<Clause> clauses, const Characters& reading, int64_t offset) {
  int64_t expected = offset;
  bool valid = !clauses.empty();
  for (auto& c : clauses) {
    if (!valid) break;
    valid = c.range.lower == expected && c.range.upper > c.range.lower && !c.candidates.empty();
    expected = c.range.upper;
    if (valid) c.index = std::clamp<int64_t>(c.index, 0, candidateCount(c) - 1);
  }
  valid = valid && expected == static_cast<int64_t>(reading.size());
  if (valid) return clauses;
  if (offset >= static_cast<int64_t>(reading.size())) return {};
  auto text = text::join(reading, static_cast<std::size_t>(offset), reading.size());
  Clause whole;
  whole.range = {offset, static_cast<int64_t>(reading.size())};
  whole.reading = text;
  whole.candidates = {Candidate{text, std::nullopt}};
  return {whole};
}

}  // namespace

platform::CandidatePanel* candidatesWindow() { return sharedPanel().get(); }

void setCandidatesWindow(std::unique_ptr<platform::CandidatePanel> panel) { sharedPanel() = std::move(panel); }

// Input mode.

std::string_view InputController::rawValue(InputMode mode) {
  return mode == InputMode::kana ? kanaModeID : directModeID;
}

std::optional<InputController::InputMode> InputController::inputMode(std::string_view rawValue) {
  if (rawValue == kanaModeID) return InputMode::kana;
  if (rawValue == directModeID) return InputMode::direct;
  return std::nullopt;
}

InputController::InputMode InputController::inputMode() { return currentInputMode(); }

void InputController::setInputMode(InputMode mode) {
  if (currentInputMode() == mode) return;
  currentInputMode() = mode;
  Log::imk.log("inputMode: %{public}s", rawValue(mode));
}

// Creation.

InputController::InputController(platform::Client* client) : client_(client) {
  Log::imk.log("init: client=%{public}s", describe(client));
}

InputController::~InputController() {
  // The panel outlives every controller; it must not call back into this one.
  if (auto* panel = candidatesWindow(); panel && panel->activeController() == this)
    panel->setActiveController(nullptr);
}

uint64_t InputController::recognizedEvents(const void* /*sender*/) const { return platform::keyDownMask; }

// Keys.

bool InputController::handle(const std::optional<platform::KeyEvent>& event, platform::Client* client) {
  if (!event || event->type != platform::keyDownEventType) return false;
  const auto& e = *event;
  bool consumed = false;

  if (e.keyCode == KeyCode::kana) {
    setInputMode(InputMode::kana);
    if (offersTextInput(client)) client->selectInputMode(kanaModeID);
    consumed = true;
  } else if (e.keyCode == KeyCode::eisu) {
    commit(client);
    setInputMode(InputMode::direct);
    if (offersTextInput(client)) client->selectInputMode(directModeID);
    consumed = true;
  } else if (inputMode() == InputMode::direct) {
    consumed = false;
  } else if (e.modifierFlags & chordMask) {
    // A shortcut commits what was being typed and still reaches the client.
    commit(client);
    consumed = false;
  } else {
    consumed = dispatch(e, client);
  }

  Log::key.log("keyDown: code=%hu chars=%{public}s -> %{public}s", e.keyCode,
               e.characters ? std::string_view(*e.characters) : std::string_view(),
               consumed ? std::string_view("consumed") : std::string_view("pass"));
  return consumed;
}

bool InputController::dispatch(const platform::KeyEvent& e, platform::Client* client) {
  const bool shift = (e.modifierFlags & Flag::shift) != 0;
  const bool empty = composer_.isEmpty();
  const bool converting = isConverting();

  switch (e.keyCode) {
    case KeyCode::returnKey:
    case KeyCode::keypadEnter:
      if (empty) return false;
      commit(client);
      return true;

    case KeyCode::tab:
      if (converting) {
        pageCandidates(!shift, client);
        return true;
      }
      // The Tab reaches the client after what was typed.
      commit(client);
      return false;

    case KeyCode::space:
      if (shift) {
        commit(client);
        insert(ideographicSpace, client);
        return true;
      }
      if (empty) return false;
      if (converting) {
        moveCandidate(1, client);
      } else {
        startConversion(client);
      }
      return true;

    case KeyCode::deleteBackward:
      if (empty) return false;
      if (converting) {
        if (shift) {
          forgetFocusedCandidate(client);
        } else {
          endConversion();
          updateMarkedText(client);
        }
      } else {
        composer_.backspace();
        updateMarkedText(client);
      }
      return true;

    case KeyCode::deleteForward:
      if (empty) return false;
      if (converting) {
        forgetFocusedCandidate(client);
      } else {
        composer_.deleteForward();
        updateMarkedText(client);
      }
      return true;

    case KeyCode::escape:
      if (empty) return false;
      if (converting) {
        endConversion();
      } else {
        composer_.reset();
      }
      updateMarkedText(client);
      return true;

    case KeyCode::left:
    case KeyCode::right: {
      if (empty) return false;
      const int64_t d = e.keyCode == KeyCode::left ? -1 : 1;
      if (!converting) {
        composer_.moveCursor(d);
        updateMarkedText(client);
      } else if (shift) {
        resizeFocusedClause(d, client);
      } else if (focus_ + d >= 0 && focus_ + d < static_cast<int64_t>(clauses_.size())) {
        focus_ += d;
        updateMarkedText(client);
        showCandidatesWindow();
      }
      return true;
    }

    case KeyCode::down:
    case KeyCode::up:
      if (empty) return false;
      if (converting) moveCandidate(e.keyCode == KeyCode::down ? 1 : -1, client);
      return true;

    default:
      return typeCharacters(e, client);
  }
}

bool InputController::typeCharacters(const platform::KeyEvent& e, platform::Client* client) {
  if (!e.characters) return false;
  auto c = printableASCII(*e.characters);
  if (!c) return false;
  // Typing on after a conversion commits it and starts a new composition.
  if (isConverting()) commit(client);
  const std::string_view character(&*c, 1);
  if (!(e.modifierFlags & Flag::numericPad)) {
    composer_.input(character);
  } else if (composer_.isEmpty()) {
    return false;
  } else {
    // Keypad digits and operators join the composition unconverted.
    composer_.insertLiteral(character);
  }
  updateMarkedText(client);
  return true;
}

void InputController::commitComposition(platform::Client* sender) {
  Log::imk.log("commitComposition");
  commit(sender);
}

// Client text.

std::optional<platform::TextAttributes> InputController::markForStyle(int style,
                                                                      platform::TextRange /*range*/) const {
  // Without a platform to draw them, the styles are told apart by name and by
  // the underline a client would draw: thick for the focused clause.
  switch (style) {
    case platform::MarkStyle::raw:
      return platform::TextAttributes{{"style", "2"}, {"underlineThickness", "1"}};
    case platform::MarkStyle::converted:
      return platform::TextAttributes{{"style", "4"}, {"underlineThickness", "1"}};
    case platform::MarkStyle::selectedConverted:
      return platform::TextAttributes{{"style", "5"}, {"underlineThickness", "2"}};
    default:
      return std::nullopt;
  }
}

void InputController::updateMarkedText(platform::Client* client) {
  if (!offersTextInput(client)) return;
  platform::AttributedString marked;
  int64_t caret = 0;
  auto appendRun = [&](std::string_view s, int style) {
    const auto start = static_cast<int64_t>(text::utf16Length(marked.text));
    const auto length = static_cast<int64_t>(text::utf16Length(s));
    auto attributes = markForStyle(style, {start, length});
    marked.text += s;
    if (length > 0) marked.runs.push_back({start, length, style, attributes.value_or(platform::TextAttributes{})});
  };

  if (isConverting()) {
    for (std::size_t k = 0; k < clauses_.size(); ++k) {
      const bool focused = static_cast<int64_t>(k) == focus_;
      if (focused) caret = static_cast<int64_t>(text::utf16Length(marked.text));
      appendRun(clauses_[k].surface(),
                focused ? platform::MarkStyle::selectedConverted : platform::MarkStyle::converted);
    }
  } else {
    const auto t = composer_.text();
    appendRun(t, platform::MarkStyle::raw);
    // The caret sits after the pending romaji.
    const auto chars = text::characters(t);
    const auto upTo = std::min<std::size_t>(static_cast<std::size_t>(composer_.textCursor()), chars.size());
    for (std::size_t i = 0; i < upTo; ++i) caret += static_cast<int64_t>(text::utf16Length(chars[i]));
  }

  Log::client.log("setMarkedText: %{public}s", marked.text);
  client->setMarkedText(marked, {caret, 0}, {platform::NSNotFound, 0});
}

void InputController::insert(std::string_view text, platform::Client* client) {
  if (!offersTextInput(client)) return;
  Log::client.log("insertText: %{public}s", text);
  client->insertText(text, {platform::NSNotFound, 0});
}

// Conversion editing.

std::set<int64_t> InputController::boundaries() const {
  std::set<int64_t> out;
  for (std::size_t i = 1; i < clauses_.size(); ++i) out.insert(clauses_[i].range.lower);
  return out;
}

void InputController::startConversion(platform::Client* client) {
  composer_.flush();
  const auto kana = composer_.kana();
  reading_ = text::characters(kana);
  if (reading_.empty()) return;

  const bool hasASCIILetter =
      std::any_of(reading_.begin(), reading_.end(), [](const std::string& c) { return text::isASCII(c) && isLetter(c); });
  if (hasASCIILetter) {
    // Typed alphabet stays one clause: no learned boundary applies to it.
    auto conv = checked(Converter::convert(reading_, static_cast<int64_t>(reading_.size())), reading_, 0);
    clauses_ = addAlphabetCandidates(std::move(conv), true);
    appliedSegments_.clear();
  } else {
    auto conv = checked(Converter::convert(reading_), reading_, 0);
    clauses_ = addAlphabetCandidates(std::move(conv), false);
    appliedSegments_ = Segmentation::matches(reading_);
  }
  initialBoundaries_ = boundaries();
  focus_ = 0;

  Log::imk.log("conversion: reading=%{public}s clauses=%{public}s", kana, joinedSurfaces(clauses_));
  updateMarkedText(client);
  showCandidatesWindow();
}

std::vector<Clause> InputController::addAlphabetCandidates(std::vector<Clause> clauses, bool first) const {
  for (auto& clause : clauses) {
    const auto raw = composer_.raw(clause.range.lower, clause.range.upper);
    if (!containsLetter(raw)) continue;

    const auto rawChars = text::characters(raw);
    std::string capitalised =
        text::uppercased(rawChars.front()) + text::lowercased(text::join(rawChars, 1, rawChars.size()));
    std::vector<std::string> forms = {raw, text::lowercased(raw), std::move(capitalised), text::uppercased(raw)};
    for (std::size_t i = 0; i < 4; ++i) forms.push_back(text::halfwidthToFullwidth(forms[i]).value_or(forms[i]));

    std::vector<Candidate> alphabet;
    for (auto& s : forms) {
      bool repeat = std::any_of(alphabet.begin(), alphabet.end(), [&](const Candidate& c) { return c.text == s; });
      if (!repeat) alphabet.push_back({std::move(s), std::nullopt});
    }

    if (!first) {
      for (auto& a : alphabet)
        if (!firstIndexOf(clause, a.text)) clause.candidates.push_back(std::move(a));
      continue;
    }

    std::vector<std::string> alphabetTexts;
    for (const auto& a : alphabet) alphabetTexts.push_back(a.text);
    auto isAlphabet = [&](std::string_view t) {
      return std::find(alphabetTexts.begin(), alphabetTexts.end(), t) != alphabetTexts.end();
    };
    const auto learned = Learning::surfaces(clause.reading);
    auto isLearned = [&](std::string_view t) { return std::find(learned.begin(), learned.end(), t) != learned.end(); };
    std::vector<Candidate> ordered;
    ordered.reserve(clause.candidates.size() + alphabet.size());
    for (const auto& c : clause.candidates)
      if (isLearned(c.text)) ordered.push_back(c);
    for (auto& a : alphabet)
      if (!isLearned(a.text)) ordered.push_back(std::move(a));
    for (auto& c : clause.candidates)
      if (!isLearned(c.text) && !isAlphabet(c.text)) ordered.push_back(std::move(c));
    clause.candidates = std::move(ordered);
    clause.index = std::clamp<int64_t>(clause.index, 0, candidateCount(clause) - 1);
  }
  return clauses;
}

void InputController::moveCandidate(int64_t by, platform::Client* client) {
  if (!isConverting()) return;
  auto& c = clauses_[static_cast<std::size_t>(focus_)];
  if (by < -c.index || by >= candidateCount(c) - c.index) return;  // no wrap-around
  c.index += by;
  updateMarkedText(client);
  sendArrowToCandidatesWindow(by >= 1);
}

void InputController::pageCandidates(bool forward, platform::Client* client) {
  if (!isConverting()) return;
  auto& c = clauses_[static_cast<std::size_t>(focus_)];
  const int64_t old = c.index;
  const int64_t n = std::clamp<int64_t>(forward ? old + candidatePageSize : old - candidatePageSize, 0,
                                        candidateCount(c) - 1);
  if (n == old) return;
  c.index = n;
  updateMarkedText(client);
  // The panel moves one row per arrow, so its selection follows row by row.
  for (int64_t i = 0; i < std::abs(n - old); ++i) sendArrowToCandidatesWindow(n > old);
}

void InputController::resizeFocusedClause(int64_t by, platform::Client* client) {
  if (!isConverting()) return;
  const auto& c = clauses_[static_cast<std::size_t>(focus_)];
  const int64_t start = c.range.lower;
  const int64_t size = static_cast<int64_t>(reading_.size());
  if (by < 1 - c.range.length() || by > size - c.range.upper) return;
  const int64_t length = c.range.length() + by;

  Characters rest(reading_.begin() + start, reading_.end());
  auto conv = Converter::convert(rest, length);
  for (auto& clause : conv) {
    clause.range.lower += start;
    clause.range.upper += start;
  }
  conv = addAlphabetCandidates(checked(std::move(conv), reading_, start), false);
  // Everything after the resized clause is converted anew; choices there go.
  clauses_.resize(static_cast<std::size_t>(focus_));
  clauses_.insert(clauses_.end(), std::make_move_iterator(conv.begin()), std::make_move_iterator(conv.end()));

  Log::imk.log("resize: clauses=%{public}s", joinedSurfaces(clauses_));
  updateMarkedText(client);
  showCandidatesWindow();
}

void InputController::forgetFocusedCandidate(platform::Client* client) {
  if (!isConverting()) return;
  auto& focused = clauses_[static_cast<std::size_t>(focus_)];
  const int64_t lower = focused.range.lower;
  const int64_t upper = focused.range.upper;

  Learning::forget(focused.learningPairs());
  auto atEdge = [&](const Segmentation::Match& m) { return m.position == lower || m.position == upper; };
  std::vector<std::string> keys;
  for (const auto& m : Segmentation::matches(reading_))
    if (atEdge(m)) keys.push_back(m.key);
  if (!keys.empty()) Segmentation::forget(keys);
  std::erase_if(appliedSegments_, atEdge);

  Characters part(reading_.begin() + lower, reading_.begin() + upper);
  auto conv = Converter::convert(part, upper - lower);
  if (conv.empty()) return;
  Clause fresh;
  fresh.range = {lower, upper};
  fresh.reading = text::join(reading_, static_cast<std::size_t>(lower), static_cast<std::size_t>(upper));
  fresh.candidates = std::move(conv.front().candidates);
  fresh.index = conv.front().index;
  if (fresh.candidates.empty()) fresh.candidates.push_back({fresh.reading, std::nullopt});
  fresh.index = std::clamp<int64_t>(fresh.index, 0, candidateCount(fresh) - 1);
  auto replaced = addAlphabetCandidates({std::move(fresh)}, false);
  clauses_[static_cast<std::size_t>(focus_)] = std::move(replaced.front());

  updateMarkedText(client);
  showCandidatesWindow();
}

void InputController::endConversion() {
  composer_.moveCursorToEnd();
  reading_.clear();
  clauses_.clear();
  appliedSegments_.clear();
  initialBoundaries_.clear();
  focus_ = 0;
  onCandidatesWindow([](platform::CandidatePanel& panel) { panel.hide(); });
}

void InputController::commit(platform::Client* client) {
  if (composer_.isEmpty()) return;
  composer_.flush();
  std::string text;
  if (isConverting()) {
    for (const auto& c : clauses_) text += c.surface();
  } else {
    text = composer_.kana();
  }

  if (isConverting()) learnFromCommit();

  endConversion();
  composer_.reset();
  insert(text, client);
}

void InputController::learnFromCommit() {
  const auto now = boundaries();
  std::set<int64_t> added;
  std::set_difference(now.begin(), now.end(), initialBoundaries_.begin(), initialBoundaries_.end(),
                      std::inserter(added, added.end()));

  // A choice counts when the user picked it, when the reading already has
  // learned entries (a confirmation), or when a boundary the user made
  // touches the clause.
  std::vector<ReadingSurface> pairs;
  for (const auto& c : clauses_) {
    if (c.index != 0 || Learning::hasEntries(c.reading) || added.contains(c.range.lower) ||
        added.contains(c.range.upper)) {
      auto p = c.learningPairs();
      pairs.insert(pairs.end(), p.begin(), p.end());
    }
  }
  Learning::record(pairs);

  std::vector<std::string> givenUp;
  std::vector<Segmentation::KeyOffset> confirmed;
  for (const auto& m : appliedSegments_) {
    if (now.contains(m.position)) {
      confirmed.push_back({m.key, m.offset});
    } else {
      givenUp.push_back(m.key);
    }
  }
  Segmentation::forget(givenUp);
  for (std::size_t i = 0; i + 1 < clauses_.size(); ++i) {
    if (added.contains(clauses_[i + 1].range.lower)) {
      confirmed.push_back({clauses_[i].reading + clauses_[i + 1].reading,
                           static_cast<int64_t>(text::characterCount(clauses_[i].reading))});
    }
  }
  Segmentation::record(confirmed);
}

// Candidate window.

void InputController::onCandidatesWindow(const std::function<void(platform::CandidatePanel&)>& body) const {
  platform::assertMainThread();
  if (auto* panel = candidatesWindow()) body(*panel);
}

void InputController::showCandidatesWindow() {
  if (!isConverting()) return;
  onCandidatesWindow([this](platform::CandidatePanel& panel) {
    // The panel takes its rows from the controller that last showed it.
    panel.setActiveController(this);
    panel.updateCandidates();
    panel.show(platform::locationHintBelowText);
  });
  // The reload put the selection on the first row; walk it down to the index.
  const auto steps = clauses_[static_cast<std::size_t>(focus_)].index;
  for (int64_t i = 0; i < steps; ++i) sendArrowToCandidatesWindow(true);
}

void InputController::sendArrowToCandidatesWindow(bool down) {
  const std::string character = down ? "\uF701" : "\uF700";
  auto event = platform::makeKeyEvent(platform::keyDownEventType, Flag::numericPad | Flag::function,
                                      platform::systemUptime(), character, character, false,
                                      down ? platform::downArrowKeyCode : platform::upArrowKeyCode);
  if (!event) return;
  onCandidatesWindow([&](platform::CandidatePanel& panel) {
    panel.interpretKeyEvents({*event});
    Log::imk.log("sync: sent %{public}s selectedId=%ld", down ? std::string_view("down") : std::string_view("up"),
                 panel.selectedCandidate());
  });
}

std::vector<std::string> InputController::candidates(const void* /*sender*/) {
  if (!isConverting()) return {};
  return clauses_[static_cast<std::size_t>(focus_)].texts();
}

void InputController::candidateSelectionChanged(const std::optional<std::string>& text) {
  if (!isConverting() || !text) return;
  auto& c = clauses_[static_cast<std::size_t>(focus_)];
  auto i = firstIndexOf(c, *text);
  if (!i) return;
  c.index = *i;
  updateMarkedText(client_);
}

void InputController::candidateSelected(const std::optional<std::string>& text) {
  if (!isConverting() || !text) return;
  auto& c = clauses_[static_cast<std::size_t>(focus_)];
  auto i = firstIndexOf(c, *text);
  if (!i) return;
  Log::imk.log("candidateSelected: %{public}s", *text);
  c.index = *i;
  commit(client_);
}

// Activation and menu.

void InputController::activateServer(platform::Client* client) {
  Log::imk.log("activateServer: client=%{public}s", describe(client));
}

void InputController::deactivateServer(platform::Client* client) {
  Log::imk.log("deactivateServer: client=%{public}s", describe(client));
  // Leaving a text field keeps what was typed.
  commit(client);
  onCandidatesWindow([](platform::CandidatePanel& panel) { panel.hide(); });
}

std::vector<InputController::MenuItem> InputController::menu() const {
  return {
      {"ユーザ辞書を編集...", "", "openDictionaryEditor:"},
      {"Orvane IME のログを見る方法をコピー", "", "copyLogCommand:"},
      {"Orvane IME について", "", "showAbout:"},
  };
}

void InputController::setValue(const Value& value, int64_t tag, platform::Client* client) {
  if (tag != inputModeTag) return;
  const auto* id = std::get_if<std::string>(&value);
  if (!id) return;
  auto mode = inputMode(*id);
  if (!mode) return;
  Log::imk.log("setValue: mode=%{public}s", *id);
  // No marked text may be left behind once keys pass straight to the client.
  if (*mode == InputMode::direct) commit(client);
  setInputMode(*mode);
}

void InputController::openDictionaryEditor(const void* /*sender*/) {
  const auto path = platform::Bundle::main().bundleURL() / dictionaryEditorPath;
  platform::workspace().openApplication(path, [](std::optional<std::string> error) {
    if (error) Log::imk.error("dictionary editor launch failed: %{public}s", *error);
  });
}

void InputController::copyLogCommand(const void* /*sender*/) {
  std::string command = "log stream --predicate 'subsystem == \"";
  command += Log::subsystem;
  command += "\"'";
  auto& pasteboard = platform::pasteboard();
  pasteboard.clearContents();
  pasteboard.setString(command);
}

void InputController::showAbout(const void* /*sender*/) {
  std::optional<std::string> credits =
      platform::readWholeFile(KanaDictionary::mozcDirectoryURL() / creditsFileName);
  if (credits && !text::isValidUTF8(*credits)) credits.reset();
  platform::assertMainThread();
  auto& panel = platform::aboutPanel();
  // A background application's panel would otherwise open behind the client.
  panel.activateApplication();
  panel.show(credits);
}

bool InputController::performMenuAction(std::string_view action) {
  if (!action.empty() && action.back() == ':') action.remove_suffix(1);
  if (action == "openDictionaryEditor") {
    openDictionaryEditor(nullptr);
  } else if (action == "copyLogCommand") {
    copyLogCommand(nullptr);
  } else if (action == "showAbout") {
    showAbout(nullptr);
  } else {
    return false;
  }
  return true;
}

}  // namespace orvane
