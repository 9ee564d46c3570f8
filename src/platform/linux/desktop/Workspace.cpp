#include "platform/linux/desktop/Workspace.h"

#include "platform/linux/desktop/DefaultUrlHandler.h"
#include "platform/linux/processes/ApplicationId.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"
#include "platform/values/Sentence.h"

#include <algorithm>
#include <csignal>
#include <string>

#include <glib.h>

// glibc 2.36 lacks this in the header itself.
extern "C" {
#include <sys/pidfd.h>
}

namespace quorlin {
namespace {

/// proc(5): the fourth field of stat. The name before it is in parentheses and may contain some itself.
std::int32_t parentIn(std::string_view stat) {
  stat.remove_prefix(std::min(stat.rfind(')'), stat.size()));
  for (int field = 2; field < 4; ++field) takeUntil(' ', stat);
  return wholeNumber<std::int32_t>(takeUntil(' ', stat)).value_or(0);
}

bool hasDesktopEntry(const std::string& name) {
  const auto isBelow = [&name](const std::filesystem::path& dataFolder) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(dataFolder / "applications" / (name + ".desktop"), ignored);
  };
  if (isBelow(g_get_user_data_dir())) return true;
  for (const char* const* folder = g_get_system_data_dirs(); *folder != nullptr; ++folder) {
    if (isBelow(*folder)) return true;
  }
  return false;
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
  const auto isOwned = [&](const std::string& name) {
    if (name.starts_with(':') || (!isNameOfFamily(name) && !hasDesktopEntry(name))) return false;
    return processOwning(bus_, name) == processId;
  };
  try {
    return std::ranges::any_of(namesOn(bus_), isOwned);
  } catch (const BusError&) {
    return false;
  }
}

void LinuxWorkspace::setDefaultHandlerForUrlScheme(std::string_view scheme,
                                                   std::string_view bundleIdentifier) {
  const auto trouble = setDefaultUrlHandler(mimeApplicationsFile(), scheme, bundleIdentifier);
  if (trouble)
    log_.line(filledIn("URLs of the scheme {} do not open this program: {}", {scheme, trouble->text()}));
}

}  // namespace quorlin
