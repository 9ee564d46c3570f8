/// The words of commands by URL: SCHEME://KEY/COMMAND/ARGUMENT.
#pragma once

#include <string_view>

namespace quorlin {

inline constexpr std::string_view kUrlScheme = "brellwick.QuorlinSensors.quorlinio";

namespace urlcommand {
/// A process id, decimal.
inline constexpr std::string_view kTerminateApp = "terminateapp";
inline constexpr std::string_view kForceTerminateApp = "forceterminateapp";
/// A command line for the shell, percent-encoded.
inline constexpr std::string_view kTerminalCommand = "terminalcommand";
/// A path, percent-encoded.
inline constexpr std::string_view kRunWorkflow = "runworkflow";
/// Percent, decimal.
inline constexpr std::string_view kBatteryLimit = "batterylimit";
}  // namespace urlcommand

}  // namespace quorlin
