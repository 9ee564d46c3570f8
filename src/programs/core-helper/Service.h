/// The helper on the system bus: takes calls, lets polkit decide, acts, and leaves when it is not needed.
#pragma once

#include "core-helper/AuthorizationCheck.h"
#include "core-helper/ChargeControl.h"
#include "core-helper/CoreMetrics.h"
#include "core-helper/Handles.h"
#include "core-helper/Request.h"
#include "core-helper/Setup.h"
#include "platform/linux/Bus.h"

#include <chrono>
#include <list>
#include <memory>
#include <optional>
#include <string>

namespace quorlin {

/// Everything runs on one thread, in libsystemd's event loop.
class Service {
 public:
  /// Connects to the system bus and takes the helper's name. Throws BusError.
  explicit Service(const Setup& setup);
  ~Service();
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  /// Returns when the helper is not needed any more or was told to end; a hold is released by then. Throws
  /// BusError, also when the bus has gone away.
  void run();

 private:
  struct Methods;

  /// A call from its arrival to its answer. Dropped without one when its caller leaves the bus.
  struct Call {
    Service& service;
    Request request;
    BusMessage message;
    std::string caller;
    uid_t user = 0;
    BusTrack callerOnBus;
    std::unique_ptr<AuthorizationCheck> authorization;
    PowerCounters before;
    EventSource interval;
    std::list<Call>::iterator self;
  };

  int take(Method method, sd_bus_message* message, sd_bus_error* error);
  void decided(Call& call, const std::optional<std::string>& refusal);
  void perform(Call& call);
  void limitCharge(Call& call);
  void startMeasuring(Call& call);
  void uninstall(Call& call);
  void answer(Call& call, const std::string& text);
  void refuse(Call& call, const Refusal& refusal);
  void finish(Call& call);

  BusTrack trackCaller(const std::string& caller, sd_bus_track_handler_t gone, void* userdata) const;
  void releaseCharge(const char* reason);
  void resumed(sd_bus_message* message);
  void restartIdleTime();
  void leaveIfIdle();

  Setup setup_;
  ChargeControl charge_;
  Event event_;
  SystemBus bus_;
  std::list<Call> calls_;
  BusTrack holder_;
  EventSource idle_;
  EventSource toldToEnd_;
  BusSlot object_;
  BusSlot sleepSignal_;
  bool leaving_ = false;
  std::chrono::steady_clock::time_point lastRelease_;
  std::string lastLogged_;
};

}  // namespace quorlin
