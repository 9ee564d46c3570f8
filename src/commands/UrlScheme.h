/// The agent's own URL scheme: scheme://KEY/COMMAND/ARGUMENT.
#pragma once

#include <string_view>

namespace quorlin {

inline constexpr std::string_view kUrlScheme = "brellwick.QuorlinSensors.quorlinio";

namespace urlcommand {

inline constexpr std::string_view kTerminateApp = "terminateapp";
inline constexpr std::string_view kForceTerminateApp = "forceterminateapp";
inline constexpr std::string_view kTerminalCommand = "terminalcommand";
inline constexpr std::string_view kRunWorkflow = "runworkflow";
inline constexpr std::string_view kBatteryLimit = "batterylimit";

}  // namespace urlcommand
}  // namespace quorlin
