/// Holds the charge of the computer's batteries through what their drivers offer.
#pragma once

#include "programs/core-helper/charge/BatteryCharge.h"

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorlin {

/// What became of one battery at the last request, and what is known since.
struct BatteryReport {
  std::string battery;
  bool isHeld = false;
  /// The attribute by which it is or would be held; empty where the driver offers none.
  std::string attribute;
  /// For people; empty before the first request and after a release that went well.
  std::string text;
};

/// The outcome of hold() and release(): whether at least one battery is held now, and a line for the
/// user about each battery.
struct ChargeOutcome {
  bool holding = false;
  std::string text;
};

/// The state file has each former value before a change, so that the next process can restore it.
class ChargeControl {
 public:
  ChargeControl(std::filesystem::path sysfsRoot, std::filesystem::path stateFile);

  /// Stops every system battery that can be stopped from charging further. Writes nothing that is already as
  /// wanted, unless the battery charges on: then its firmware has forgotten, and is told once a percent.
  /// After a refusal, asks again only at another charge level or after a release. What another program has
  /// set since stays; a value that is as before the hold is taken for the firmware's the first time and for
  /// another program's the second.
  ChargeOutcome hold();

  /// After a sleep: writes what is held again, also where the driver shows it still.
  void renew();

  /// Some seconds after hold() or renew(), when a firmware has made of the values what it will.
  void settle();

  /// Restores the values that hold() found, also in an earlier process. If the state file cannot be read, it
  /// is set aside as FILE.unreadable and the batteries may charge fully.
  ChargeOutcome release();

  /// Whether there is something to release: the state file has a former value of a present battery, or
  /// cannot be read.
  bool hasHeld() const;

  /// Whether a battery that was absent at a release is there again.
  bool hasReturned() const;

  /// Whether a driver has an attribute that this process may not write. One that is started later may.
  bool wasDenied() const { return wasDenied_; }

  /// One for each battery that is present now.
  std::vector<BatteryReport> report() const;

 private:
  /// What is known of a battery besides the state file.
  struct Memory {
    std::string text;
    /// The charge at which its firmware has refused; empty if it has not.
    std::string refusedAt;
    /// The charge at which what holds it was written last.
    std::optional<int> writtenAt;
    bool hasFallenBack = false;
    /// Its firmware may still change what was written.
    bool isSettling = false;
  };

  static Result<std::string> hold(BatteryCharge& battery, const std::filesystem::path& folder, int least,
                                  Memory& memory);
  ChargeOutcome releaseUnknown(const Trouble& trouble);
  template <typename Change>
  void changeHeld(const Change& change);

  std::filesystem::path sysfsRoot_;
  std::filesystem::path stateFile_;
  /// By the batteries' names.
  std::map<std::string, Memory> memories_;
  std::set<std::string> absent_;
  bool wasDenied_ = false;
};

}  // namespace quorlin
