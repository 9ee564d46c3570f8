/// The helper on a described machine. The installed helper takes none of this from its environment.
#include "programs/core-helper/CommandLine.h"

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace {

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

}  // namespace

int main(int argc, char** argv) {
  quorlin::Setup setup;
  setup.sysfsRoot = variable("QUORLIN_SYSFS_ROOT");
  setup.stateFolder = variable("QUORLIN_STATE_FOLDER");
  setup.installRoot = variable("QUORLIN_INSTALL_ROOT");
  setup.user = variable("QUORLIN_USER");
  setup.idle = std::chrono::milliseconds(std::stol(variable("QUORLIN_IDLE_MS")));
  setup.patience = std::chrono::milliseconds(std::stol(variable("QUORLIN_PATIENCE_MS")));
  setup.patienceWithPerson = setup.patience;
  for (const auto& [name, duration] : {std::pair("QUORLIN_PAUSE_MS", &setup.pauseBeforeHold),
                                       {"QUORLIN_SILENCE_MS", &setup.patienceWithHolder},
                                       {"QUORLIN_TURN_MS", &setup.patienceWithTurn},
                                       {"QUORLIN_SETTLING_MS", &setup.settling}}) {
    if (const std::string value = variable(name); !value.empty()) {
      *duration = std::chrono::milliseconds(std::stol(value));
    }
  }
  const std::vector<std::string_view> arguments(argv + 1, argv + argc);
  return quorlin::runCoreHelper(setup, arguments);
}
