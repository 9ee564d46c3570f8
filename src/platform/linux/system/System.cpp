#include "platform/linux/system/System.h"

#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"
#include "platform/values/Utf8.h"

#include <array>
#include <fstream>
#include <iterator>
#include <limits>

#include <unistd.h>

namespace quorlin {
namespace {

std::string unquoted(std::string_view value) {
  std::string text;
  char quote = '\0';
  for (std::size_t i = 0; i < value.size(); ++i) {
    const char character = value[i];
    if (quote == '\0' && (character == '"' || character == '\'')) {
      quote = character;
    } else if (character == quote && quote != '\0') {
      quote = '\0';
    } else if (character == '\\' && quote != '\'' && i + 1 < value.size()) {
      text += value[++i];
    } else {
      text += character;
    }
  }
  return text;
}

}  // namespace

std::optional<std::string> assignedValue(std::string_view file, std::string_view variable) {
  std::optional<std::string> value;
  while (!file.empty()) {
    const std::string_view line = trimmed(takeUntil('\n', file));
    if (!line.starts_with(variable) || line.substr(variable.size()).substr(0, 1) != "=") continue;
    value = unquoted(line.substr(variable.size() + 1));
  }
  return value;
}

bool LinuxSystem::processorHasPowerWork() const { return QUORLIN_POWER_WORK != 0; }

SystemVersion LinuxSystem::version() const {
  return {.major = std::numeric_limits<int>::max(), .minor = std::numeric_limits<int>::max()};
}

std::optional<std::string> LinuxSystem::localizedHostName() const {
  std::ifstream file(machineInfo_, std::ios::binary);
  const std::string text(std::istreambuf_iterator<char>(file), {});
  std::optional<std::string> pretty = assignedValue(text, "PRETTY_HOSTNAME");
  if (pretty && !pretty->empty() && isUtf8(*pretty)) return pretty;

  // gethostname(2) truncates without a terminator; the kernel's names have at most 64 characters.
  std::array<char, 65> name{};
  if (gethostname(name.data(), name.size() - 1) != 0 || name.front() == '\0') return std::nullopt;
  return std::string(name.data());
}

}  // namespace quorlin
