#include "commands/RequestKey.h"
#include "platform/linux/helper/HelperInstaller.h"
#include "platform/linux/processes/BundledPrograms.h"
#include "platform/linux/processes/Spawn.h"
#include "platform/linux/system/System.h"
#include "platform/posix/TextFile.h"
#include "programs/quorlinctl/commands/Subcommands.h"
#include "programs/quorlinctl/services/Helper.h"
#include "programs/quorlinctl/terminal/StandardStreams.h"

#include <cstdlib>
#include <optional>

#include <fmt/format.h>
#include <sys/wait.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

namespace quorlin {
namespace {

/// Where the helper's own --install puts its program and its unit.
constexpr const char* kInstallationFolder = "/usr/local/libexec";
constexpr const char* kUnitFile = "/etc/systemd/system/quorlin-core-helper.service";
constexpr const char* kNotInstalled = "the core helper is not installed";

std::optional<Bus> findSystemBus() {
  try {
    return Bus::openSystem();
  } catch (const BusError&) {
    return std::nullopt;
  }
}

/// Waits for a program; its exit status, as a shell would report it.
int statusOf(const std::filesystem::path& program, const std::string& argument) {
  const Result<pid_t> child = spawn(program.native(), {argument}, {});
  if (!child) return fail(child.error().text());
  const int end = waitForEnd(*child).value_or(EXIT_FAILURE);
  return WIFEXITED(end) ? WEXITSTATUS(end) : 128 + WTERMSIG(end);
}

int install() {
  if (sd_booted() <= 0)
    return fail("the core helper needs systemd to start it, and systemd does not run here");
  const Result<std::filesystem::path> helper = bundledProgram(kHelperFileName);
  if (!helper) return fail(helper.error().text());
  const InstallerOutcome outcome = runHelperInstaller(*helper);
  if (outcome.kind != InstallerOutcome::Kind::Installed) {
    complain(outcome.reason(*helper));
    return outcome.status;
  }
  if (!outcome.complaint.empty()) complain(outcome.complaint);
  return print("The core helper is installed. To switch it on: quorlinctl enable core\n");
}

/// Nobody can ask the helper itself.
int removeWithoutBus() {
  std::error_code ignored;
  Result<std::filesystem::path> helper = bundledProgram(kHelperFileName, kInstallationFolder);
  // A part of it may be left.
  if (!helper && std::filesystem::exists(kUnitFile, ignored)) helper = bundledProgram(kHelperFileName);
  if (!helper) return fail(kNotInstalled);
  if (::geteuid() != 0) {
    return fail(
        "there is no system bus, over which to ask the core helper; try: sudo quorlinctl helper remove");
  }
  const int status = statusOf(*helper, "--remove");
  return status == EXIT_SUCCESS ? print("The core helper is removed.\n") : status;
}

int remove(const Bus& systemBus) {
  // A removal that fails names each file that is left.
  constexpr std::size_t most = 1500;
  const Result<std::string, HelperRefusal> answer =
      askHelperToUninstall(systemBus, requestKey(LinuxSystem().localizedHostName()).value_or(""));
  if (answer) return print(excerpt(*answer, most) + "\n");
  const std::string reason = excerpt(answer.error().reason, most);
  switch (answer.error().kind) {
    case HelperRefusal::Kind::NotInstalled:
      return fail(kNotInstalled);
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
  if (action == "remove") {
    const std::optional<Bus> systemBus = findSystemBus();
    return systemBus ? remove(*systemBus) : removeWithoutBus();
  }
  return UsageError{fmt::format("'{}' is neither 'install' nor 'remove'", action)};
}

}  // namespace quorlin
