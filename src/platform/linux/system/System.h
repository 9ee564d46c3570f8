/// The machine and its name.
#pragma once

#include "platform/System.h"

#include <filesystem>
#include <string_view>

namespace quorlin {

/// The value of a variable in a file of shell-like assignments, or nothing: VARIABLE=value, the value quoted
/// or not, as os-release(5) and machine-info(5) describe it.
std::optional<std::string> assignedValue(std::string_view file, std::string_view variable);

class LinuxSystem final : public System {
 public:
  /// The pretty host name stands in the file. It is read directly: the request key is computed before every
  /// call of the helper, and asking the host name service for it each time would keep that service running.
  explicit LinuxSystem(std::filesystem::path machineInfo = "/etc/machine-info")
      : machineInfo_(std::move(machineInfo)) {}

  bool processorHasPowerWork() const override;

  /// The newest: every feature that needs a version is there.
  SystemVersion version() const override;

  /// The pretty host name, else the host name.
  std::optional<std::string> localizedHostName() const override;

 private:
  std::filesystem::path machineInfo_;
};

}  // namespace quorlin
