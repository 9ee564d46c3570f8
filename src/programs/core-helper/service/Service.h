/// The helper on the system bus: takes calls, lets polkit decide, acts, and exits when it is idle.
#pragma once

#include "platform/linux/bus/Bus.h"
#include "programs/core-helper/Setup.h"
#include "programs/core-helper/metrics/PowerMeter.h"
#include "programs/core-helper/service/AuthorizationCheck.h"
#include "programs/core-helper/service/BusGate.h"
#include "programs/core-helper/service/ChargeHolder.h"
#include "programs/core-helper/service/Event.h"
#include "programs/core-helper/service/Request.h"

#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorlin {

/// Everything but the gate runs on one thread, in libsystemd's event loop. Once it serves, it waits for no
/// answer of the bus, so that no flood of calls can come between it and one.
class Service {
 public:
  /// Connects to the system bus and takes the helper's name. Throws BusError.
  explicit Service(Setup setup);
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
    Caller caller;
    /// The bus knows the user; the caller could lie.
    bool isIdentified = false;
    BusSlot identity = nullptr;
    std::unique_ptr<AuthorizationCheck> authorization = nullptr;
  };

  int take(Method method, sd_bus_message* message, sd_bus_error* error);
  void identify(Call& call);
  void identified(Call& call, uid_t user);
  void decided(Call& call, const std::optional<Trouble>& refusal);
  void limitCharge(Call& call);
  void uninstall(Call& call);
  void answer(Call& call, const std::string& text);
  void answerWithHold(Call& call);
  void refuse(Call& call, const Refusal& refusal);
  void finish(Call& call);
  void left(const std::string& caller);

  void match(const char* rule, sd_bus_message_handler_t handler);
  void restartIdleTime();
  bool isIdle() const;
  void askWhetherIdle();
  void leave();

  Setup setup_;
  Event event_;
  std::optional<BusGate> gate_;
  BusHandle bus_;
  std::optional<ChargeHolder> charge_;
  std::optional<PowerMeter> meter_;
  std::list<Call> calls_;
  EventSource idle_;
  EventSource terminationSignal_;
  std::vector<BusSlot> slots_;
  BusSlot question_;
  std::uint64_t callsSeen_ = 0;
  bool leaving_ = false;
};

}  // namespace quorlin
