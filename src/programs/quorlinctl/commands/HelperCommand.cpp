#include "commands/RequestKey.h"
#include "core/Settings.h"
#include "platform/linux/desktop/UserDefaults.h"
#include "platform/linux/helper/HelperInstaller.h"
#include "platform/linux/processes/BundledPrograms.h"
#include "platform/linux/system/System.h"
#include "platform/posix/TextFile.h"
#include "programs/quorlinctl/commands/Subcommands.h"
#include "programs/quorlinctl/doctor/Checks.h"
#include "programs/quorlinctl/services/Helper.h"
#include "programs/quorlinctl/terminal/StandardStreams.h"

#include <cstdlib>

#include <fmt/format.h>
#include <unistd.h>

namespace quorlin {
namespace {

/// Also true without a session bus, as below sudo.
bool agentMayRun() {
  try {
    return findAgent(Bus::openSession()).has_value();
  } catch (const BusError&) {
    return true;
  }
}

/// Why the installer did not succeed.
std::string failureOf(const InstallerOutcome& outcome, const std::filesystem::path& helper) {
  switch (outcome.kind) {
    case InstallerOutcome::Kind::PermissionRefused:
      return "nothing was installed, because permission was refused";
    case InstallerOutcome::Kind::NotAuthorized:
      return fmt::format(
          "nothing was installed, because polkit gave no permission; over SSH or without a password prompt, "
          "try: sudo {} --install",
          helper.native());
    case InstallerOutcome::Kind::NotStarted:
      return "nothing was installed, because the installer could not be started";
    default:
      return fmt::format("the installer failed with exit status {}", outcome.status);
  }
}

int install() {
  const Result<std::filesystem::path> helper = bundledProgram(kHelperFileName);
  if (!helper) return fail(helper.error().text());
  const bool isRoot = ::geteuid() == 0;
  if (!isRoot) {
    const char* const folders = std::getenv("PATH");
    const Finding pkexec = checkProgram("pkexec", "pkexec", folders == nullptr ? "" : folders);
    if (pkexec.state == CheckState::Missing) {
      return fail(fmt::format("Cannot ask for permission. {}", pkexec.line()));
    }
  }
  if (const InstallerOutcome outcome = runHelperInstaller(*helper, isRoot); outcome.status != 0) {
    complain(failureOf(outcome, *helper));
    return outcome.status;
  }
  if (!isSwitchedOn(settingsFile(), setting::kCoreAutostart)) {
    return print(fmt::format(
        "The core helper is installed. To use it, write coreAutostart=1 below [Settings] in {} and restart "
        "the agent.\n",
        displayText(settingsFile().native())));
  }
  return print(agentMayRun() ? "The core helper is installed. Restart the agent, which looks for the helper "
                               "only when it starts.\n"
                             : "The core helper is installed.\n");
}

int remove() {
  // A removal that fails names each file that is left.
  constexpr std::size_t most = 1500;
  const Result<std::string, HelperRefusal> answer =
      askHelperToUninstall(Bus::openSystem(), requestKey(LinuxSystem().localizedHostName()).value_or(""));
  if (answer) return print(excerpt(*answer, most) + "\n");
  const std::string reason = excerpt(answer.error().reason, most);
  switch (answer.error().kind) {
    case HelperRefusal::Kind::NotInstalled:
      return fail("the core helper is not installed");
    case HelperRefusal::Kind::NotAllowed:
      return fail(fmt::format(
          "the core helper was not removed, because polkit gave no permission ({}); without a password "
          "prompt, try: sudo quorlinctl helper remove",
          reason));
    case HelperRefusal::Kind::Failed:
      break;
  }
  return fail(fmt::format("the core helper was not removed: {}", reason));
}

}  // namespace

Result<int, UsageError> changeHelper(const ParsedArguments& given) {
  const std::string& action = given.operands.front();
  if (action == "install") return install();
  if (action == "remove") return remove();
  return UsageError{fmt::format("'{}' is neither 'install' nor 'remove'", action)};
}

}  // namespace quorlin
