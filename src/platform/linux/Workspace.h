/// The session's applications: by the names that they own on its bus, and by the units that they run in.
#pragma once

#include "platform/Log.h"
#include "platform/Workspace.h"
#include "platform/linux/ApplicationNames.h"
#include "platform/linux/Bus.h"

#include <filesystem>

namespace quorlin {

/// An application's process is one that owns the name of a desktop entry, or one of this family, on the
/// session bus; or one in an application's unit whose parent is in another, so not those that it started.
/// Only such processes are signalled.
class LinuxWorkspace final : public Workspace {
 public:
  /// What is referred to outlives the workspace.
  LinuxWorkspace(const Bus& sessionBus, const ApplicationNames& applicationNames,
                 std::filesystem::path procfsRoot, Log& log)
      : bus_(sessionBus),
        applicationNames_(applicationNames),
        procfsRoot_(std::move(procfsRoot)),
        log_(log) {}

  std::vector<RunningApplication> runningApplications() const override;

  /// With SIGTERM, and with SIGKILL. The process is held by a descriptor while it is looked at, so that
  /// another that gets its number meanwhile is not signalled.
  std::optional<bool> terminateApplication(std::int32_t processId) override;
  std::optional<bool> forceTerminateApplication(std::int32_t processId) override;

  void setDefaultHandlerForUrlScheme(std::string_view scheme, std::string_view bundleIdentifier) override;

 private:
  std::optional<bool> signalApplication(std::int32_t processId, int signal) const;
  bool isFirstOfApplicationUnit(std::int32_t processId) const;
  bool ownsApplicationName(std::int32_t processId) const;

  const Bus& bus_;
  const ApplicationNames& applicationNames_;
  std::filesystem::path procfsRoot_;
  Log& log_;
};

}  // namespace quorlin
