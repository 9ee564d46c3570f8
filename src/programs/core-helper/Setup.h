/// Where the helper finds the machine, and how long it waits.
#pragma once

#include "platform/linux/system/SystemRoots.h"

#include <chrono>
#include <filesystem>

namespace quorlin {

/// The installed program always has these values; the tests build one with others.
struct Setup {
  std::filesystem::path sysfsRoot = SystemRoots().sysfs;
  /// For the former values of what a hold has changed, and for the mark of a removal.
  std::filesystem::path stateFolder = "/var/lib/quorlin-core-helper";
  std::filesystem::path installRoot = "/";
  /// How long the helper stays without a call and without a hold.
  std::chrono::milliseconds idle = std::chrono::seconds(30);
  /// How long polkit may take, alone and when it asks a person for a password.
  std::chrono::milliseconds patience = std::chrono::seconds(10);
  std::chrono::milliseconds patienceWithPerson = std::chrono::minutes(2);

  std::filesystem::path heldChargeFile() const { return stateFolder / "held"; }
  std::filesystem::path removalMark() const { return stateFolder / "remove"; }
};

}  // namespace quorlin
