/// Whether the charge is held at its limit, and if not, why and what to do.
#pragma once

#include "programs/quorlinctl/services/Helper.h"
#include "programs/quorlinctl/view/Battery.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

/// What decides about the hold.
struct HoldFacts {
  struct NamedBattery {
    std::string name;
    Battery battery;
    /// The attribute by which its driver can hold the charge; empty if it cannot.
    std::string attribute;
  };

  /// Percent.
  std::int64_t limit = 100;
  /// The agent decides by the first.
  std::vector<NamedBattery> batteries;
  bool isCoreOn = false;
  /// Whole sentences; empty where nothing is wrong.
  std::string agentTrouble;
  std::string agentAdvice;
  std::string helperTrouble;
  std::string helperAdvice;
  bool hasConsumer = false;
  HelperHold hold;
  /// For whom it is held: "process 12 of user anna".
  std::string holder;
  /// Other programs here that are known to set thresholds.
  std::string otherWriters;
};

enum class HoldState { NoBattery, NoLimit, Held, WillHold, Pending, NotHeld };

struct HoldVerdict {
  HoldState state = HoldState::NotHeld;
  /// Whole sentences; the advice is empty if there is nothing to do.
  std::string text;
  std::string advice = {};

  std::string line() const { return advice.empty() ? text : text + " " + advice; }
};

HoldVerdict verdictOf(const HoldFacts& facts);

/// "no-battery", "no-limit", "held", "will-hold", "pending" or "not-held".
std::string_view wordOf(HoldState state);

}  // namespace quorlin
