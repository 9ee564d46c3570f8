/// Where the helper finds the machine, and how long it waits.
#pragma once

#include "platform/linux/helper/HelperProtocol.h"
#include "platform/linux/system/SystemRoots.h"
#include "platform/values/Tick.h"

#include <chrono>
#include <filesystem>
#include <string>

namespace quorlin {

/// Made by the helper's file for systemd-sysusers(8).
inline constexpr const char* kHelperUser = "quorlin-core-helper";

/// The installed program always has these values; the tests build one with others.
struct Setup {
  std::filesystem::path sysfsRoot = SystemRoots().sysfs;
  /// For the former values of what a hold has changed, and for the mark of a removal.
  std::filesystem::path stateFolder = "/var/lib/quorlin-core-helper";
  std::filesystem::path installRoot = "/";
  std::string user = kHelperUser;
  /// How long the helper stays without a call and without a hold.
  std::chrono::milliseconds idle = std::chrono::seconds(30);
  /// How long polkit may take, alone and when it asks a person for a password.
  std::chrono::milliseconds patience = std::chrono::seconds(10);
  std::chrono::milliseconds patienceWithPerson = helperprotocol::kPatienceWithPerson;
  /// From a release to the next hold: firmware keeps thresholds in memory that wears out, and the agent
  /// decides at every second tick.
  std::chrono::milliseconds pauseBeforeHold = kPowerPeriod;
  /// How long one that holds may be silent, in all a minute, of which its call may wait the second part for
  /// its turn; the agent calls at every second tick.
  std::chrono::milliseconds patienceWithHolder = std::chrono::seconds(50);
  std::chrono::milliseconds patienceWithTurn = std::chrono::seconds(10);
  /// How long a firmware may take to come to terms with what it was told, and to wake up.
  std::chrono::milliseconds settling = std::chrono::seconds(10);

  std::filesystem::path heldChargeFile() const { return stateFolder / "held"; }
  std::filesystem::path removalMark() const { return stateFolder / "remove"; }
};

}  // namespace quorlin
