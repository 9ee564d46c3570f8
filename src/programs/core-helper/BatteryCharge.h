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
  /// A battery whose charge is below that percentage may still charge up to it.
  Result hold(int least);

  /// Whether hold() has asked the firmware for anything, and not only looked.
  bool wasAsked() const { return wasAsked_; }

  /// Puts back what is written down and nobody else has changed since, and forgets it in memory.
  Result putBack();

 private:
  Result holdByBehaviour();
  Result holdByThreshold(int least);
  void setEnd(int percent);
  /// Has the attribute read as wanted unless that fails.
  void change(std::string_view attribute, std::string_view wanted);
  bool writeDown(std::string_view attribute);
  /// The error, 0 where there is none.
  int write(std::string_view attribute, std::string_view wanted) const;

  /// These two return what is to be said, empty where all is well.
  std::string leaveToOthers(std::string_view attribute);
  std::string putBack(std::string_view attribute);

  /// What an attribute stands at; of a choice, the word in brackets.
  std::string value(std::string_view attribute) const;
  bool offers(std::string_view attribute, std::string_view choice) const;
  std::optional<int> percent(std::string_view attribute) const;
  Result refused(std::string_view attribute, std::string_view wanted) const;
  std::string keeps(std::string_view attribute, std::string_view wanted) const;

  std::filesystem::path folder_;
  std::string name_;
  HeldCharge& held_;
  bool wasAsked_ = false;
  /// What went wrong first, and whether nothing else is worth a try.
  std::string trouble_;
  bool isOver_ = false;
};

}  // namespace quorlin
