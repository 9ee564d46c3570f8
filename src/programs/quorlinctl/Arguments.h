/// The command line: what each subcommand was asked to do.
#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace quorlin {

using Arguments = std::span<const std::string_view>;

/// The process's exit status.
enum ExitCode : int { kExitOk = 0, kExitFailed = 1, kExitUsage = 2 };

struct UsageError {
  std::string message;
};

struct WatchOptions {
  bool help = false;
  bool once = false;
  bool json = false;
  bool widget = false;
  /// How long one sample is waited for; only with once.
  std::chrono::milliseconds timeout = std::chrono::seconds(15);
};

struct NetOptions {
  bool help = false;
  bool json = false;
  /// How long the agent's answer is waited for.
  std::chrono::milliseconds timeout = std::chrono::seconds(15);
};

struct DoctorOptions {
  bool help = false;
  bool json = false;
};

struct BatteryLimitOptions {
  bool help = false;
  int percent = 0;
};

struct ProcessOptions {
  bool help = false;
  std::int32_t process = 0;
};

struct TerminalOptions {
  bool help = false;
  /// For the shell.
  std::string command;
};

struct WorkflowOptions {
  bool help = false;
  std::string file;
};

enum class HelperAction { None, Install, Remove };

struct HelperOptions {
  bool help = false;
  HelperAction action = HelperAction::None;
};

/// The arguments after the subcommand's name. A value follows its option as the next argument or after '='.
std::variant<WatchOptions, UsageError> parseWatchArguments(Arguments arguments);
std::variant<NetOptions, UsageError> parseNetArguments(Arguments arguments);
std::variant<DoctorOptions, UsageError> parseDoctorArguments(Arguments arguments);

/// One operand each; what follows "--" is no option. Unless help is asked for, the operand is there.
std::variant<BatteryLimitOptions, UsageError> parseBatteryLimitArguments(Arguments arguments);
std::variant<ProcessOptions, UsageError> parseProcessArguments(Arguments arguments);
std::variant<WorkflowOptions, UsageError> parseWorkflowArguments(Arguments arguments);
std::variant<HelperOptions, UsageError> parseHelperArguments(Arguments arguments);

/// Several operands are joined with blanks, as ssh does. From the first on everything belongs to the command.
std::variant<TerminalOptions, UsageError> parseTerminalArguments(Arguments arguments);

}  // namespace quorlin
