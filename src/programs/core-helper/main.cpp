#include "core-helper/CommandLine.h"

#include <vector>

int main(int argc, char** argv) {
  // Whoever starts a program may give it no name at all.
  const std::vector<std::string_view> arguments(argc > 0 ? argv + 1 : argv, argv + argc);
  return quorlin::runCoreHelper({}, arguments);
}
