/// The command line: what each subcommand was asked to do.
#pragma once

#include <chrono>
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

  friend bool operator==(const WatchOptions&, const WatchOptions&) = default;
};

struct DoctorOptions {
  bool help = false;
  bool json = false;

  friend bool operator==(const DoctorOptions&, const DoctorOptions&) = default;
};

/// The arguments after the subcommand's name. A value follows its option as the next argument or after '='.
std::variant<WatchOptions, UsageError> parseWatchArguments(Arguments arguments);
std::variant<DoctorOptions, UsageError> parseDoctorArguments(Arguments arguments);

}  // namespace quorlin
