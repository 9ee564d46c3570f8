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
/// What charge_types was before it had a list: the value alone, with spaces.
inline constexpr std::string_view kChargeType = "charge_type";

/// The behaviour that stops charging, and the type of charging with which thresholds count.
inline constexpr std::string_view kInhibitCharge = "inhibit-charge";
inline constexpr std::string_view kCustomCharge = "Custom";

struct ChargeOffer {
  bool inhibitsCharge = false;
  bool hasEndThreshold = false;
  /// The attribute that chooses the type of charging with which thresholds count; empty if there is none.
  std::string_view typeAttribute = {};

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

/// The current value of an attribute: its text, or of a list of choices the one in brackets; a choice has
/// underscores for spaces. Nothing where the attribute is absent, cannot be read, or has no choice in force.
std::optional<std::string> chargeValue(const std::filesystem::path& battery, std::string_view attribute);

/// What a threshold amounts to that has never been set, which its driver tells by ENODATA
/// (power_supply_show_property() passes the driver's error on); nothing for every other attribute.
std::optional<std::string> unsetValue(const std::filesystem::path& battery, std::string_view attribute);

}  // namespace quorlin
