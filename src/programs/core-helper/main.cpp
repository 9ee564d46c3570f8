#include "programs/core-helper/CommandLine.h"

#include <vector>

int main(int argc, char** argv) {
  // A program may be started without even its name.
  const std::vector<std::string_view> arguments(argc > 0 ? argv + 1 : argv, argv + argc);
  return quorlin::runCoreHelper({}, arguments);
}
