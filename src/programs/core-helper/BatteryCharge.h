/// One battery's charging, held and put back.
#pragma once

#include "core-helper/HeldCharge.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quorlin {

class BatteryCharge {
 public:
  /// The battery's folder in sysfs, and what is written down about all batteries.
  BatteryCharge(std::filesystem::path folder, HeldCharge& held);

  const std::string& name() const { return name_; }

  struct Result {
    bool isDone = false;
    std::string text;
  };

  /// Stops it from charging further, and has in the file what it changes for that. Undoes what did not help.
  Result hold();

  /// Puts back what is written down, and forgets it in memory.
  Result putBack();

 private:
  Result holdByBehaviour();
  Result holdByThreshold();

  // These return a trouble, empty where there is none. A value that the driver refuses is none: like one that
  // the firmware ignores it is noticed in what is read back.
  std::string setEnd(int percent);
  std::string change(std::string_view attribute, const std::string& wanted);
  std::string writeDown(std::string_view attribute);
  std::string write(std::string_view attribute, const std::string& wanted) const;
  std::string putBack(std::string_view attribute);

  /// What an attribute stands at; of a choice, the word in brackets.
  std::string value(std::string_view attribute) const;
  std::optional<int> percent(std::string_view attribute) const;
  std::string keeps(std::string_view attribute, std::string_view wanted) const;

  std::filesystem::path folder_;
  std::string name_;
  HeldCharge& held_;
};

}  // namespace quorlin
