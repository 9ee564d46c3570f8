#include "platform/linux/helper/HelperInstaller.h"

#include "platform/linux/bus/Bus.h"
#include "platform/linux/processes/Spawn.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"

#include <cerrno>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <glib.h>
#include <sys/mman.h>
#include <sys/wait.h>

namespace quorlin {
namespace {

using Kind = InstallerOutcome::Kind;

/// Exit statuses of pkexec(1), the second also of a shell that starts nothing.
constexpr int kRefusedByUser = 126;
constexpr int kNotAuthorized = 127;
constexpr int kEndedBySignal = 128;

struct Installer {
  /// A file, which needs no reader while the installer runs.
  FileDescriptor errors;
  Result<pid_t> process;
  bool isRoot;
};

Installer startInstaller(const std::filesystem::path& helper, bool isRoot, bool detached) {
  std::vector<std::string> arguments = {"--install"};
  if (!isRoot) arguments.insert(arguments.begin(), helper.native());
  FileDescriptor errors(memfd_create("errors", MFD_CLOEXEC));
  SpawnOptions options;
  if (errors) options.errors = errors.get();
  options.detached = detached;
  Result<pid_t> process = spawn(isRoot ? helper.native() : "pkexec", arguments, options);
  return {.errors = std::move(errors), .process = std::move(process), .isRoot = isRoot};
}

/// pkexec ends in the same way whatever is missing. Its words, which it does not translate, tell the rest
/// (polkit 122, pkexec.c); the second are those of its attempt to ask on a terminal.
Kind whyNotAuthorized(std::string_view complaint) {
  const auto says = [&](std::string_view words) { return complaint.find(words) != std::string_view::npos; };
  if (says("No authentication agent found") || says("textual authentication agent")) return Kind::NobodyToAsk;
  if (says("Not authorized")) return Kind::NotAuthorized;
  try {
    return isAvailable(Bus::openSystem(), "org.freedesktop.PolicyKit1") ? Kind::Failed : Kind::NoPolkit;
  } catch (const BusError&) {
    return Kind::NoSystemBus;
  }
}

InstallerOutcome notStarted(const Installer& installer) {
  const Trouble& trouble = installer.process.error();
  const bool lacksPkexec = !installer.isRoot && trouble.error == ENOENT;
  return {lacksPkexec ? Kind::NoPkexec : Kind::NotStarted, kNotAuthorized, trouble.text()};
}

InstallerOutcome outcomeOf(const Installer& installer, int end) {
  const std::string errors = "/proc/self/fd/" + std::to_string(installer.errors.get());
  std::string complaint = displayText(readText(errors).value_or(""));
  if (!WIFEXITED(end)) return {Kind::Failed, kEndedBySignal + WTERMSIG(end), std::move(complaint)};
  const int status = WEXITSTATUS(end);
  Kind kind = status == 0 ? Kind::Installed : Kind::Failed;
  if (!installer.isRoot && status == kRefusedByUser) kind = Kind::PermissionRefused;
  if (!installer.isRoot && status == kNotAuthorized) kind = whyNotAuthorized(complaint);
  return {kind, status, std::move(complaint)};
}

struct Watch {
  Installer installer;
  std::function<void(const InstallerOutcome&)> completion;
};

}  // namespace

std::string InstallerOutcome::reason(const std::filesystem::path& helper) const {
  const auto sentence = [&]() -> std::string {
    switch (kind) {
      case Kind::PermissionRefused:
        return "nothing was installed, because permission was refused";
      case Kind::NotAuthorized:
        return "nothing was installed, because polkit gave no permission; try: sudo {} --install";
      case Kind::NobodyToAsk:
        return "nothing was installed, because no polkit authentication agent runs in this session, so "
               "nobody "
               "can be asked for a password; try: sudo {} --install";
      case Kind::NoPkexec:
        return "nothing was installed, because pkexec, which asks for permission, is not installed; try: "
               "sudo {} --install";
      case Kind::NoPolkit:
        return "nothing was installed, because polkit, which gives permission, is not on the system bus; "
               "install it with: sudo apt install polkitd";
      case Kind::NoSystemBus:
        return "nothing was installed, because there is no system bus, which the core helper needs; install "
               "it with: sudo apt install dbus";
      case Kind::NotStarted:
        return "nothing was installed, because the installer could not be started";
      default:
        return "the installer failed with exit status " + std::to_string(status);
    }
  }();
  const bool saysMore = kind == Kind::NotStarted || kind == Kind::Failed;
  const std::string reason = filledIn(sentence, {helper.native()});
  return saysMore && !complaint.empty() ? filledIn("{}: {}", {reason, complaint}) : reason;
}

InstallerOutcome runHelperInstaller(const std::filesystem::path& helper, bool isRoot) {
  const Installer installer = startInstaller(helper, isRoot, false);
  if (!installer.process) return notStarted(installer);
  const std::optional<int> end = waitForEnd(*installer.process);
  return end ? outcomeOf(installer, *end) : InstallerOutcome{Kind::NotStarted, kNotAuthorized};
}

void startHelperInstaller(const std::filesystem::path& helper, RunLoop& runLoop,
                          std::function<void(const InstallerOutcome&)> completion, bool isRoot) {
  Installer installer = startInstaller(helper, isRoot, true);
  if (!installer.process) {
    runLoop.performOnMainThread(
        [completion = std::move(completion), outcome = notStarted(installer)] { completion(outcome); });
    return;
  }
  const pid_t process = *installer.process;
  g_child_watch_add_full(
      G_PRIORITY_DEFAULT, process,
      [](GPid, gint end, gpointer data) {
        const Watch& watch = *static_cast<Watch*>(data);
        watch.completion(outcomeOf(watch.installer, end));
      },
      new Watch{std::move(installer), std::move(completion)},
      [](gpointer data) { delete static_cast<Watch*>(data); });
}

}  // namespace quorlin
