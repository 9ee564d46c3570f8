/// What the batteries' attributes said before they were changed, kept in a file.
#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

/// Attributes of a battery, from Documentation/ABI/testing/sysfs-class-power.
inline constexpr std::string_view kChargeBehaviour = "charge_behaviour";
inline constexpr std::string_view kEndThreshold = "charge_control_end_threshold";
inline constexpr std::string_view kStartThreshold = "charge_control_start_threshold";
inline constexpr std::string_view kChargeTypes = "charge_types";
inline constexpr std::array kHeldAttributes = {kChargeTypes, kChargeBehaviour, kEndThreshold,
                                               kStartThreshold};

struct FormerValue {
  std::string battery;
  std::string attribute;
  std::string value;
  /// What it stood at after it was changed; empty when that is not known.
  std::string ours;
};

/// The lines "BATTERY ATTRIBUTE VALUE" and "BATTERY ATTRIBUTE VALUE OURS" of a text that name one of the
/// attributes and values that it can have; others are ignored, and so is what a later line says about the
/// same attribute.
std::vector<FormerValue> parseFormerValues(std::string_view text);

/// The file and its contents. Troubles are texts for people, empty where there is none.
class HeldCharge {
 public:
  explicit HeldCharge(std::filesystem::path file);

  /// Why the file is there and cannot be read; it is then never replaced.
  const std::string& unreadable() const { return unreadable_; }

  const std::vector<FormerValue>& values() const { return values_; }

  /// Null when nothing is written down.
  const FormerValue* find(std::string_view battery, std::string_view attribute) const;

  /// Whether anything of a battery is written down.
  bool isAbout(std::string_view battery) const;

  /// Before a change: has the value in the file when it returns without trouble. One that is known already
  /// stays, but what is ours is not known any more.
  std::string remember(const std::string& battery, std::string_view attribute, const std::string& value);

  /// What a change has come to. Until store(), only in memory, and so is the next.
  void setOurs(std::string_view battery, std::string_view attribute, const std::string& ours);
  void forget(std::string_view battery, std::string_view attribute);

  /// Replaces the file as a whole, or removes it when there is nothing to keep. Does nothing when it says the
  /// same already.
  std::string store();

 private:
  std::filesystem::path file_;
  std::vector<FormerValue> values_;
  std::string unreadable_;
  bool isStored_ = true;
};

}  // namespace quorlin
