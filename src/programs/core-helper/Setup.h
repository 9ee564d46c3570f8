/// Where the helper finds the machine, and how long it waits.
#pragma once

#include <chrono>
#include <filesystem>

namespace quorlin {

/// The installed program takes these as they are; only the tests build one with others.
struct Setup {
  std::filesystem::path sysfsRoot = "/sys";
  /// What must outlive the process: what a hold changed, and that the helper is to be removed.
  std::filesystem::path stateFolder = "/var/lib/quorlin-core-helper";
  std::filesystem::path installRoot = "/";
  /// How long the helper stays without a call and without a hold.
  std::chrono::microseconds idle = std::chrono::seconds(30);
  /// How long polkit may take, alone and with a person who is asked for a password.
  std::chrono::microseconds patience = std::chrono::seconds(10);
  std::chrono::microseconds patienceWithPerson = std::chrono::minutes(2);

  std::filesystem::path heldChargeFile() const { return stateFolder / "held"; }
  std::filesystem::path removalMark() const { return stateFolder / "remove"; }
};

}  // namespace quorlin
