#include "session_bus.h"

#include <fcitx-utils/capabilityflags.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace orvane::fcitx5::testing {
namespace {

constexpr const char* inputContextInterface = "org.fcitx.Fcitx.InputContext1";
constexpr const char* busDriver = "org.freedesktop.DBus";
constexpr const char* busDriverPath = "/org/freedesktop/DBus";

uint64_t microseconds(std::chrono::milliseconds t) { return static_cast<uint64_t>(t.count()) * 1000; }

// Reads an a(si) preedit; false when the message holds something else.
bool readSpans(sd_bus_message* m, std::vector<InputContext::Span>& spans) {
  if (sd_bus_message_enter_container(m, 'a', "(si)") < 0) return false;
  const char* text = nullptr;
  int format = 0;
  while (sd_bus_message_read(m, "(si)", &text, &format) > 0) spans.push_back({text, format});
  return sd_bus_message_exit_container(m) >= 0;
}

}  // namespace

// The bus.

std::unique_ptr<SessionBus> SessionBus::connect(std::string& error) {
  const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
  if (!address || !*address) {
    error = "no session bus: DBUS_SESSION_BUS_ADDRESS is not set";
    return nullptr;
  }
  sd_bus* bus = nullptr;
  int r = sd_bus_new(&bus);
  if (r >= 0) r = sd_bus_set_address(bus, address);
  if (r >= 0) r = sd_bus_set_bus_client(bus, 1);
  if (r >= 0) r = sd_bus_start(bus);
  if (r < 0) {
    error = std::string("cannot connect to the session bus at ") + address + ": " + std::strerror(-r);
    sd_bus_unref(bus);
    return nullptr;
  }
  std::unique_ptr<SessionBus> self(new SessionBus(bus));
  const std::string rule = "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
                           "member='NameOwnerChanged',arg0='" + std::string(fcitxBusName) + "'";
  r = sd_bus_add_match(bus, &self->ownerSlot_, rule.c_str(), &SessionBus::onOwnerChanged, self.get());
  if (r < 0) {
    error = std::string("cannot watch the owner of ") + std::string(fcitxBusName) + ": " + std::strerror(-r);
    return nullptr;
  }
  // Someone may own it already; the signal tells only of changes.
  if (auto reply = self->callTo(busDriver, busDriverPath, busDriver, "GetNameOwner", "s", fcitxBusName.data())) {
    const char* owner = nullptr;
    if (sd_bus_message_read(reply.get(), "s", &owner) > 0) self->owner_ = owner;
  }
  return self;
}

SessionBus::~SessionBus() {
  sd_bus_slot_unref(ownerSlot_);
  sd_bus_flush_close_unref(bus_);
}

Message SessionBus::newCall(const std::string& destination, std::string_view path, std::string_view interface,
                            std::string_view member) {
  sd_bus_message* m = nullptr;
  const int r = sd_bus_message_new_method_call(bus_, &m, destination.c_str(), std::string(path).c_str(),
                                               std::string(interface).c_str(), std::string(member).c_str());
  if (r < 0) lastError_ = std::string(member) + ": " + std::strerror(-r);
  return Message(r < 0 ? nullptr : m);
}

Message SessionBus::send(Message call) {
  if (!call) return nullptr;
  sd_bus_error error = SD_BUS_ERROR_NULL;
  sd_bus_message* reply = nullptr;
  const int r = sd_bus_call(bus_, call.get(), microseconds(busTimeout), &error, &reply);
  if (r < 0) {
    lastError_ = std::string(sd_bus_message_get_member(call.get())) + ": " +
                 (error.message ? error.message : std::strerror(-r));
    sd_bus_error_free(&error);
    return nullptr;
  }
  return Message(reply);
}

bool SessionBus::post(std::string_view path, std::string_view interface, std::string_view member) {
  auto m = newCall(std::string(fcitxBusName), path, interface, member);
  if (!m) return false;
  sd_bus_message_set_expect_reply(m.get(), 0);
  const int r = sd_bus_send(bus_, m.get(), nullptr);
  if (r < 0) lastError_ = std::string(member) + ": " + std::strerror(-r);
  return r >= 0 && sd_bus_flush(bus_) >= 0;
}

void SessionBus::dispatch() {
  while (sd_bus_process(bus_, nullptr) > 0) {
  }
}

bool SessionBus::waitUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    dispatch();
    if (done()) return true;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    // Wakes on traffic; the cap lets `done` look at things off the bus too.
    sd_bus_wait(bus_, microseconds(std::min(left, std::chrono::milliseconds(50))));
  }
}

bool SessionBus::settle(const std::string& peer) {
  auto reply = callTo(peer, "/", "org.freedesktop.DBus.Peer", "Ping", nullptr);
  dispatch();
  return reply != nullptr;
}

pid_t SessionBus::processOf(const std::string& uniqueName) {
  auto reply = callTo(busDriver, busDriverPath, busDriver, "GetConnectionUnixProcessID", "s", uniqueName.c_str());
  uint32_t pid = 0;
  if (reply) sd_bus_message_read(reply.get(), "u", &pid);
  return static_cast<pid_t>(pid);
}

int SessionBus::onOwnerChanged(sd_bus_message* m, void* self, sd_bus_error*) {
  auto& bus = *static_cast<SessionBus*>(self);
  const char* name = nullptr;
  const char* before = nullptr;
  const char* after = nullptr;
  if (sd_bus_message_read(m, "sss", &name, &before, &after) <= 0 || fcitxBusName != name) return 0;
  if (*before) bus.record("fcitx5 left");
  bus.owner_ = after;
  return 0;
}

// An input context.

std::unique_ptr<InputContext> InputContext::open(SessionBus& bus, std::string program, bool drawsCandidates) {
  std::unique_ptr<InputContext> ic(new InputContext(bus, std::move(program)));
  auto reply = bus.call("/org/freedesktop/portal/inputmethod", "org.fcitx.Fcitx.InputMethod1", "CreateInputContext",
                        "a(ss)", 1, "program", ic->program_.c_str());
  const char* path = nullptr;
  if (!reply || sd_bus_message_read(reply.get(), "o", &path) <= 0) {
    ADD_FAILURE() << "Fcitx5 made no input context: " << bus.lastError();
    return nullptr;
  }
  ic->path_ = path;
  ic->server_ = sd_bus_message_get_sender(reply.get());
  // The signals come to this connection alone; the match hands them over.
  if (sd_bus_match_signal(bus.get(), &ic->slot_, ic->server_.c_str(), ic->path_.c_str(), inputContextInterface,
                          nullptr, &InputContext::onSignal, ic.get()) < 0) {
    ADD_FAILURE() << "cannot watch the signals of " << ic->path_;
    return nullptr;
  }

  fcitx::CapabilityFlags capabilities{fcitx::CapabilityFlag::Preedit, fcitx::CapabilityFlag::FormattedPreedit};
  if (drawsCandidates) capabilities |= fcitx::CapabilityFlag::ClientSideInputPanel;
  const bool ready = bus.callTo(ic->server_, ic->path_, inputContextInterface, "SetCapability", "t",
                                static_cast<uint64_t>(capabilities.toInteger())) &&
                     ic->focusIn() &&
                     // Chosen for the context focused last, as from the tray.
                     bus.callTo(ic->server_, "/controller", "org.fcitx.Fcitx.Controller1", "SetCurrentIM", "s",
                                "orvane");
  if (!ready) {
    ADD_FAILURE() << "Fcitx5 refused to set up " << ic->path_ << ": " << bus.lastError();
    return nullptr;
  }
  if (!bus.waitUntil([&] { return ic->inputMethod_ == "orvane"; })) {
    ADD_FAILURE() << "the input context never switched to orvane (it has \"" << ic->inputMethod_ << "\")";
    return nullptr;
  }
  return ic;
}

InputContext::~InputContext() {
  if (bus_.fcitxOwner() == server_) bus_.callTo(server_, path_, inputContextInterface, "DestroyIC", nullptr);
  sd_bus_slot_unref(slot_);
}

bool InputContext::press(std::string_view keyName) {
  const fcitx::Key key{std::string(keyName)};
  if (!key.isValid()) {
    ADD_FAILURE() << "no key is called " << keyName;
    return false;
  }
  return press(key);
}

bool InputContext::press(const fcitx::Key& key) {
  int taken = 0;
  for (const int release : {0, 1}) {
    auto reply = bus_.callTo(server_, path_, inputContextInterface, "ProcessKeyEvent", "uuubu",
                             static_cast<uint32_t>(key.sym()), 0u, static_cast<uint32_t>(key.states().toInteger()), release, 0u);
    if (!reply) {
      ADD_FAILURE() << key.toString() << ": " << bus_.lastError();
      return false;
    }
    if (!release) sd_bus_message_read(reply.get(), "b", &taken);
  }
  bus_.settle(server_);
  return taken != 0;
}

bool InputContext::type(std::string_view keys) {
  bool all = true;
  for (const char c : keys) all = press(fcitx::Key(fcitx::Key::keySymFromUnicode(static_cast<unsigned char>(c)))) && all;
  return all;
}

bool InputContext::callOwn(std::string_view member) {
  const bool ok = bus_.callTo(server_, path_, inputContextInterface, member, nullptr) != nullptr;
  if (!ok) ADD_FAILURE() << bus_.lastError();
  bus_.settle(server_);
  return ok;
}

bool InputContext::focusIn() { return callOwn("FocusIn"); }
bool InputContext::focusOut() { return callOwn("FocusOut"); }
bool InputContext::reset() { return callOwn("Reset"); }
bool InputContext::nextPage() { return callOwn("NextPage"); }

bool InputContext::selectCandidate(int indexOnPage) {
  const bool ok = bus_.callTo(server_, path_, inputContextInterface, "SelectCandidate", "i", indexOnPage) != nullptr;
  if (!ok) ADD_FAILURE() << bus_.lastError();
  bus_.settle(server_);
  return ok;
}

std::string InputContext::Preedit::text() const {
  std::string out;
  for (const auto& span : spans) out += span.text;
  return out;
}

int InputContext::onSignal(sd_bus_message* m, void* self, sd_bus_error*) {
  auto& ic = *static_cast<InputContext*>(self);
  const std::string_view member = sd_bus_message_get_member(m);
  if (member == "CommitString") {
    const char* text = nullptr;
    if (sd_bus_message_read(m, "s", &text) <= 0) return 0;
    ic.commits_.push_back(text);
    ic.bus_.record(ic.program_ + ": " + text);
  } else if (member == "UpdateFormattedPreedit") {
    Preedit preedit;
    if (!readSpans(m, preedit.spans) || sd_bus_message_read(m, "i", &preedit.cursor) <= 0) return 0;
    ic.preedit_ = preedit;
    ic.preedits_.push_back(std::move(preedit));
  } else if (member == "UpdateClientSideUI") {
    // preedit, cursor, auxiliary texts above and below, then the candidates.
    if (sd_bus_message_skip(m, "a(si)ia(si)a(si)") < 0 || sd_bus_message_enter_container(m, 'a', "(ss)") < 0)
      return 0;
    Candidates candidates;
    const char* label = nullptr;
    const char* text = nullptr;
    while (sd_bus_message_read(m, "(ss)", &label, &text) > 0) candidates.rows.push_back(text);
    int layout = 0;
    int hasPrev = 0;
    int hasNext = 0;
    if (sd_bus_message_exit_container(m) < 0 ||
        sd_bus_message_read(m, "iibb", &candidates.selected, &layout, &hasPrev, &hasNext) <= 0)
      return 0;
    candidates.hasPrev = hasPrev;
    candidates.hasNext = hasNext;
    ic.candidates_ = std::move(candidates);
  } else if (member == "CurrentIM") {
    const char* name = nullptr;
    const char* uniqueName = nullptr;
    const char* language = nullptr;
    if (sd_bus_message_read(m, "sss", &name, &uniqueName, &language) > 0) ic.inputMethod_ = uniqueName;
  }
  return 0;
}

}  // namespace orvane::fcitx5::testing
