#include "quorlinctl/HelperCommand.h"

#include "commands/RequestKey.h"
#include "core/Settings.h"
#include "platform/linux/BundledPrograms.h"
#include "platform/linux/HelperInstaller.h"
#include "platform/linux/System.h"
#include "platform/linux/UserDefaults.h"
#include "platform/posix/TextFile.h"
#include "quorlinctl/Checks.h"
#include "quorlinctl/Helper.h"
#include "quorlinctl/Output.h"

#include <cstdlib>

namespace quorlin {
namespace {

// pkexec(1), return value.
constexpr int kUserRefused = 126;
constexpr int kNotAuthorized = 127;

int say(const std::string& sentence) {
  return writeAll(STDOUT_FILENO, sentence + "\n") ? kExitFailed : kExitOk;
}

/// Also where nobody can be asked, as below sudo.
bool agentMayRun() {
  try {
    return findAgent(Bus::openSession()).has_value();
  } catch (const BusError&) {
    return true;
  }
}

int install() {
  const std::filesystem::path helper = bundledProgram(kHelperFileName);
  if (helper.empty()) {
    complain("there is no " + (bundleFolder() / kHelperFileName).native());
    return kExitFailed;
  }
  const bool isRoot = ::geteuid() == 0;
  if (!isRoot) {
    const char* const folders = std::getenv("PATH");
    const CheckResult pkexec = checkProgram("pkexec", "pkexec", folders == nullptr ? "" : folders);
    if (pkexec.state == CheckState::Missing) {
      complain("pkexec, which asks for the permission, is " + pkexec.finding + "; " + pkexec.advice);
      return kExitFailed;
    }
  }
  const int status = runHelperInstaller(helper, isRoot);
  if (!isRoot && status == kUserRefused) {
    complain("nothing was installed: the permission was refused");
  } else if (!isRoot && status == kNotAuthorized) {
    complain(
        "nothing was installed: polkit gave no permission (over SSH or without a password prompt try: sudo " +
        helper.native() + " --install)");
  } else if (status != 0) {
    complain("the installer failed with exit status " + std::to_string(status));
  }
  if (status != 0) return status;
  if (!isSwitchedOn(settingsFile(), setting::kCoreAutostart)) {
    return say("The core helper is installed. Write coreAutostart=1 below [Settings] in " +
               settingsFile().native() + " and start the agent anew to use it.");
  }
  const char* const next =
      agentMayRun() ? " Start the agent anew: it looks for the helper only when it starts." : "";
  return say(std::string("The core helper is installed.") + next);
}

int remove() {
  const HelperAnswer answer =
      askHelperToUninstall(Bus::openSystem(), requestKey(LinuxSystem().localizedHostName()).value_or(""));
  switch (answer.kind) {
    case HelperAnswer::Kind::Answered:
      return say(displayText(answer.text));
    case HelperAnswer::Kind::NotInstalled:
      complain("the core helper is not installed");
      break;
    case HelperAnswer::Kind::NotAllowed:
      complain("the core helper stays: polkit gave no permission (" + displayText(answer.text) +
               "); without a password prompt try: sudo quorlinctl helper remove");
      break;
    case HelperAnswer::Kind::Failed:
      complain("the core helper did not do it: " + displayText(answer.text));
      break;
  }
  return kExitFailed;
}

}  // namespace

int changeHelper(const HelperOptions& options) {
  try {
    return options.action == HelperAction::Install ? install() : remove();
  } catch (const BusError& error) {
    complain(std::string("no system bus: ") + error.what());
    return kExitFailed;
  }
}

}  // namespace quorlin
