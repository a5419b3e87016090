// orvane-term: write Japanese in a terminal. The screen is drawn on the
// terminal itself; what was written goes to standard output at the end, so
// that `orvane-term > note.txt` keeps it.
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "app/log.h"
#include "controller/input_controller.h"
#include "dictionary/kana_dictionary.h"
#include "key_decoder.h"
#include "learning/learning.h"
#include "log_pane.h"
#include "screen.h"
#include "session.h"
#include "terminal.h"
#include "terminal_panel.h"

namespace {

using namespace orvane;
using namespace orvane::term;

// Long enough for a sequence to arrive whole over ssh, short enough that a
// lone Escape feels immediate.
constexpr int kEscapeTimeoutMs = 40;

void draw(Terminal& terminal, Session& session) {
  auto size = terminal.size();
  session.setScreenSize(size.rows, size.cols);
  terminal.write(render(compose(session.screen(), size.rows, size.cols)));
}

void writeOut(const std::string& text) {
  if (text.empty()) return;
  std::string out = text;
  if (out.back() != '\n') out += '\n';
  std::fwrite(out.data(), 1, out.size(), stdout);
  std::fflush(stdout);
}

int usage() {
  std::fputs(
      "usage: orvane-term [> file]\n"
      "Type romaji, Space converts, Return commits. F1 lists the keys.\n"
      "Ctrl-D ends and writes the text to standard output.\n"
      "Stand-ins for keys a terminal cannot send:\n",
      stderr);
  for (const auto& s : substitutes())
    std::fprintf(stderr, "  %-11s %s\n", std::string(s.chord).c_str(), std::string(s.standsFor).c_str());
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    std::string_view a = argv[i];
    if (a == "-h" || a == "--help") return usage(), 0;
    std::fprintf(stderr, "orvane-term: unknown argument %s\n", argv[i]);
    return usage();
  }
  auto terminal = Terminal::open();
  if (!terminal) {
    std::fputs("orvane-term: needs a terminal (/dev/tty)\n", stderr);
    return 1;
  }
  installSignalHandlers();

  Log::addSink(Log::makeSystemLogSink());
  auto logPane = std::make_shared<LogPane>();
  Log::addSink(logPane);

  // Start-up as the input method does it: the shared panel, then the
  // dictionary and the learned choices before the first key.
  auto panelOwner = std::make_unique<TerminalPanel>();
  TerminalPanel& panel = *panelOwner;
  setCandidatesWindow(std::move(panelOwner));

  terminal->enter();
  terminal->write("\x1b[2J\x1b[H辞書を読み込んでいます… (loading the dictionary)");
  KanaDictionary::preload();
  Learning::reloadIfNeeded();

  Session session(panel, logPane,
                  {[&](std::string_view bytes) { terminal->write(bytes); },
                   [&](const std::vector<std::string>& args) { return terminal->run(args); }});
  session.start();

  KeyDecoder decoder;
  char buffer[4096];
  while (!session.wantsToQuit()) {
    draw(*terminal, session);
    int timeout = -1;
    if (decoder.hasPending()) {
      timeout = kEscapeTimeoutMs;
    } else if (auto next = session.nextTimeout()) {
      timeout = static_cast<int>(next->count()) + 1;
    }
    pollfd fds[2] = {{terminal->fd(), POLLIN, 0}, {signalPipe(), POLLIN, 0}};
    int ready = poll(fds, signalPipe() >= 0 ? 2 : 1, timeout);
    if (ready < 0) {
      if (errno == EINTR) continue;
      break;
    }
    if (ready == 0) {
      decoder.flush();
    }
    if (fds[1].revents & POLLIN) {
      char signals[64];
      ssize_t n = read(signalPipe(), signals, sizeof signals);
      if (n > 0 && std::memchr(signals, 'q', static_cast<std::size_t>(n))) break;
    }
    if (fds[0].revents & (POLLIN | POLLHUP | POLLERR)) {
      ssize_t n = read(terminal->fd(), buffer, sizeof buffer);
      if (n <= 0) {
        if (n < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        break;  // the terminal went away
      }
      decoder.feed(std::string_view(buffer, static_cast<std::size_t>(n)));
    }
    for (const auto& input : decoder.take()) {
      session.handle(input);
      if (session.wantsToQuit()) break;
    }
  }

  session.finish();
  terminal->leave();
  writeOut(session.client().text());
  return 0;
}
