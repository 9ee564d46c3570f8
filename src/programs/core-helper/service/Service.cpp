#include "programs/core-helper/service/Service.h"

#include "commands/RequestKey.h"
#include "helper/HelperTool.h"
#include "platform/linux/helper/HelperProtocol.h"
#include "platform/linux/system/System.h"
#include "platform/posix/ErrorStream.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Sentence.h"
#include "platform/values/Tick.h"
#include "programs/core-helper/installation/InstallFolders.h"
#include "programs/core-helper/installation/Removal.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <ctime>
#include <utility>

namespace quorlin {
namespace {

constexpr std::ptrdiff_t kMostCallsOfACaller = 4;
constexpr std::ptrdiff_t kMostCallsOfAUser = 16;

/// Bounds how often a caller can have thresholds written, which firmware keeps in memory that wears out. The
/// agent decides at every second tick.
constexpr std::chrono::seconds kPauseBeforeHold{1};
static_assert(kPauseBeforeHold < kPowerPeriod);

constexpr const char* kTooManyCalls = "too many calls are waiting for an answer";
const Refusal kCallerGone = {SD_BUS_ERROR_NO_REPLY, "the caller has left the bus"};

std::uint64_t microseconds(std::chrono::microseconds duration) {
  return static_cast<std::uint64_t>(duration.count());
}

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

  static int callerGone(sd_bus_track* /*track*/, void* userdata) {
    auto* const call = static_cast<Call*>(userdata);
    call->service.finish(*call);
    return 0;
  }

  static int holderGone(sd_bus_track* /*track*/, void* userdata) {
    auto* const service = static_cast<Service*>(userdata);
    service->releaseCharge("the charge is released because the caller left the bus: {}");
    service->restartIdleTime();
    return 0;
  }

  static int measured(sd_event_source* /*source*/, std::uint64_t /*time*/, void* userdata) {
    auto* const call = static_cast<Call*>(userdata);
    Service& service = call->service;
    const MetricsRequest& request = call->request.metrics;
    const PowerCounters after = readPowerCounters(service.setup_.sysfsRoot, request);
    service.answer(*call, metricsText(call->before, after, request));
    return 0;
  }

  static int idle(sd_event_source* /*source*/, std::uint64_t /*time*/, void* userdata) {
    static_cast<Service*>(userdata)->leaveIfIdle();
    return 0;
  }

  static int sleepChanged(sd_bus_message* message, void* userdata, sd_bus_error* /*error*/) {
    auto* const service = static_cast<Service*>(userdata);
    int asleep = 1;
    const bool isAwake = sd_bus_message_read_basic(message, 'b', &asleep) > 0 && asleep == 0;
    // A firmware may have forgotten the hold.
    if (isAwake && service->holder_) service->charge_.hold();
    return 0;
  }
};

Service::Service(const Setup& setup) : setup_(setup), charge_(setup.sysfsRoot, setup.heldChargeFile()) {
  sd_event* event = nullptr;
  checked(sd_event_new(&event), "Cannot make an event loop");
  event_.reset(event);
  terminationSignal_ = endOnSignal(event, SIGTERM);

  sd_bus* bus = nullptr;
  checked(sd_bus_open_system(&bus), "Cannot connect to the system bus");
  bus_.reset(bus);
  checked(sd_bus_attach_event(bus, event, SD_EVENT_PRIORITY_NORMAL), "Cannot watch the system bus");
  checked(sd_bus_set_exit_on_disconnect(bus, 1), "Cannot watch the system bus");
  dropAddressedSignals(bus);

  // The object comes first: calls may arrive as soon as the name is owned.
  sd_bus_slot* slot = nullptr;
  checked(sd_bus_add_object_vtable(bus, &slot, helperprotocol::kPath, helperprotocol::kInterface,
                                   Methods::table(), this),
          "Cannot offer the helper's methods");
  object_.reset(slot);
  checked(sd_bus_match_signal_async(bus, &slot, "org.freedesktop.login1", "/org/freedesktop/login1",
                                    "org.freedesktop.login1.Manager", "PrepareForSleep",
                                    Methods::sleepChanged, nullptr, this),
          "Cannot watch for suspend");
  sleepSignal_.reset(slot);
  sd_event_source* idle = nullptr;
  checked(sd_event_add_time_relative(event, &idle, CLOCK_MONOTONIC, microseconds(setup_.idle), 0,
                                     Methods::idle, this),
          "Cannot wait for calls");
  idle_.reset(idle);

  // Only the owner of the name holds the charge.
  checked(sd_bus_request_name(bus, kHelperLabel.data(), 0),
          "Cannot take the helper's name on the system bus");
  // Only the earlier process knew who asked for the hold.
  if (charge_.hasHeld()) releaseCharge("the charge is released because the helper that held it ended: {}");
}

void Service::run() {
  const int result = sd_event_loop(event_.get());
  if (holder_) releaseCharge("the charge is released because the helper is stopping: {}");
  if (checked(result, "Cannot run the event loop") != 0) throw BusError("the system bus has gone away");
}

int Service::take(Method method, sd_bus_message* message, sd_bus_error* error) {
  // The bus bounds only the calls that wait for an answer.
  if (sd_bus_message_get_expect_reply(message) == 0) return 1;
  const Result<Request, Refusal> request =
      readRequest(method, message, requestKey(LinuxSystem().localizedHostName()).value_or(""));
  if (!request) return sd_bus_error_set(error, request.error().name, request.error().text.c_str());
  const char* const caller = sd_bus_message_get_sender(message);
  sd_bus_creds* found = nullptr;
  uid_t user = 0;
  if (std::ranges::count(calls_, std::string_view(caller), &Call::caller) >= kMostCallsOfACaller) {
    return sd_bus_error_set(error, SD_BUS_ERROR_LIMITS_EXCEEDED, kTooManyCalls);
  }
  // The bus knows the user; the caller could lie.
  int result = sd_bus_query_sender_creds(message, SD_BUS_CREDS_EUID, &found);
  const BusCredentials credentials(found);
  if (result >= 0) result = sd_bus_creds_get_euid(found, &user);
  if (result < 0) return sd_bus_error_set_errno(error, result);
  if (std::ranges::count(calls_, user, &Call::user) >= kMostCallsOfAUser) {
    return sd_bus_error_set(error, SD_BUS_ERROR_LIMITS_EXCEEDED, kTooManyCalls);
  }

  Call& call = calls_.emplace_back(Call{.service = *this,
                                        .request = *request,
                                        .message = BusMessage(sd_bus_message_ref(message)),
                                        .caller = caller,
                                        .user = user});
  call.callerOnBus = trackCaller(call.caller, Methods::callerGone, &call);
  if (!call.callerOnBus) {
    refuse(call, kCallerGone);
    return 1;
  }
  const bool interactive = sd_bus_message_get_allow_interactive_authorization(message) > 0;
  try {
    call.authorization = std::make_unique<AuthorizationCheck>(
        bus_.get(), call.caller, actionOf(method), interactive,
        interactive ? setup_.patienceWithPerson : setup_.patience,
        [this, &call](const std::optional<Trouble>& refusal) { decided(call, refusal); });
  } catch (const BusError& failure) {
    decided(call, Trouble{.what = failure.what()});
  }
  return 1;
}

void Service::decided(Call& call, const std::optional<Trouble>& refusal) {
  if (refusal) return refuse(call, {SD_BUS_ERROR_ACCESS_DENIED, refusal->text()});
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
      startMeasuring(call);
      break;
    case Method::UninstallHelper:
      uninstall(call);
      break;
    case Method::LimitCharge:
      limitCharge(call);
      break;
  }
}

void Service::limitCharge(Call& call) {
  const bool hold = !call.request.mode;
  const auto now = std::chrono::steady_clock::now();
  BusTrack caller = hold ? trackCaller(call.caller, Methods::holderGone, this) : nullptr;
  if (hold && !caller) return refuse(call, kCallerGone);
  if (hold && (leaving_ || now - lastRelease_ < kPauseBeforeHold)) {
    return refuse(
        call, {SD_BUS_ERROR_LIMITS_EXCEEDED, "the charge cannot be held right now; try again in a second"});
  }
  const ChargeOutcome outcome = hold ? charge_.hold() : charge_.release();
  // The last call decides: all callers share the batteries, and polkit has allowed each of them. A held
  // charge always has a holder, also when this caller's hold failed.
  if (!hold) {
    holder_.reset();
    lastRelease_ = now;
  } else if (outcome.holding || (!holder_ && charge_.hasHeld())) {
    holder_ = std::move(caller);
  }
  restartIdleTime();
  const std::string line = filledIn(
      hold ? "{} of user {} asked to hold the charge: {}" : "{} of user {} asked to release the charge: {}",
      {call.caller, std::to_string(call.user), outcome.text});
  if (line != std::exchange(lastLogged_, line)) writeErrorLine(line);
  answer(call, outcome.text);
}

void Service::startMeasuring(Call& call) {
  const MetricsRequest& request = call.request.metrics;
  call.before = readPowerCounters(setup_.sysfsRoot, request);
  restartIdleTime();
  sd_event_source* interval = nullptr;
  const int result = sd_event_add_time_relative(event_.get(), &interval, CLOCK_MONOTONIC,
                                                microseconds(request.interval), 0, Methods::measured, &call);
  if (result < 0) return refuse(call, {SD_BUS_ERROR_FAILED, errorText(-result)});
  call.interval.reset(interval);
}

void Service::uninstall(Call& call) {
  try {
    markForRemoval(setup_);
  } catch (const InstallationError& error) {
    return refuse(call, {SD_BUS_ERROR_FAILED, error.what()});
  }
  writeErrorLine(
      filledIn("{} of user {} asked to remove the helper", {call.caller, std::to_string(call.user)}));
  answer(call, "The core helper is being removed.");
  sd_event_exit(event_.get(), 0);
}

void Service::answer(Call& call, const std::string& text) {
  sd_bus_reply_method_return(call.message.get(), "s", text.c_str());
  finish(call);
}

void Service::refuse(Call& call, const Refusal& refusal) {
  const sd_bus_error error = {.name = refusal.name, .message = refusal.text.c_str(), ._need_free = 0};
  sd_bus_reply_method_error(call.message.get(), &error);
  finish(call);
}

void Service::finish(Call& call) {
  calls_.remove_if([&call](const Call& other) { return &other == &call; });
  if (leaving_ && calls_.empty()) sd_event_exit(event_.get(), 0);
}

BusTrack Service::trackCaller(const std::string& caller, sd_bus_track_handler_t gone, void* userdata) const {
  sd_bus_track* created = nullptr;
  if (sd_bus_track_new(bus_.get(), &created, gone, userdata) < 0) return nullptr;
  BusTrack track(created);
  // Fails if the name has left the bus.
  return sd_bus_track_add_name(created, caller.c_str()) < 0 ? nullptr : std::move(track);
}

void Service::releaseCharge(const char* sentence) {
  holder_.reset();
  writeErrorLine(filledIn(sentence, {charge_.release().text}));
  lastLogged_.clear();
}

void Service::takeWaitingMessages() {
  while (sd_bus_process(bus_.get(), nullptr) > 0) {
  }
}

void Service::restartIdleTime() {
  sd_event_source_set_time_relative(idle_.get(), microseconds(setup_.idle));
  sd_event_source_set_enabled(idle_.get(), SD_EVENT_ONESHOT);
}

void Service::leaveIfIdle() {
  // A call that has arrived counts, also where this process was too slow to take it within its idle time: a
  // process that leaves would refuse to hold, and its successor might be as slow.
  takeWaitingMessages();
  if (!calls_.empty() || holder_) {
    restartIdleTime();
    return;
  }
  // Later calls start the helper again; those that have arrived are still answered. systemd sends SIGTERM to
  // a service that gives up its name (systemd.service(5), Type=dbus), which this one is about to do by
  // itself.
  leaving_ = true;
  terminationSignal_.reset();
  sd_bus_release_name(bus_.get(), kHelperLabel.data());
  takeWaitingMessages();
  if (calls_.empty()) sd_event_exit(event_.get(), 0);
}

}  // namespace quorlin
