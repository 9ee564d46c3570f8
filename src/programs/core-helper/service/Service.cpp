#include "programs/core-helper/service/Service.h"

#include "helper/HelperTool.h"
#include "platform/linux/helper/HelperProtocol.h"
#include "platform/posix/ErrorStream.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Sentence.h"
#include "programs/core-helper/installation/InstallFolders.h"
#include "programs/core-helper/installation/Removal.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <utility>

namespace quorlin {
namespace {

constexpr std::ptrdiff_t kMostCallsOfACaller = 4;
constexpr std::ptrdiff_t kMostCallsOfAUser = 16;

const Refusal kTooManyCalls = {SD_BUS_ERROR_LIMITS_EXCEEDED, "too many calls are waiting for an answer"};

constexpr BusObject kTheBus{"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus"};

/// Ends the loop on a signal, after the current event.
EventSource endOnSignal(sd_event* event, int signal) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, signal);
  sigprocmask(SIG_BLOCK, &set, nullptr);
  sd_event_source* source = nullptr;
  checked(sd_event_add_signal(event, &source, signal, nullptr, nullptr), "Cannot watch a signal");
  return EventSource(source);
}

/// A release is never in the way of measuring, nor measuring in the way of a release.
bool isForSameLimit(Method one, Method other) {
  return (one == Method::GetCoreMetrics) == (other == Method::GetCoreMetrics);
}

}  // namespace

struct Service::Methods {
  template <Method method>
  static int take(sd_bus_message* message, void* service, sd_bus_error* error) {
    return static_cast<Service*>(service)->take(method, message, error);
  }

  static const sd_bus_vtable* table() {
    using namespace helperprotocol;
    // polkit decides who may call, not a capability.
    constexpr auto flags = SD_BUS_VTABLE_UNPRIVILEGED;
    static const std::array<sd_bus_vtable, 7> table = {
        {SD_BUS_VTABLE_START(0),
         SD_BUS_METHOD(kConnectWithEndpoint, nullptr, "s", take<Method::ConnectWithEndpoint>, flags),
         SD_BUS_METHOD(kGetVersion, nullptr, "s", take<Method::GetVersion>, flags),
         SD_BUS_METHOD(kGetCoreMetrics, "sas", "s", take<Method::GetCoreMetrics>, flags),
         SD_BUS_METHOD(kUninstallHelper, "s", "s", take<Method::UninstallHelper>, flags),
         SD_BUS_METHOD(kLimitCharge, "sb", "s", take<Method::LimitCharge>, flags), SD_BUS_VTABLE_END}};
    return table.data();
  }

  static const sd_bus_vtable* holdTable() {
    using namespace helperprotocol;
    static const std::array<sd_bus_vtable, 3> table = {
        {SD_BUS_VTABLE_START(0),
         SD_BUS_METHOD(kGetChargeHold, nullptr, kChargeHoldTypes, take<Method::GetChargeHold>,
                       SD_BUS_VTABLE_UNPRIVILEGED),
         SD_BUS_VTABLE_END}};
    return table.data();
  }

  static int nameVanished(sd_bus_message* message, void* service, sd_bus_error* /*error*/) {
    const char* name = nullptr;
    if (sd_bus_message_read_basic(message, 's', &name) > 0) static_cast<Service*>(service)->left(name);
    return 0;
  }

  static int userKnown(sd_bus_message* reply, void* userdata, sd_bus_error* /*error*/) {
    auto* const call = static_cast<Call*>(userdata);
    std::uint32_t user = 0;
    if (sd_bus_message_is_method_error(reply, nullptr) == 0 &&
        sd_bus_message_read_basic(reply, 'u', &user) > 0) {
      call->service.identified(*call, user);
    } else {
      // It has left.
      call->service.finish(*call);
    }
    return 0;
  }

  static int idle(sd_event_source* /*source*/, std::uint64_t /*time*/, void* userdata) {
    static_cast<Service*>(userdata)->askWhetherIdle();
    return 0;
  }

  static int busAnswered(sd_bus_message* /*answer*/, void* userdata, sd_bus_error* /*error*/) {
    auto* const service = static_cast<Service*>(userdata);
    service->question_.reset();
    // Not from here, where libsystemd takes no further message.
    service->idle_ = timer(service->event_.get(), {}, leaveIfIdle, service);
    return 0;
  }

  static int leaveIfIdle(sd_event_source* /*source*/, std::uint64_t /*time*/, void* userdata) {
    auto* const service = static_cast<Service*>(userdata);
    service->isIdle() ? service->leave() : service->restartIdleTime();
    return 0;
  }

  static int seen(sd_bus_message* message, void* userdata, sd_bus_error* /*error*/) {
    auto* const service = static_cast<Service*>(userdata);
    if (sd_bus_message_is_method_call(message, nullptr, nullptr) > 0) ++service->callsSeen_;
    return 0;
  }

  static int sleepChanged(sd_bus_message* message, void* userdata, sd_bus_error* /*error*/) {
    int asleep = 1;
    const bool isAwake = sd_bus_message_read_basic(message, 'b', &asleep) > 0 && asleep == 0;
    if (isAwake) static_cast<Service*>(userdata)->charge_->wokeUp();
    return 0;
  }
};

Service::Service(Setup setup) : setup_(std::move(setup)) {
  sd_event* event = nullptr;
  checked(sd_event_new(&event), "Cannot make an event loop");
  event_.reset(event);
  // Before the gate's thread, which leaves the signal to this one.
  terminationSignal_ = endOnSignal(event, SIGTERM);
  meter_.emplace(event, setup_.sysfsRoot);

  gate_.emplace(systemBusAddress());
  bus_ = gate_->connect();
  sd_bus* const bus = bus_.get();
  charge_.emplace(event, bus, setup_);
  checked(sd_bus_attach_event(bus, event, SD_EVENT_PRIORITY_NORMAL), "Cannot watch the system bus");
  checked(sd_bus_set_exit_on_disconnect(bus, 1), "Cannot watch the system bus");
  dropAddressedSignals(bus);
  checked(sd_bus_add_filter(bus, nullptr, Methods::seen, this), "Cannot watch the system bus");

  // The object comes first: calls may arrive as soon as the name is owned.
  for (const auto& [interface, table] : {std::pair(helperprotocol::kInterface, Methods::table()),
                                         {helperprotocol::kHoldInterface, Methods::holdTable()}}) {
    sd_bus_slot* slot = nullptr;
    checked(sd_bus_add_object_vtable(bus, &slot, helperprotocol::kPath, interface, table, this),
            "Cannot offer the helper's methods");
    slots_.emplace_back(slot);
  }
  // One match for all who leave: one for each caller would cost the bus two calls for each of a flood, and
  // libsystemd closes a connection whose match is not confirmed in time.
  match(
      "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
      "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg2=''",
      Methods::nameVanished);
  match(
      "type='signal',sender='org.freedesktop.login1',path='/org/freedesktop/login1',"
      "interface='org.freedesktop.login1.Manager',member='PrepareForSleep'",
      Methods::sleepChanged);
  idle_ = timer(event, setup_.idle, Methods::idle, this);

  // Only the owner of the name holds the charge.
  checked(sd_bus_request_name(bus, kHelperLabel.data(), 0),
          "Cannot take the helper's name on the system bus");
  charge_->releaseLeftover();
}

void Service::match(const char* rule, sd_bus_message_handler_t handler) {
  sd_bus_slot* slot = nullptr;
  checked(sd_bus_add_match(bus_.get(), &slot, rule, handler, this), "Cannot watch the system bus");
  slots_.emplace_back(slot);
}

void Service::run() {
  const int result = sd_event_loop(event_.get());
  charge_->stop();
  if (checked(result, "Cannot run the event loop") != 0) throw BusError("the system bus has gone away");
}

int Service::take(Method method, sd_bus_message* message, sd_bus_error* error) {
  // The bus bounds only the calls that wait for an answer.
  if (sd_bus_message_get_expect_reply(message) == 0) return 1;
  const std::string caller = sd_bus_message_get_sender(message);
  charge_->heardFrom(caller);
  const auto isOfCaller = [&](const Call& call) {
    return call.caller.name == caller && isForSameLimit(call.request.method, method);
  };
  if (std::ranges::count_if(calls_, isOfCaller) >= kMostCallsOfACaller) {
    return sd_bus_error_set(error, kTooManyCalls.name, kTooManyCalls.text.c_str());
  }
  const Result<Request, Refusal> request = readRequest(method, message);
  if (!request) return sd_bus_error_set(error, request.error().name, request.error().text.c_str());
  identify(calls_.emplace_back(Call{.service = *this,
                                    .request = *request,
                                    .message = BusMessage(sd_bus_message_ref(message)),
                                    .caller = {.name = caller}}));
  return 1;
}

void Service::identify(Call& call) {
  try {
    const BusMessage question = methodCall(bus_.get(), kTheBus, "GetConnectionUnixUser");
    sd_bus_slot* slot = nullptr;
    checked(sd_bus_message_append_basic(question.get(), 's', call.caller.name.c_str()), "Cannot ask the bus");
    checked(sd_bus_call_async(bus_.get(), &slot, question.get(), Methods::userKnown, &call, 0),
            "Cannot ask the bus");
    call.identity.reset(slot);
  } catch (const BusError& failure) {
    refuse(call, {SD_BUS_ERROR_FAILED, failure.what()});
  }
}

void Service::identified(Call& call, uid_t user) {
  const auto isOfUser = [&](const Call& other) {
    return other.isIdentified && other.caller.user == user &&
           isForSameLimit(other.request.method, call.request.method);
  };
  if (std::ranges::count_if(calls_, isOfUser) >= kMostCallsOfAUser) return refuse(call, kTooManyCalls);
  call.caller.user = user;
  call.isIdentified = true;
  const bool interactive = sd_bus_message_get_allow_interactive_authorization(call.message.get()) > 0;
  try {
    call.authorization = std::make_unique<AuthorizationCheck>(
        bus_.get(), call.caller.name, actionOf(call.request.method), interactive,
        interactive ? setup_.patienceWithPerson : setup_.patience,
        [this, &call](const std::optional<Trouble>& refusal) { decided(call, refusal); });
  } catch (const BusError& failure) {
    decided(call, Trouble{.what = failure.what()});
  }
}

void Service::decided(Call& call, const std::optional<Trouble>& refusal) {
  if (refusal) return refuse(call, {SD_BUS_ERROR_ACCESS_DENIED, refusal->text()});
  try {
    switch (call.request.method) {
      case Method::ConnectWithEndpoint: {
        const char* name = nullptr;
        sd_bus_get_unique_name(bus_.get(), &name);
        answer(call, name == nullptr ? "" : name);
        break;
      }
      case Method::GetVersion:
        answer(call, QUORLIN_VERSION);
        break;
      case Method::GetCoreMetrics:
        restartIdleTime();
        charge_->lookForReturned();
        meter_->measure(&call, call.request.metrics,
                        [this, &call](const std::string& text) { answer(call, text); });
        break;
      case Method::UninstallHelper:
        uninstall(call);
        break;
      case Method::LimitCharge:
        limitCharge(call);
        break;
      case Method::GetChargeHold:
        answerWithHold(call);
        break;
    }
  } catch (const BusError& failure) {
    refuse(call, {SD_BUS_ERROR_FAILED, failure.what()});
  }
}

void Service::limitCharge(Call& call) {
  restartIdleTime();
  if (call.request.mode) return answer(call, charge_->release(call.caller));
  const std::optional<std::string> held = leaving_ ? std::nullopt : charge_->hold(call.caller);
  if (held) {
    answer(call, *held);
    // A driver has added its attributes since the start, which lends them; the next call starts another.
    if (charge_->wasDenied()) idle_ = timer(event_.get(), {}, Methods::leaveIfIdle, this);
    return;
  }
  refuse(call, {SD_BUS_ERROR_LIMITS_EXCEEDED,
                "the charge was released only just now; it can be held again in a few seconds"});
}

void Service::uninstall(Call& call) {
  try {
    markForRemoval(setup_);
  } catch (const InstallationError& error) {
    return refuse(call, {SD_BUS_ERROR_FAILED, error.what()});
  }
  writeErrorLine(filledIn("{} of user {} asked to remove the helper",
                          {call.caller.name, std::to_string(call.caller.user)}));
  answer(call, "The core helper is being removed.");
  sd_event_exit(event_.get(), 0);
}

void Service::answer(Call& call, const std::string& text) {
  sd_bus_reply_method_return(call.message.get(), "s", text.c_str());
  finish(call);
}

void Service::answerWithHold(Call& call) {
  constexpr const char* attempt = "Cannot write an answer";
  sd_bus_message* created = nullptr;
  checked(sd_bus_message_new_method_return(call.message.get(), &created), attempt);
  const BusMessage reply(created);
  const Caller holder = charge_->holder().value_or(Caller());
  checked(sd_bus_message_append(created, "su", holder.name.c_str(), holder.user), attempt);
  checked(sd_bus_message_open_container(created, 'a', "(sbss)"), attempt);
  for (const BatteryReport& battery : charge_->report()) {
    checked(sd_bus_message_append(created, "(sbss)", displayText(battery.battery).c_str(),
                                  static_cast<int>(battery.isHeld), battery.attribute.c_str(),
                                  displayText(battery.text).c_str()),
            attempt);
  }
  checked(sd_bus_message_close_container(created), attempt);
  sd_bus_send(bus_.get(), created, nullptr);
  finish(call);
}

void Service::refuse(Call& call, const Refusal& refusal) {
  const sd_bus_error error = {.name = refusal.name, .message = refusal.text.c_str(), ._need_free = 0};
  sd_bus_reply_method_error(call.message.get(), &error);
  finish(call);
}

void Service::finish(Call& call) {
  meter_->forget(&call);
  calls_.remove_if([&call](const Call& other) { return &other == &call; });
  if (leaving_ && isIdle()) sd_event_exit(event_.get(), 0);
}

void Service::left(const std::string& caller) {
  for (auto call = calls_.begin(); call != calls_.end();) {
    const auto following = std::next(call);
    if (call->caller.name == caller) finish(*call);
    call = following;
  }
  if (charge_->left(caller)) restartIdleTime();
}

void Service::restartIdleTime() { idle_ = timer(event_.get(), setup_.idle, Methods::idle, this); }

bool Service::isIdle() const {
  return calls_.empty() && !charge_->holder() && callsSeen_ == gate_->callsReceived();
}

void Service::askWhetherIdle() {
  if (!isIdle()) return restartIdleTime();
  if (leaving_) {
    sd_event_exit(event_.get(), 0);
    return;
  }
  // A call that the bus has taken counts, also where this process was too slow to see it within its idle
  // time: a process that leaves would refuse to hold, and its successor might be as slow. The bus answers
  // after it.
  sd_bus_slot* slot = nullptr;
  const int asked = sd_bus_call_method_async(bus_.get(), &slot, kTheBus.name, kTheBus.path, kTheBus.interface,
                                             "GetId", Methods::busAnswered, this, "");
  question_.reset(slot);
  if (asked < 0) restartIdleTime();
}

void Service::leave() {
  // Later calls start the helper again; those that have arrived are still answered. systemd sends SIGTERM to
  // a service that gives up its name (systemd.service(5), Type=dbus), which this one is about to do by
  // itself.
  leaving_ = true;
  terminationSignal_.reset();
  sd_bus_release_name(bus_.get(), kHelperLabel.data());
  if (isIdle()) {
    sd_event_exit(event_.get(), 0);
  } else {
    restartIdleTime();
  }
}

}  // namespace quorlin
