// What an application's input method module does on the session bus, with
// sd-bus: input contexts created through Fcitx5's DBus front-end, keys sent
// to them, and a record of the commits, preedits and candidate lists that
// Fcitx5 sends back as signals.
#pragma once

#include <fcitx-utils/key.h>
#include <systemd/sd-bus.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvane::fcitx5::testing {

inline constexpr std::string_view fcitxBusName = "org.fcitx.Fcitx5";
inline constexpr std::chrono::milliseconds busTimeout{10000};

struct MessageUnref {
  void operator()(sd_bus_message* m) const { sd_bus_message_unref(m); }
};
using Message = std::unique_ptr<sd_bus_message, MessageUnref>;

class SessionBus {
 public:
  // The bus of DBUS_SESSION_BUS_ADDRESS; nullptr, with the reason in
  // `error`, when there is none.
  static std::unique_ptr<SessionBus> connect(std::string& error);
  ~SessionBus();
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;

  // A call to the owner of org.fcitx.Fcitx5 (or to `destination`) that waits
  // for the answer: the reply, or nullptr with the error in lastError().
  template <typename... Args>
  Message call(std::string_view path, std::string_view interface, std::string_view member,
               const char* signature = nullptr, Args... args) {
    return callTo(std::string(fcitxBusName), path, interface, member, signature, args...);
  }
  template <typename... Args>
  Message callTo(const std::string& destination, std::string_view path, std::string_view interface,
                 std::string_view member, const char* signature, Args... args) {
    auto m = newCall(destination, path, interface, member);
    if (m && signature) sd_bus_message_append(m.get(), signature, args...);
    return send(std::move(m));
  }
  // A call whose answer nobody waits for, as to a method that ends the peer.
  bool post(std::string_view path, std::string_view interface, std::string_view member);
  const std::string& lastError() const { return lastError_; }

  // Handles every message that has arrived, without waiting.
  void dispatch();
  // Handles messages as they come until `done` holds; false if it still
  // does not after `timeout`.
  bool waitUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout = busTimeout);
  // A round trip to Fcitx5 (or `peer`): what it sent before answering has
  // been handled.
  bool settle(const std::string& peer = std::string(fcitxBusName));

  // The unique name that owns org.fcitx.Fcitx5, "" when nobody does.
  const std::string& fcitxOwner() const { return owner_; }
  // The process behind a unique name; 0 when it is unknown.
  pid_t processOf(const std::string& uniqueName);

  // Commits to every input context and each time Fcitx5 left the bus, in
  // the order they arrived: "program: text" and "fcitx5 left".
  const std::vector<std::string>& timeline() const { return timeline_; }
  void record(std::string event) { timeline_.push_back(std::move(event)); }

  sd_bus* get() const { return bus_; }

 private:
  explicit SessionBus(sd_bus* bus) : bus_(bus) {}
  Message newCall(const std::string& destination, std::string_view path, std::string_view interface,
                  std::string_view member);
  Message send(Message call);
  static int onOwnerChanged(sd_bus_message* m, void* self, sd_bus_error*);

  sd_bus* bus_;
  sd_bus_slot* ownerSlot_ = nullptr;
  std::string owner_;
  std::string lastError_;
  std::vector<std::string> timeline_;
};

// One input context of one application, as the GTK and Qt modules hold it:
// it draws the preedit itself, and the candidate window too when asked.
class InputContext {
 public:
  // A focused context of `program` with the "orvane" input method chosen
  // for it, as a user would from the tray; nullptr (and a test failure)
  // when Fcitx5 refused any step.
  static std::unique_ptr<InputContext> open(SessionBus& bus, std::string program, bool drawsCandidates = false);
  ~InputContext();
  InputContext(const InputContext&) = delete;
  InputContext& operator=(const InputContext&) = delete;

  // A key pressed and released as a front-end sends them, by Fcitx5's key
  // name ("a", "space", "Control+a"): whether Fcitx5 took the press, so that
  // the application must not see it.
  bool press(std::string_view keyName);
  bool press(const fcitx::Key& key);
  // One press per ASCII character; false if any was not taken.
  bool type(std::string_view keys);
  bool focusIn();
  bool focusOut();
  bool reset();
  bool nextPage();
  bool selectCandidate(int indexOnPage);

  struct Span {
    std::string text;
    int format;  // fcitx::TextFormatFlags
    bool operator==(const Span&) const = default;
  };
  struct Preedit {
    std::vector<Span> spans;
    int cursor = -1;  // bytes
    std::string text() const;
  };
  struct Candidates {
    std::vector<std::string> rows;  // the page shown
    int selected = -1;
    bool hasPrev = false;
    bool hasNext = false;
  };
  // The last of each that Fcitx5 sent.
  const Preedit& preedit() const { return preedit_; }
  const Candidates& candidates() const { return candidates_; }
  const std::string& inputMethod() const { return inputMethod_; }
  // Every preedit Fcitx5 sent, in order, since the last call.
  std::vector<Preedit> takePreedits() { return std::exchange(preedits_, {}); }
  // Commits since the last call, in order.
  std::vector<std::string> takeCommits() { return std::exchange(commits_, {}); }

 private:
  InputContext(SessionBus& bus, std::string program) : bus_(bus), program_(std::move(program)) {}
  bool callOwn(std::string_view member);
  static int onSignal(sd_bus_message* m, void* self, sd_bus_error*);

  SessionBus& bus_;
  std::string program_;
  std::string path_;
  std::string server_;  // the unique name of the fcitx5 that made it
  sd_bus_slot* slot_ = nullptr;
  Preedit preedit_;
  std::vector<Preedit> preedits_;
  Candidates candidates_;
  std::string inputMethod_;
  std::vector<std::string> commits_;
};

}  // namespace orvane::fcitx5::testing
