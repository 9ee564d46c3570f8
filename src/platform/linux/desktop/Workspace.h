/// The session's applications: by the names that they own on its bus, and by the units that they run in.
#pragma once

#include "platform/Log.h"
#include "platform/Workspace.h"
#include "platform/linux/bus/Bus.h"
#include "platform/linux/desktop/ApplicationNames.h"

#include <filesystem>

namespace quorlin {

/// An application's process owns the name of a desktop entry, or one of this family, on the session bus; or
/// it is in an application's unit and its parent is in another, which leaves out the processes that it
/// started. Only such processes are signalled.
class LinuxWorkspace final : public Workspace {
 public:
  /// The references outlive the workspace.
  LinuxWorkspace(const Bus& sessionBus, const ApplicationNames& applicationNames,
                 std::filesystem::path procfsRoot, Log& log)
      : bus_(sessionBus),
        applicationNames_(applicationNames),
        procfsRoot_(std::move(procfsRoot)),
        log_(log) {}

  std::vector<RunningApplication> runningApplications() const override;

  /// With SIGTERM, and with SIGKILL. A descriptor holds the process while it is examined, so that no other
  /// process with the same number is signalled.
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
