#include "programs/core-helper/CommandLine.h"

#include "programs/core-helper/installation/Installation.h"
#include "programs/core-helper/installation/Removal.h"
#include "programs/core-helper/service/Service.h"

#include <cstdio>
#include <exception>

#include <sysexits.h>

namespace quorlin {
namespace {

constexpr const char* kUsage =
    "Usage: quorlin-core-helper [--install | --remove | --after-stop]\n"
    "\n"
    "Holds the battery's charge and reads power counters for the agent. It runs as root on the system bus,\n"
    "which starts it on the first call; it exits when it is idle.\n"
    "\n"
    "  --install     install this program with its unit and its files for the bus and polkit\n"
    "  --remove      release the charge and remove everything that --install installed\n"
    "  --after-stop  clean up after the service has stopped; its unit runs this\n"
    "  --help        show this text\n"
    "  --version     show the version\n";

void serve(const Setup& setup) { Service(setup).run(); }

void install(const Setup& setup) {
  FileDescriptor lock = lockInstallation(setup, true);
  // A removal that a power cut interrupted would otherwise remove the new one at its end.
  keepInstalled(setup);
  installHelper(setup.installRoot);
  // The old helper takes the lock when it ends.
  lock.reset();
  if (setup.installRoot != "/") return;
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
  const std::string_view command = arguments.empty() ? "" : arguments.front();
  if (command == "--help" || command == "-h") return std::fputs(kUsage, stdout) < 0 ? EX_IOERR : EX_OK;
  if (command == "--version") return std::puts("quorlin-core-helper " QUORLIN_VERSION) < 0 ? EX_IOERR : EX_OK;

  void (*const act)(const Setup&) = command.empty()             ? serve
                                    : command == "--install"    ? install
                                    : command == "--remove"     ? remove
                                    : command == "--after-stop" ? cleanUpAfterStop
                                                                : nullptr;
  if (act == nullptr || arguments.size() > 1) {
    std::fprintf(stderr, "quorlin-core-helper: wrong arguments\n\n%s", kUsage);
    return EX_USAGE;
  }
  try {
    // On a described machine no root is needed.
    if (setup.installRoot == "/") requireRoot();
    act(setup);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quorlin-core-helper: %s\n", error.what());
    return EX_UNAVAILABLE;
  }
  return EX_OK;
}

}  // namespace quorlin
