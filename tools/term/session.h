// One writing session at the terminal, without the terminal: the input
// method's controller serving the text area, the candidate window, the menu
// and the overlays, fed with decoded input and asked for the screen.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "controller/input_controller.h"
#include "key_decoder.h"
#include "log_pane.h"
#include "screen.h"
#include "terminal_client.h"
#include "terminal_panel.h"
#include "terminal_services.h"

namespace orvane::term {

// What the front-end keeps for itself instead of giving to the input method.
enum class Command { none, quit, menu, toggleLog, keys };
Command frontEndCommand(const platform::KeyEvent& event);

// The help line, with the stand-ins for keys a terminal cannot send.
std::string helpLine();

class Session {
 public:
  struct Hooks {
    std::function<void(std::string_view)> writeTerminal;
    TerminalWorkspace::Runner run;
  };
  Session(TerminalPanel& panel, std::shared_ptr<LogPane> log, Hooks hooks);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void start();
  // Commits what is being written: nothing typed is lost at the end.
  void finish();
  void handle(const TermInput& input);
  bool wantsToQuit() const { return quit_; }

  void setScreenSize(int rows, int cols) {
    rows_ = rows;
    cols_ = cols;
  }
  ScreenState screen() const;
  // How long until something on screen changes by itself (a notice fades).
  std::optional<std::chrono::milliseconds> nextTimeout() const;

  const TerminalClient& client() const { return client_; }
  InputController& controller() { return controller_; }
  void notify(std::string message);

 private:
  void handleKey(const platform::KeyEvent& event);
  void handleMenuKey(const platform::KeyEvent& event);
  void handleTextViewKey(const platform::KeyEvent& event);
  void chooseMenuItem(int index);
  void showText(std::string title, std::string body);
  int textLineCount() const;

  TerminalPanel& panel_;
  std::shared_ptr<LogPane> log_;
  TerminalClient client_;
  TerminalPasteboard pasteboard_;
  TerminalAboutPanel aboutPanel_;
  TerminalWorkspace workspace_;
  InputController controller_;

  bool quit_ = false;
  bool showLog_ = false;
  std::optional<int> menuSelection_;
  struct TextOverlay {
    std::string title;
    std::string body;
    int scroll = 0;
  };
  std::optional<TextOverlay> text_;
  std::string notice_;
  std::chrono::steady_clock::time_point noticeUntil_{};
  int rows_ = 24;
  int cols_ = 80;
};

}  // namespace orvane::term
