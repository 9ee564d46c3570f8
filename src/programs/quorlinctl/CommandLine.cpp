#include "quorlinctl/CommandLine.h"

#include "quorlinctl/Doctor.h"
#include "quorlinctl/Output.h"
#include "quorlinctl/Watch.h"

#include <algorithm>
#include <array>

#include <unistd.h>

namespace quorlin {
namespace {

struct Subcommand {
  std::string_view name;
  const char* summary;
  const char* help;
  int (*run)(const Subcommand& subcommand, Arguments arguments);
};

int print(std::string_view text) { return writeAll(STDOUT_FILENO, text) ? kExitFailed : kExitOk; }

int usageError(const std::string& message, std::string_view subcommand) {
  const std::string name = subcommand.empty() ? "" : std::string(subcommand) + " ";
  complain(message + " (quorlinctl " + name + "--help says more)");
  return kExitUsage;
}

/// Parses a subcommand's arguments and acts on them.
template <auto parse, auto act>
int parseAndAct(const Subcommand& subcommand, Arguments arguments) {
  const auto parsed = parse(arguments);
  if (const auto* error = std::get_if<UsageError>(&parsed))
    return usageError(error->message, subcommand.name);
  const auto& options = std::get<0>(parsed);
  if (!options.help) return act(options);
  return print(subcommand.help);
}

constexpr std::array<Subcommand, 2> kSubcommands = {{
    {"watch", "show the machine's sensors and disk activity as they change",
     "Usage: quorlinctl watch [--once] [--json] [--widget] [--timeout SECONDS]\n"
     "\n"
     "Shows temperatures, fans and disk activity live; q quits. Into a pipe or file it\n"
     "writes one report after another.\n"
     "\n"
     "  --once             show one complete report and leave\n"
     "  --json             one JSON object a line for each notification: name, object,\n"
     "                     userInfo; with --once exactly one, the complete sample\n"
     "  --widget           take the place of the widget, not of the main application\n"
     "  --timeout SECONDS  how long --once waits for a sample, 15 unless given\n"
     "  --help             show this help\n"
     "\n"
     "Exit status: 0 done, 1 no session bus or no sample in time, 2 wrong usage.\n",
     parseAndAct<parseWatchArguments, watch>},
    {"doctor", "say what is missing on this machine, and why",
     "Usage: quorlinctl doctor [--json]\n"
     "\n"
     "Looks at what the agent needs on this machine and in this session, one line a\n"
     "check: ok, missing (with what to do about it) or note.\n"
     "\n"
     "  --json             one JSON object: complete, checks\n"
     "  --help             show this help\n"
     "\n"
     "Exit status: 0 nothing is missing, 1 something is, 2 wrong usage.\n",
     parseAndAct<parseDoctorArguments, examine>},
}};

int help() {
  std::string text = "Usage: quorlinctl SUBCOMMAND [OPTION...]\n\n";
  for (const Subcommand& subcommand : kSubcommands) {
    std::string name(subcommand.name);
    name.resize(10, ' ');
    text += "  " + name + subcommand.summary + "\n";
  }
  return print(text +
               "\n  --help    show this help; also after a subcommand\n  --version show the version\n");
}

}  // namespace

int runCommandLine(Arguments arguments) {
  if (arguments.empty()) return usageError("a subcommand is missing", "");
  const std::string_view first = arguments.front();
  if (first == "--help" || first == "-h") return help();
  if (first == "--version") return print("quorlinctl " QUORLIN_VERSION "\n");
  const auto* found = std::ranges::find(kSubcommands, first, &Subcommand::name);
  if (found != kSubcommands.end()) return found->run(*found, arguments.subspan(1));
  return usageError(
      (first.starts_with('-') ? "unknown option '" : "unknown subcommand '") + std::string(first) + "'", "");
}

}  // namespace quorlin
