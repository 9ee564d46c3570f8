/// Who has the charge held, and how long.
#pragma once

#include "programs/core-helper/Setup.h"
#include "programs/core-helper/charge/ChargeControl.h"
#include "programs/core-helper/service/Event.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace quorlin {

/// A connection to the bus.
struct Caller {
  /// Its unique name.
  std::string name;
  uid_t user = 0;
};

/// The last caller decides, since all share the batteries and polkit has allowed each of them. A held charge
/// always has a holder. It is released when the holder leaves the bus or falls silent.
class ChargeHolder {
 public:
  /// Loop and bus outlive it.
  ChargeHolder(sd_event* event, sd_bus* bus, const Setup& setup);

  /// Releases what an earlier process has held: only that one knew for whom.
  void releaseLeftover();

  /// Returns what became of each battery, or nothing when it is too early for another hold. Throws BusError.
  std::optional<std::string> hold(const Caller& caller);
  std::string release(const Caller& caller);

  /// A call, an end, or a leaving of some caller.
  void heardFrom(const std::string& caller);
  /// Returns whether it was the holder.
  bool left(const std::string& caller);
  void stop();

  /// Firmware may have forgotten what is held, though its driver goes on showing it: writes it at once, and
  /// once more when the firmware is awake, too.
  void wokeUp();

  /// A battery that was absent at a release may be there again.
  void lookForReturned();

  const std::optional<Caller>& holder() const { return holder_; }
  bool wasDenied() const { return charge_.wasDenied(); }
  std::vector<BatteryReport> report() const { return charge_.report(); }

 private:
  static int seemsSilent(sd_event_source* source, std::uint64_t time, void* userdata);
  static int busAnswered(sd_bus_message* answer, void* userdata, sd_bus_error* error);
  static int isSilent(sd_event_source* source, std::uint64_t time, void* userdata);
  static int settled(sd_event_source* source, std::uint64_t time, void* userdata);

  void releaseBecause(const char* sentence);
  void forgetHolder();
  void logOnce(const std::string& line);

  sd_event* event_;
  sd_bus* bus_;
  const Setup& setup_;
  ChargeControl charge_;
  std::optional<Caller> holder_;
  EventSource silence_;
  BusSlot question_;
  EventSource settling_;
  bool renewsWhenSettled_ = false;
  std::optional<std::chrono::steady_clock::time_point> lastRelease_;
  std::string lastLogged_;
};

}  // namespace quorlin
