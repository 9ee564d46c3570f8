#include "quorlinctl/CommandLine.h"

#include "quorlinctl/AgentCommands.h"
#include "quorlinctl/Doctor.h"
#include "quorlinctl/HelperCommand.h"
#include "quorlinctl/Net.h"
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
  const char* helpEnding;
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
  return print(std::string(subcommand.help) + subcommand.helpEnding);
}

/// How the help of every command for the agent ends.
constexpr const char* kSentEnding =
    "\nThe agent reports nothing back: this says what was sent, not what became of it.\n"
    "\n"
    "Exit status: 0 sent, 1 not sent, 2 wrong usage.\n";

constexpr std::array<Subcommand, 9> kSubcommands = {{
    {"watch", "show the machine's sensors and disk activity as they change",
     "Usage: quorlinctl watch [--once] [--json] [--widget] [--timeout SECONDS]\n"
     "\n"
     "Shows temperatures, fans, power, battery and disk activity live; q quits. Into a\n"
     "pipe or file it writes one report after another. Power metrics come from the core\n"
     "helper (quorlinctl helper install), every six seconds.\n"
     "\n"
     "  --once             show one complete report and leave; where the core helper is\n"
     "                     on, that waits some seconds for its power metrics\n"
     "  --json             one JSON object a line for each notification: name, object,\n"
     "                     userInfo, and battery but with the reduced samples; with --once\n"
     "                     exactly one: the complete sample, or the power metrics where\n"
     "                     no sample comes\n"
     "  --widget           take the place of the widget, not of the main application\n"
     "  --timeout SECONDS  how long --once waits for a sample, 15 unless given\n"
     "  --help             show this help\n"
     "\n"
     "Exit status: 0 done, 1 no session bus or no sample in time, 2 wrong usage.\n",
     "", parseAndAct<parseWatchArguments, watch>},
    {"net", "list the applications that use the network",
     "Usage: quorlinctl net [--json] [--timeout SECONDS]\n"
     "\n"
     "Asks the agent once, and lists the applications that have connections over external\n"
     "interfaces, with the bytes that these connections have received and sent so far, the\n"
     "largest first. Only TCP is counted, and only the connections that are open now; the\n"
     "processes of other users are left out, unless the agent runs as root.\n"
     "\n"
     "  --json             the agent's answer as one JSON object: name, object, userInfo\n"
     "  --timeout SECONDS  how long the answer is waited for, 15 unless given\n"
     "  --help             show this help\n"
     "\n"
     "Exit status: 0 done, 1 no session bus, no agent or no answer in time, 2 wrong usage.\n",
     "", parseAndAct<parseNetArguments, showNetworkApplications>},
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
     "", parseAndAct<parseDoctorArguments, examine>},
    {"battery-limit", "hold the battery's charge at a limit",
     "Usage: quorlinctl battery-limit PERCENT\n"
     "\n"
     "Tells the agent to stop charging at 51 to 99 percent; 100 lifts the limit. The agent\n"
     "remembers it. It holds the charge through the core helper, while a consumer such as\n"
     "quorlinctl watch, the main application or the widget runs.\n",
     kSentEnding, parseAndAct<parseBatteryLimitArguments, sendBatteryLimit>},
    {"terminate", "ask an application to quit",
     "Usage: quorlinctl terminate PID\n"
     "\n"
     "Tells the agent to ask the application with this process id to quit (SIGTERM), upon\n"
     "which many end without asking whether to save. Processes that are no application\n"
     "are left alone.\n",
     kSentEnding, parseAndAct<parseProcessArguments, sendTerminate>},
    {"force-terminate", "end an application at once",
     "Usage: quorlinctl force-terminate PID\n"
     "\n"
     "Tells the agent to end the application with this process id at once; what it has not\n"
     "saved is lost. Processes that are no application are left alone.\n",
     kSentEnding, parseAndAct<parseProcessArguments, sendForceTerminate>},
    {"terminal", "run a shell command in the agent's session",
     "Usage: quorlinctl terminal [--] COMMAND...\n"
     "\n"
     "Tells the agent to run a command with /bin/sh, with its environment and working\n"
     "folder and without waiting for it. Several arguments are joined with blanks, so what\n"
     "the shell shall not split needs quotes of its own: quorlinctl terminal \"rm 'a b'\".\n",
     kSentEnding, parseAndAct<parseTerminalArguments, sendTerminalCommand>},
    {"workflow", "run a workflow file in the agent's session",
     "Usage: quorlinctl workflow [--] FILE\n"
     "\n"
     "Tells the agent to run an executable file or a .desktop entry, once and without\n"
     "arguments. The agent stands still until the workflow has ended, so a workflow must not\n"
     "call the agent back: quorlinctl inside it would wait for an agent that waits for it.\n",
     kSentEnding, parseAndAct<parseWorkflowArguments, sendWorkflow>},
    {"helper", "install or remove the core helper",
     "Usage: quorlinctl helper install\n"
     "       quorlinctl helper remove\n"
     "\n"
     "The core helper reads the power and holds the battery's charge, for which root is\n"
     "needed. install asks for the permission (through pkexec, unless run by root) and\n"
     "copies the helper into the system; remove asks it to let go of the charge and to\n"
     "remove itself.\n"
     "\n"
     "Exit status: 0 done, 2 wrong usage; install otherwise hands on that of the installer\n"
     "(126 permission refused, 127 not obtained), remove gives 1.\n",
     "", parseAndAct<parseHelperArguments, changeHelper>},
}};

int help() {
  std::string text = "Usage: quorlinctl SUBCOMMAND [OPTION...]\n\n";
  for (const Subcommand& subcommand : kSubcommands) {
    std::string name(subcommand.name);
    name.resize(17, ' ');
    text += "  " + name + subcommand.summary + "\n";
  }
  return print(
      text +
      "\n  --help           show this help; also after a subcommand\n  --version        show the version\n");
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
