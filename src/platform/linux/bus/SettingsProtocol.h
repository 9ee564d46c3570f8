/// The switches of the agent on the session bus, as it and its clients name them; described for others by
/// packaging/agent/brellwick.QuorlinSensors.Settings.xml.
#pragma once

namespace quorlin::settingsprotocol {

inline constexpr const char* kPath = "/brellwick/QuorlinSensors";
inline constexpr const char* kInterface = "brellwick.QuorlinSensors.Settings";

inline constexpr const char* kSetAutostart = "SetAutostart";
inline constexpr const char* kSetPluginEnabled = "SetPluginEnabled";
inline constexpr const char* kSetCoreAutostart = "SetCoreAutostart";
inline constexpr const char* kCoreAutostartOutcome = "CoreAutostartOutcome";

inline constexpr const char* kPluginEnabled = "PluginEnabled";
inline constexpr const char* kCoreEnabled = "CoreEnabled";
inline constexpr const char* kPowerLimit = "PowerLimit";
inline constexpr const char* kPowerLimitEnabled = "PowerLimitEnabled";
inline constexpr const char* kStartsAtLogin = "StartsAtLogin";

}  // namespace quorlin::settingsprotocol
