/// The keys of the user defaults.
#pragma once

#include <string_view>

namespace quorlin::setting {

/// Integers; above 0 means on.
inline constexpr std::string_view kAutostart = "autostart";
inline constexpr std::string_view kCoreAutostart = "coreAutostart";

/// Integer 1 between a normal quit and the next launch.
inline constexpr std::string_view kTerminatedPeacefully = "terminatedPeacefully";

/// Boolean: the helper is holding the battery's charge.
inline constexpr std::string_view kPowerLimitEnabled = "powerLimitEnabled";

/// Integer, percent; absent or below 1 means 100.
inline constexpr std::string_view kBatteryLimit = "batterylimit";

/// Date of the last update check of either kind.
inline constexpr std::string_view kLastUpdateCheck = "lastUpdateCheck";

}  // namespace quorlin::setting
