#include "platform/linux/Workspace.h"

#include "platform/linux/ApplicationId.h"
#include "platform/linux/DefaultUrlHandler.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"

#include <charconv>
#include <csignal>
#include <string>

#include <glib.h>

// glibc 2.36 forgot to say so in the header itself.
extern "C" {
#include <sys/pidfd.h>
}

namespace quorlin {
namespace {

/// proc(5): the fourth field of stat. The name before it stands in parentheses and may hold any others.
std::int32_t parentIn(std::string_view stat) {
  std::int32_t parent = 0;
  const std::size_t fields = stat.rfind(')');
  if (fields == std::string_view::npos || fields + 4 > stat.size()) return 0;
  std::from_chars(stat.data() + fields + 4, stat.data() + stat.size(), parent);
  return parent;
}

bool hasDesktopEntry(const std::filesystem::path& dataFolder, const std::string& name) {
  std::error_code ignored;
  return std::filesystem::is_regular_file(dataFolder / "applications" / (name + ".desktop"), ignored);
}

bool hasDesktopEntry(const std::string& name) {
  if (hasDesktopEntry(g_get_user_data_dir(), name)) return true;
  for (const char* const* folder = g_get_system_data_dirs(); *folder != nullptr; ++folder) {
    if (hasDesktopEntry(*folder, name)) return true;
  }
  return false;
}

bool isOwner(std::int32_t processId, const Bus& bus, const char* name) {
  try {
    return processOwning(bus, name) == processId;
  } catch (const BusError&) {
    return false;
  }
}

}  // namespace

std::vector<RunningApplication> LinuxWorkspace::runningApplications() const {
  std::vector<RunningApplication> running;
  for (const std::string& name : applicationNames_.names()) running.push_back({name});
  return running;
}

std::optional<bool> LinuxWorkspace::terminateApplication(std::int32_t processId) {
  return signalApplication(processId, SIGTERM);
}

std::optional<bool> LinuxWorkspace::forceTerminateApplication(std::int32_t processId) {
  return signalApplication(processId, SIGKILL);
}

std::optional<bool> LinuxWorkspace::signalApplication(std::int32_t processId, int signal) const {
  const FileDescriptor process(pidfd_open(processId, 0));
  if (!process) return std::nullopt;
  if (!isFirstOfApplicationUnit(processId) && !ownsApplicationName(processId)) return std::nullopt;
  return pidfd_send_signal(process.get(), signal, nullptr, 0) == 0;
}

bool LinuxWorkspace::isFirstOfApplicationUnit(std::int32_t processId) const {
  const auto text = [this](std::int32_t process, const char* file) {
    return readText((procfsRoot_ / std::to_string(process) / file).string()).value_or("");
  };
  const std::string groups = text(processId, "cgroup");
  return applicationIdOfControlGroups(groups) && groups != text(parentIn(text(processId, "stat")), "cgroup");
}

bool LinuxWorkspace::ownsApplicationName(std::int32_t processId) const {
  char** acquired = nullptr;
  if (sd_bus_list_names(bus_.get(), &acquired, nullptr) < 0) return false;
  const std::unique_ptr<char*, decltype(&g_strfreev)> list(acquired, g_strfreev);
  for (char** name = list.get(); *name != nullptr; ++name) {
    const bool isApplication = **name != ':' && (isNameOfFamily(*name) || hasDesktopEntry(*name));
    if (isApplication && isOwner(processId, bus_, *name)) return true;
  }
  return false;
}

void LinuxWorkspace::setDefaultHandlerForUrlScheme(std::string_view scheme,
                                                   std::string_view bundleIdentifier) {
  setDefaultUrlHandler(mimeApplicationsFile(), scheme, bundleIdentifier, log_);
}

}  // namespace quorlin
