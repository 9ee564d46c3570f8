/// Holds the charge of the computer's batteries through what their drivers offer.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace quorlin {

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
  /// wanted. After a refusal, asks again only at another charge level or after a release.
  ChargeOutcome hold();

  /// Restores the values that hold() found, also in an earlier process.
  ChargeOutcome release();

  /// Whether the state file has a former value of a present battery.
  bool hasHeld() const;

 private:
  struct Refusal {
    std::string capacity;
    std::string text;
  };

  std::filesystem::path sysfsRoot_;
  std::filesystem::path stateFile_;
  /// By the batteries' names.
  std::map<std::string, Refusal> refusals_;
};

}  // namespace quorlin
