/// The vocabulary that the agent shares with its consumers: notifications, identifiers, data format.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace quorlin {

/// Carried under "version" in every payload.
inline constexpr std::int64_t kDataFormatVersion = 12;

/// The objects of the agent's notifications.
inline constexpr std::string_view kSensorsAgent = "QuorlinSensorsAgent";
inline constexpr std::string_view kCoreAgent = "QuorlinSensorsCoreAgent";

namespace notification {
inline constexpr std::string_view kSensorsActive = "QuorlinSensorsActive";
inline constexpr std::string_view kSensorsActiveW = "QuorlinSensorsActiveW";
inline constexpr std::string_view kSensorsActiveM = "QuorlinSensorsActiveM";
inline constexpr std::string_view kSensorsInactive = "QuorlinSensorsInactive";
inline constexpr std::string_view kSensorsInactiveM = "QuorlinSensorsInactiveM";
inline constexpr std::string_view kSensorsInactiveW = "QuorlinSensorsInactiveW";
inline constexpr std::string_view kCoreActive = "QuorlinCoreActive";
inline constexpr std::string_view kCoreInactive = "QuorlinCoreInactive";
inline constexpr std::string_view kSensorsDataM = "QuorlinSensorsDataM";
inline constexpr std::string_view kSensorsDataMMini = "QuorlinSensorsDataMMini";
inline constexpr std::string_view kSensorsDataW = "QuorlinSensorsDataW";
inline constexpr std::string_view kSensorsDataWMini = "QuorlinSensorsDataWMini";
inline constexpr std::string_view kCoreData = "QuorlinSensorsCoreData";
inline constexpr std::string_view kNetDataW = "QuorlinSensorsNetDataW";
inline constexpr std::string_view kTerminateLauncher = "QRNSENSTERMINATEHELPER";
inline constexpr std::string_view kMainAppActive = "QuorlinActive";
inline constexpr std::string_view kMainAppInactive = "QuorlinInactive";
inline constexpr std::string_view kGetNetworkApp = "QuorlinSensorsGetNetworkApp";
}  // namespace notification

inline constexpr std::string_view kAgentIdentifier = "brellwick.QuorlinSensors";
inline constexpr std::string_view kLauncherIdentifier = "brellwick.QuorlinSensorsHelper";
/// Owns the main application's id, too, while no main application does.
inline constexpr std::string_view kKeeperIdentifier = "brellwick.QuorlinSensors.Keep";
inline constexpr std::array<std::string_view, 2> kMainAppIdentifiers = {"brellwick.Quorlin",
                                                                        "brellwick.Quorlin-Pro"};
inline constexpr std::array<std::string_view, 2> kWidgetIdentifiers = {"brellwick.Quorlin.QuorlinWidget",
                                                                       "brellwick.Quorlin-Pro.QuorlinWidget"};

}  // namespace quorlin
