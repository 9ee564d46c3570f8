#include "programs/quorlinctl/commands/CommandLine.h"

#include "platform/linux/bus/Bus.h"
#include "programs/quorlinctl/commands/Subcommands.h"
#include "programs/quorlinctl/terminal/StandardStreams.h"

#include <algorithm>

#include <fmt/format.h>

namespace quorlin {
namespace {

int complainOfUsage(const UsageError& error, std::string_view command) {
  complain(fmt::format("{} (see: {} --help)", error.message, command));
  return kExitUsage;
}

Result<int, UsageError> runSubcommand(const Subcommand& subcommand, Arguments arguments) {
  const auto parsed = parseArguments(arguments, subcommand.options, subcommand.operands);
  if (!parsed) return parsed.error();
  if (parsed->help) return print(helpOf(subcommand));
  try {
    const auto* const request = std::get_if<AgentRequest>(&subcommand.action);
    return request == nullptr ? std::get<Run>(subcommand.action)(*parsed) : sendRequest(*request, *parsed);
  } catch (const BusError& error) {
    return fail(error.what());
  }
}

}  // namespace

int runCommandLine(Arguments arguments) {
  constexpr const char* program = "quorlinctl";
  constexpr const char* version = "version";
  const std::vector<Option> options = {{.name = version}};
  const auto parsed = parseArguments(arguments, options, {.kind = Operands::Kind::Command});
  if (!parsed) return complainOfUsage(parsed.error(), program);
  if (parsed->help) return print(helpOfProgram());
  if (parsed->has(version)) return print(fmt::format("{} {}\n", program, QUORLIN_VERSION));
  const std::vector<std::string>& words = parsed->operands;
  if (words.empty()) return complainOfUsage({"The subcommand is missing"}, program);
  const auto found = std::ranges::find(subcommands(), words.front(), &Subcommand::name);
  if (found == subcommands().end()) {
    return complainOfUsage({fmt::format("Unknown subcommand '{}'", words.front())}, program);
  }
  const auto status = runSubcommand(*found, Arguments(words).subspan(1));
  return status ? *status : complainOfUsage(status.error(), fmt::format("{} {}", program, found->name));
}

}  // namespace quorlin
