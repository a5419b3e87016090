#include "session.h"

#include <algorithm>

#include "dictionary/kana_dictionary.h"
#include "platform/bundle.h"

namespace orvane::term {
namespace {

namespace Flag = platform::ModifierFlag;
using Clock = std::chrono::steady_clock;

constexpr auto kNoticeTime = std::chrono::seconds(4);
constexpr std::string_view kMenuTitle = "Orvane IME";

bool isControlChord(const platform::KeyEvent& e, char letter) {
  return (e.modifierFlags & (Flag::control | Flag::option | Flag::command)) == Flag::control &&
         e.keyCode == KeyCode::character && e.charactersIgnoringModifiers == std::string(1, letter);
}

constexpr std::string_view kKeysText =
    "romaji          kana in the marked text (かな mode)\n"
    "Space           convert; again: the next candidate\n"
    "Up / Down       previous / next candidate\n"
    "Tab, Shift+Tab  next / previous page of candidates\n"
    "Left / Right    the clause before / after (composing: move the caret)\n"
    "Shift+Left/Right  shorten / lengthen the focused clause\n"
    "Return          commit\n"
    "Backspace       delete; while converting: back to the kana\n"
    "Escape          cancel the composition or the conversion\n"
    "Delete (ESC[3~) while converting: forget the chosen candidate\n"
    "\n"
    "Keys a terminal cannot send, and their stand-ins:\n"
    "Ctrl-J          かな mode (the Kana key)\n"
    "Ctrl-L          英数 mode (the Eisu key); commits first\n"
    "Ctrl-Space      Shift+Space: an ideographic space\n"
    "Alt+key         Option+key: commits, then the key\n"
    "\n"
    "This front-end:\n"
    "F1              this list\n"
    "F2, Ctrl-O      the input method's menu\n"
    "F3              the log pane\n"
    "Ctrl-D          end; the text written goes to standard output\n";

}  // namespace

Command frontEndCommand(const platform::KeyEvent& e) {
  if (isControlChord(e, 'd')) return Command::quit;
  if (isControlChord(e, 'o') || (e.keyCode == KeyCode::f2 && !(e.modifierFlags & Flag::shift))) return Command::menu;
  if (e.keyCode == KeyCode::f3) return Command::toggleLog;
  if (e.keyCode == KeyCode::f1) return Command::keys;
  return Command::none;
}

std::string helpLine() {
  return "F1 keys  ^J かな  ^L 英数  ^Space 全角空白  F2/^O menu  F3 log  ^D end";
}

Session::Session(TerminalPanel& panel, std::shared_ptr<LogPane> log, Hooks hooks)
    : panel_(panel),
      log_(std::move(log)),
      pasteboard_(hooks.writeTerminal, [this] { notify("copied to the clipboard (OSC 52)"); }),
      aboutPanel_([this](const std::optional<std::string>& credits) {
        auto& bundle = platform::Bundle::main();
        std::string name = bundle.infoString("CFBundleName").value_or("Orvane IME");
        std::string body = name;
        if (auto version = bundle.infoString("CFBundleShortVersionString")) body += " " + *version;
        if (auto build = bundle.infoString("CFBundleVersion")) body += " (" + *build + ")";
        if (auto copyright = bundle.infoString("NSHumanReadableCopyright")) body += "\n" + *copyright;
        if (credits) body += "\n\n" + *credits;
        showText(name, body);
      }),
      workspace_(hooks.run, KanaDictionary::directoryURL() / KanaDictionary::userFileName,
                 [this](const std::string&) {
                   notify("cannot open the dictionary editor; set $EDITOR to edit " +
                          std::string(KanaDictionary::userFileName));
                 }),
      controller_(&client_) {
  platform::install({&pasteboard_, &workspace_, &aboutPanel_, nullptr});
}

Session::~Session() = default;

void Session::start() {
  panel_.setActiveController(&controller_);
  controller_.activateServer(&client_);
}

void Session::finish() {
  panel_.setActiveController(&controller_);
  controller_.deactivateServer(&client_);
}

void Session::notify(std::string message) {
  notice_ = std::move(message);
  noticeUntil_ = Clock::now() + kNoticeTime;
}

std::optional<std::chrono::milliseconds> Session::nextTimeout() const {
  if (notice_.empty()) return std::nullopt;
  auto left = std::chrono::duration_cast<std::chrono::milliseconds>(noticeUntil_ - Clock::now());
  return std::max(left, std::chrono::milliseconds(0));
}

void Session::handle(const TermInput& input) {
  if (!notice_.empty() && Clock::now() >= noticeUntil_) notice_.clear();
  if (input.kind == TermInput::Kind::paste) {
    if (menuSelection_ || text_) return;
    // Pasted text is not typing: what was being written is committed, and
    // the paste goes in as it is.
    panel_.setActiveController(&controller_);
    controller_.commitComposition(&client_);
    client_.paste(input.text);
    return;
  }
  const auto& event = input.event;
  if (text_) return handleTextViewKey(event);
  if (menuSelection_) return handleMenuKey(event);
  switch (frontEndCommand(event)) {
    case Command::quit:
      quit_ = true;
      return;
    case Command::menu:
      menuSelection_ = 0;
      return;
    case Command::toggleLog:
      showLog_ = !showLog_;
      return;
    case Command::keys:
      showText("Keys", std::string(kKeysText));
      return;
    case Command::none:
      break;
  }
  handleKey(event);
}

void Session::handleKey(const platform::KeyEvent& event) {
  panel_.setActiveController(&controller_);
  if (!controller_.handle(event, &client_)) client_.typeKey(event);
}

void Session::handleMenuKey(const platform::KeyEvent& event) {
  int count = static_cast<int>(controller_.menu().size());
  auto command = frontEndCommand(event);
  if (event.keyCode == KeyCode::escape || command == Command::menu || command == Command::quit) {
    menuSelection_.reset();
  } else if (event.keyCode == KeyCode::up) {
    menuSelection_ = (*menuSelection_ + count - 1) % count;
  } else if (event.keyCode == KeyCode::down) {
    menuSelection_ = (*menuSelection_ + 1) % count;
  } else if (event.keyCode == KeyCode::returnKey || event.keyCode == KeyCode::keypadEnter) {
    chooseMenuItem(*menuSelection_);
  } else if (event.characters && event.characters->size() == 1) {
    int n = (*event.characters)[0] - '1';
    if (n >= 0 && n < count) chooseMenuItem(n);
  }
}

void Session::chooseMenuItem(int index) {
  menuSelection_.reset();
  auto items = controller_.menu();
  if (index < 0 || index >= static_cast<int>(items.size())) return;
  controller_.performMenuAction(items[static_cast<std::size_t>(index)].action);
}

void Session::showText(std::string title, std::string body) {
  text_ = TextOverlay{std::move(title), std::move(body), 0};
}

int Session::textLineCount() const {
  return text_ ? static_cast<int>(wrapText(text_->body, std::max(cols_ - 4, 1)).size()) : 0;
}

void Session::handleTextViewKey(const platform::KeyEvent& event) {
  int page = std::max(aboutVisibleLines(rows_) - 1, 1);
  int last = std::max(textLineCount() - aboutVisibleLines(rows_), 0);
  int& scroll = text_->scroll;
  switch (event.keyCode) {
    case KeyCode::up: scroll -= 1; break;
    case KeyCode::down: scroll += 1; break;
    case KeyCode::pageUp: scroll -= page; break;
    case KeyCode::pageDown:
    case KeyCode::space: scroll += page; break;
    case KeyCode::home: scroll = 0; break;
    case KeyCode::end: scroll = last; break;
    default:
      text_.reset();
      return;
  }
  scroll = std::clamp(scroll, 0, last);
}

ScreenState Session::screen() const {
  ScreenState state;
  state.committed = client_.text();
  state.marked = client_.markedText();
  state.caretUTF16 = client_.caret();
  if (panel_.isVisible()) state.candidates = CandidateList{panel_.rows(), panel_.selectedCandidate()};
  state.mode = InputController::inputMode() == InputController::InputMode::kana ? "かな" : "英数";
  state.help = helpLine();
  if (!notice_.empty() && Clock::now() < noticeUntil_) state.notice = notice_;
  state.showLog = showLog_;
  if (showLog_ && log_) state.logLines = log_->lines();
  if (menuSelection_) {
    MenuView menu{std::string(kMenuTitle), {}, *menuSelection_};
    for (const auto& item : controller_.menu()) menu.items.push_back(item.title);
    state.menu = std::move(menu);
  }
  if (text_) state.about = TextView{text_->title, wrapText(text_->body, std::max(cols_ - 4, 1)), text_->scroll};
  return state;
}

}  // namespace orvane::term
