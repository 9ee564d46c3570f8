/// The helper on the system bus: takes calls, lets polkit decide, acts, and exits when it is idle.
#pragma once

#include "platform/linux/bus/Bus.h"
#include "programs/core-helper/Setup.h"
#include "programs/core-helper/charge/ChargeControl.h"
#include "programs/core-helper/metrics/CoreMetrics.h"
#include "programs/core-helper/service/AuthorizationCheck.h"
#include "programs/core-helper/service/Request.h"

#include <chrono>
#include <list>
#include <memory>
#include <optional>
#include <string>

#include <systemd/sd-event.h>

namespace quorlin {

using BusTrack = Owned<sd_bus_track, sd_bus_track_unref>;
using Event = Owned<sd_event, sd_event_unref>;
/// Disabled before it is released: the loop may keep it a little longer.
using EventSource = Owned<sd_event_source, sd_event_source_disable_unref>;

/// Everything runs on one thread, in libsystemd's event loop.
class Service {
 public:
  /// Connects to the system bus and takes the helper's name. Throws BusError.
  explicit Service(const Setup& setup);
  Service(const Service&) = delete;

  /// Returns when the helper is idle or has received SIGTERM; a hold is released by then. Throws BusError,
  /// also when the bus has gone away.
  void run();

 private:
  struct Methods;

  /// A call from its arrival to its answer. Dropped unanswered when its caller leaves the bus.
  struct Call {
    Service& service;
    Request request;
    BusMessage message;
    std::string caller;
    uid_t user;
    BusTrack callerOnBus = nullptr;
    std::unique_ptr<AuthorizationCheck> authorization = nullptr;
    PowerCounters before = {};
    EventSource interval = nullptr;
  };

  int take(Method method, sd_bus_message* message, sd_bus_error* error);
  void decided(Call& call, const std::optional<Trouble>& refusal);
  void limitCharge(Call& call);
  void startMeasuring(Call& call);
  void uninstall(Call& call);
  void answer(Call& call, const std::string& text);
  void refuse(Call& call, const Refusal& refusal);
  void finish(Call& call);

  BusTrack trackCaller(const std::string& caller, sd_bus_track_handler_t gone, void* userdata) const;
  void releaseCharge(const char* sentence);
  void takeWaitingMessages();
  void restartIdleTime();
  void leaveIfIdle();

  Setup setup_;
  ChargeControl charge_;
  Event event_;
  BusHandle bus_;
  std::list<Call> calls_;
  BusTrack holder_;
  EventSource idle_;
  EventSource terminationSignal_;
  BusSlot object_;
  BusSlot sleepSignal_;
  bool leaving_ = false;
  std::chrono::steady_clock::time_point lastRelease_;
  std::string lastLogged_;
};

}  // namespace quorlin
