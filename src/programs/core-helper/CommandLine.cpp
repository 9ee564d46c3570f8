#include "core-helper/CommandLine.h"

#include "core-helper/Installation.h"
#include "core-helper/Removal.h"
#include "core-helper/Service.h"

#include <cstdio>
#include <exception>

#include <sysexits.h>

namespace quorlin {
namespace {

constexpr const char* kUsage =
    "Usage: quorlin-core-helper [--install | --remove | --after-stop]\n"
    "\n"
    "Holds the battery's charge and reads power counters for the agent, as root, on the system bus. The bus\n"
    "starts it when it is called; it leaves when nobody needs it.\n"
    "\n"
    "  --install     copy this program and what belongs to it into place\n"
    "  --remove      release the charge and remove what --install put into place\n"
    "  --after-stop  what is to be done once the service has ended; its unit runs this\n"
    "  --help        show this text\n"
    "  --version     show the version\n";

void serve(const Setup& setup) { Service(setup).run(); }

void install(const Setup& setup) {
  FileDescriptor lock = lockInstallation(setup, true);
  // What a power cut kept from being removed would be at the end of the new one.
  keepInstalled(setup);
  installHelper(setup.installRoot);
  // The end of the old one takes it, too.
  lock.reset();
  if (setup.installRoot != "/") return;
  tellSystem();
  // The next call starts the new one.
  stopService();
}

void remove(const Setup& setup) {
  const bool isReal = setup.installRoot == "/";
  if (isReal) stopService();
  markForRemoval(setup);
  cleanUpAfterStop(setup);
  // A call may have started it once more while its files were still there.
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
    // A described machine is anybody's.
    if (setup.installRoot == "/") requireRoot();
    act(setup);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "quorlin-core-helper: %s\n", error.what());
    return EX_UNAVAILABLE;
  }
  return EX_OK;
}

}  // namespace quorlin
