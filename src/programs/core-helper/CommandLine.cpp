#include "programs/core-helper/CommandLine.h"

#include "helper/HelperTool.h"
#include "platform/linux/bus/Bus.h"
#include "platform/posix/ErrorStream.h"
#include "platform/posix/ProgramOptions.h"
#include "platform/values/Sentence.h"
#include "programs/core-helper/installation/AttributeLoan.h"
#include "programs/core-helper/installation/Installation.h"
#include "programs/core-helper/installation/Removal.h"
#include "programs/core-helper/service/Service.h"

#include <array>
#include <exception>
#include <string>

#include <sysexits.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

namespace quorlin {
namespace {

constexpr const char* kProgram = "quorlin-core-helper";
constexpr std::string_view kInstall = "--install";
constexpr std::string_view kRemove = "--remove";
constexpr std::string_view kBeforeStart = "--before-start";
constexpr std::string_view kAfterStop = "--after-stop";
constexpr std::string_view kRestore = "--restore";
constexpr std::string_view kHelp = "--help";
constexpr std::string_view kVersion = "--version";

constexpr std::array kOptions = {
    ProgramOption{kInstall, "install this program with its unit and its files for the bus and polkit"},
    ProgramOption{kRemove, "release the charge and remove everything that --install installed"},
    ProgramOption{kBeforeStart, "lend the service the files of batteries that it writes; its unit runs this"},
    ProgramOption{kAfterStop, "clean up after the service has stopped; its unit runs this"},
    ProgramOption{kRestore, "put back what a power cut left in the batteries; a unit runs this at boot"},
    ProgramOption{kHelp, "show this text"},
    ProgramOption{kVersion, "show the version"},
};

constexpr const char* kUsage =
    "Usage: quorlin-core-helper [--install | --remove | --before-start | --after-stop | --restore]\n"
    "\n"
    "Holds the battery's charge and reads power counters for the agent. It runs as a user of its own on the\n"
    "system bus, which starts it on the first call; it exits when it is idle.\n"
    "\n";

void serve(const Setup& setup) { Service(setup).run(); }

/// A helper that runs has released what was left, and may hold again.
void restore(const Setup& setup) {
  bool isRunning = false;
  try {
    isRunning = processOwning(Bus::openSystem(), std::string(kHelperLabel)).has_value();
  } catch (const BusError&) {
    // Without the bus it does not run.
  }
  if (!isRunning) releaseLeftover(setup);
}

void install(const Setup& setup) {
  const bool isReal = setup.installRoot == "/";
  if (isReal && sd_booted() <= 0) {
    throw InstallationError("this program needs systemd to start it, and systemd does not run here");
  }
  FileDescriptor lock = lockInstallation(setup, true);
  // A removal that a power cut interrupted would otherwise remove the new one at its end.
  keepInstalled(setup);
  installHelper(
      setup.installRoot, "/proc/self/exe", isReal ? makeUser : [] {});
  // The old helper takes the lock when it ends.
  lock.reset();
  if (!isReal) return;
  reloadServices();
  // The next call starts the new helper.
  stopService();
}

void remove(const Setup& setup) {
  const bool isReal = setup.installRoot == "/";
  if (isReal) stopService();
  markForRemoval(setup);
  cleanUpAfterStop(setup);
  // A call may have started it again while its files were still there.
  if (isReal) stopService();
}

}  // namespace

int runCoreHelper(const Setup& setup, std::span<const std::string_view> arguments) {
  const auto given = parseOptions(arguments, kOptions);
  const std::string usage = kUsage + helpOf(kOptions);
  if (!given) return complain(kProgram, given.error().text(), usage);
  if (!given->operands.empty()) {
    return complain(kProgram, filledIn("unexpected argument '{}'", {given->operands.front()}), usage);
  }
  if (arguments.size() > 1) return complain(kProgram, "one option at most is allowed", usage);
  if (given->has(kHelp)) return answer(usage);
  if (given->has(kVersion)) return answer(filledIn("{} {}\n", {kProgram, QUORLIN_VERSION}));

  void (*const act)(const Setup&) = given->has(kInstall)       ? install
                                    : given->has(kRemove)      ? remove
                                    : given->has(kBeforeStart) ? lendAttributes
                                    : given->has(kAfterStop)   ? cleanUpAfterStop
                                    : given->has(kRestore)     ? restore
                                                               : serve;
  try {
    // On a described machine no root is needed.
    if (setup.installRoot == "/" && geteuid() != 0 && act != serve) {
      throw InstallationError("only root can do this; run the command with pkexec");
    }
    act(setup);
  } catch (const std::exception& error) {
    writeErrorLine(filledIn("{}: {}", {kProgram, error.what()}));
    return EX_UNAVAILABLE;
  }
  return EX_OK;
}

}  // namespace quorlin
