/// What a URL of the agent's scheme orders.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace quorlin {

struct TerminateApp {
  std::int32_t processId = 0;
  friend bool operator==(const TerminateApp&, const TerminateApp&) = default;
};

struct ForceTerminateApp {
  std::int32_t processId = 0;
  friend bool operator==(const ForceTerminateApp&, const ForceTerminateApp&) = default;
};

struct RunTerminal {
  std::string command;
  friend bool operator==(const RunTerminal&, const RunTerminal&) = default;
};

struct RunWorkflow {
  std::string path;
  friend bool operator==(const RunWorkflow&, const RunWorkflow&) = default;
};

struct SetBatteryLimit {
  std::int64_t percent = 0;
  friend bool operator==(const SetBatteryLimit&, const SetBatteryLimit&) = default;
};

using UrlCommand = std::variant<TerminateApp, ForceTerminateApp, RunTerminal, RunWorkflow, SetBatteryLimit>;

/// The order in a URL that carries the expected key; nothing for any other text. Without an expected key, on
/// a computer without a name, every key will do.
std::optional<UrlCommand> urlCommand(std::string_view url, const std::optional<std::string>& expectedKey);

}  // namespace quorlin
