/// quorlinctl shows the agent's samples and state to people and scripts.
#include "programs/quorlinctl/commands/CommandLine.h"

#include <clocale>
#include <string>
#include <vector>

int main(int argc, char** argv) {
  // Characters only: numbers look the same in every locale.
  static_cast<void>(std::setlocale(LC_CTYPE, ""));
  const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  return quorlin::runCommandLine(arguments);
}
