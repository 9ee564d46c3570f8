/// Holds the charge of the computer's batteries through what their drivers offer.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace quorlin {

/// What hold() and release() did: for people, a battery a line, naming each firmware that did not do as it
/// was told. Holding is whether at least one battery is held now.
struct ChargeOutcome {
  bool holding = false;
  std::string text;
};

/// What it changes is first written down in the state file, so that whoever starts next can put it back.
class ChargeControl {
 public:
  ChargeControl(std::filesystem::path sysfsRoot, std::filesystem::path stateFile);

  /// Stops every system battery that can be stopped from charging further. Writes nothing that is already
  /// as wanted, and asks a firmware that refused once more only at another charge or after a release.
  ChargeOutcome hold();

  /// Puts back what hold() found, also what an earlier process held.
  ChargeOutcome release();

  /// Whether the state file says that something is held.
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
