#include "platform/posix/ProgramOptions.h"

#include "platform/posix/ErrorStream.h"

#include <algorithm>
#include <cstdio>

#include <sysexits.h>

namespace quorlin {

Result<ProgramArguments> parseOptions(std::span<const std::string_view> arguments,
                                      std::span<const ProgramOption> options) {
  ProgramArguments given;
  for (const std::string_view argument : arguments) {
    const std::string_view name = argument == "-h" ? "--help" : argument;
    const auto option = std::ranges::find(options, name, &ProgramOption::name);
    if (option != options.end()) {
      given.options.insert(option->name);
    } else if (argument.starts_with('-')) {
      return Trouble{.what = "unknown option {}", .where = std::string(argument)};
    } else {
      given.operands.emplace_back(argument);
    }
  }
  return given;
}

std::string helpOf(std::span<const ProgramOption> options) {
  std::size_t width = 0;
  for (const ProgramOption& option : options) width = std::max(width, option.name.size());
  std::string help;
  for (const auto& [name, meaning] : options) {
    help.append("  ").append(name).append(width - name.size() + 2, ' ').append(meaning).append("\n");
  }
  return help;
}

int complain(std::string_view program, std::string_view reason, const std::string& usage) {
  writeErrorLine(filledIn("{}: {}", {program, reason}));
  std::fprintf(stderr, "\n%s", usage.c_str());
  return EX_USAGE;
}

int answer(const std::string& text) {
  return std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0 ? EX_IOERR : EX_OK;
}

}  // namespace quorlin
