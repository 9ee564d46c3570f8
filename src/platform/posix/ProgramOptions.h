/// The options of a program: one table for parsing and for help.
#pragma once

#include "platform/values/Result.h"

#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

struct ProgramOption {
  /// With its dashes.
  std::string_view name;
  const char* meaning;
};

struct ProgramArguments {
  /// The names of the options that were given.
  std::set<std::string_view> options;
  std::vector<std::string> operands;

  bool has(std::string_view option) const { return options.contains(option); }
};

/// Sorts the arguments behind the program's name; -h stands for --help. Only whole names count, since a
/// program that runs as root must not guess.
Result<ProgramArguments> parseOptions(std::span<const std::string_view> arguments,
                                      std::span<const ProgramOption> options);

/// A line for each option.
std::string helpOf(std::span<const ProgramOption> options);

/// Says on the error stream what is wrong with the arguments, above the usage. Returns an exit status of
/// sysexits.h.
int complain(std::string_view program, std::string_view reason, const std::string& usage);

/// Writes to the standard output. Returns an exit status of sysexits.h.
int answer(const std::string& text);

}  // namespace quorlin
