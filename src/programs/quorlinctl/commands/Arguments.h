/// Arguments, parsed by a description of options and operands.
#pragma once

#include "platform/values/Result.h"

#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

using Arguments = std::span<const std::string>;

/// A sentence that explains what is wrong with the command line.
struct UsageError {
  std::string message;
};

/// An option by its long name, without the dashes.
struct Option {
  enum class Kind { Flag, Seconds };

  const char* name = "";
  Kind kind = Kind::Flag;
  const char* description = "";
};

/// The arguments after the options. Command is any number of operands; the options end at the first of them.
struct Operands {
  enum class Kind { None, One, AtMostOne, Command };

  Kind kind = Kind::None;
  /// How help and errors name it.
  const char* placeholder = "";
};

/// The parsed arguments.
struct ParsedArguments {
  /// Nothing but help is wanted, so operands may be missing.
  bool help = false;
  std::set<std::string_view> flags;
  std::map<std::string_view, std::chrono::milliseconds> durations;
  /// Their bytes are untouched.
  std::vector<std::string> operands;

  bool has(std::string_view flag) const { return flags.contains(flag); }
  std::optional<std::chrono::milliseconds> duration(std::string_view option) const {
    const auto found = durations.find(option);
    return found == durations.end() ? std::nullopt : std::optional(found->second);
  }
};

/// Every set of options also has --help and -h. A value is the next argument or follows '='. After "--" there
/// are only operands.
Result<ParsedArguments, UsageError> parseArguments(Arguments arguments, std::span<const Option> options,
                                                   Operands operands);

}  // namespace quorlin
