/// The ways in which a battery's driver can hold the charge (Documentation/ABI/testing/sysfs-class-power).
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quorlin {

inline constexpr std::string_view kChargeBehaviour = "charge_behaviour";
inline constexpr std::string_view kEndThreshold = "charge_control_end_threshold";
inline constexpr std::string_view kStartThreshold = "charge_control_start_threshold";
inline constexpr std::string_view kChargeTypes = "charge_types";

/// The behaviour that stops charging, and the type of charging with which thresholds count.
inline constexpr std::string_view kInhibitCharge = "inhibit-charge";
inline constexpr std::string_view kCustomCharge = "Custom";

struct ChargeOffer {
  bool inhibitsCharge = false;
  bool hasEndThreshold = false;
  bool hasCustomType = false;

  /// The attribute that holds the charge; the behaviour wins if both are present. Empty if neither is.
  std::string_view attribute() const {
    if (inhibitsCharge) return kChargeBehaviour;
    return hasEndThreshold ? kEndThreshold : std::string_view();
  }
};

/// For the folder of a battery.
ChargeOffer chargeOfferOf(const std::filesystem::path& battery);

/// Whether one of the attributes above can have the value: a percentage, or a choice that the kernel knows.
bool isChargeValue(std::string_view attribute, std::string_view value);

/// The current value of an attribute: its text, or of a list of choices the one in brackets. Nothing where
/// the attribute is absent, cannot be read, or has no choice in force.
std::optional<std::string> chargeValue(const std::filesystem::path& battery, std::string_view attribute);

}  // namespace quorlin
