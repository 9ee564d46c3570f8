/// quorlinctl: the agent's samples and state for people and scripts.
#include "quorlinctl/CommandLine.h"

#include <clocale>
#include <vector>

int main(int argc, char** argv) {
  // Characters only: numbers are written the same in every locale.
  static_cast<void>(std::setlocale(LC_CTYPE, ""));
  const std::vector<std::string_view> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  return quorlin::runCommandLine(arguments);
}
