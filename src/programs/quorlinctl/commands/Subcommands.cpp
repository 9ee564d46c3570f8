#include "programs/quorlinctl/commands/Subcommands.h"

#include "commands/UrlScheme.h"
#include "programs/quorlinctl/commands/Keep.h"
#include "programs/quorlinctl/commands/RequestArguments.h"
#include "programs/quorlinctl/doctor/Doctor.h"

namespace quorlin {
namespace {

using enum Operands::Kind;
using enum Option::Kind;

}  // namespace

std::span<const Subcommand> subcommands() {
  static const std::vector<Subcommand> rows = {
      {.name = "enable",
       .summary = "switch the sensors or the core helper on, now and at every login",
       .operands = {AtMostOne, "sensors|core"},
       .description =
           "Has the agent run now and at every login, with its sensors plug-in on, or with core the "
           "core helper, which reads the power and holds the battery's charge. Where that is not "
           "installed yet, the agent installs it, which asks for an administrator's password.",
       .exitStatuses = {{"0", "done"},
                        {"1", "not done, or only in part; the error stream says what and why"}},
       .action = enableFeature},
      {.name = "disable",
       .summary = "switch the sensors or the core helper off again",
       .operands = {AtMostOne, "sensors|core"},
       .description =
           "Switches the sensors plug-in off, or with core the core helper, which lets the battery "
           "charge again and stays installed. With both off the agent ends.",
       .exitStatuses = {{"0", "done"},
                        {"1", "not done, or only in part; the error stream says what and why"}},
       .action = disableFeature},
      {.name = "status",
       .summary = "show what is switched on, running and installed",
       .description = "Shows what is on, running and installed, and where it is not, why and what to do.",
       .options = {{"json", Flag, "Print one JSON object: complete and checks."}},
       .exitStatuses = {{"0", "what is switched on works"},
                        {"1", "something does not, or nothing is switched on"}},
       .action = [](const ParsedArguments& given) -> Result<int, UsageError> {
         return examine(Examination::Status, given.has("json"));
       }},
      {.name = "watch",
       .summary = "show the machine's sensors and disk activity as they change",
       .description =
           "Shows temperatures, fans, power, battery and disk activity live; press q to quit. Into a pipe or "
           "file it writes one report after another. Power metrics come with every second sample, from "
           "the core helper (quorlinctl helper install).",
       .options =
           {{"once", Flag,
             "Show one complete report and exit. If the core helper is on, this waits a few seconds for its "
             "power metrics."},
            {"json", Flag,
             "Print one line of JSON per notification: name, object, userInfo and, except for reduced "
             "samples, battery. With --once, print exactly one line: the complete sample, or the power "
             "metrics if no sample comes."},
            {"widget", Flag, "Act as the widget instead of the main application."},
            {"timeout", Seconds,
             "How long --once may wait for the whole report. By default it waits 15 seconds for a sample or "
             "power metrics, then a little longer for the other."}},
       .exitStatuses = {{"0", "done"}, {"1", "no session bus, or no sample in time"}},
       .action = watch},
      {.name = "net",
       .summary = "list the applications that use the network",
       .description =
           "Asks the agent once and lists the applications with connections over external interfaces, the "
           "busiest first, with the bytes that these connections have received and sent so far. Only open "
           "TCP connections count. The list omits processes of other users unless the agent runs as root.",
       .options = {{"json", Flag, "Print the agent's answer as JSON: name, object and userInfo."},
                   {"timeout", Seconds, "How long to wait for the answer. The default is 15."}},
       .exitStatuses = {{"0", "done"}, {"1", "no session bus, no agent, or no answer in time"}},
       .action = showNetworkApplications},
      {.name = "doctor",
       .summary = "find out what is missing on this machine, and why",
       .description =
           "Checks what the agent needs on this machine and in this session. Each line is one check: ok, "
           "missing (with what to do about it) or note.",
       .options = {{"json", Flag, "Print one JSON object: complete and checks."}},
       .exitStatuses = {{"0", "nothing is missing"}, {"1", "something is missing"}},
       .action = [](const ParsedArguments& given) -> Result<int, UsageError> {
         return examine(Examination::Everything, given.has("json"));
       }},
      {.name = "battery-limit",
       .summary = "hold the battery's charge at a limit, or show how it is held",
       .operands = {AtMostOne, "PERCENT"},
       .description =
           "Asks the agent to stop charging at 51 to 99 percent; 100 lifts the limit. The agent remembers "
           "the limit. It holds the charge through the core helper while a consumer runs, such as "
           "quorlinctl watch, the main application, the widget, or the keeper that --keep starts. Waits "
           "until it is known what became of the limit.\n"
           "Without PERCENT it shows the limit, the charge, and whether it is held now, by what and for "
           "whom, and if it is not, why and what to do.",
       .options = {{"keep", Flag,
                    "Hold the charge while nothing else runs, too: start the keeper, a small program that "
                    "does only this, now and at every login."},
                   {"no-keep", Flag, "End the keeper, and no longer start it at login."},
                   {"json", Flag, "Print one JSON object: limit, state, finding, advice and batteries."}},
       .exitStatuses = {{"0", "the charge is held, will be held at the limit, or has no limit"},
                        {"1", "the limit was not set, or the keeper not started or ended"},
                        {"3", "the charge is not held now"}},
       .action = limitBattery},
      {.name = "terminate",
       .summary = "ask an application to quit",
       .operands = {One, "PID"},
       .description = "Asks the agent to send SIGTERM to the application with this process id. Many "
                      "applications then end "
                      "without offering to save. The agent ignores processes that are not applications.",
       .action = AgentRequest{.word = urlcommand::kTerminateApp,
                              .read = readProcess,
                              .confirmation = "Asked the agent to quit application {}.",
                              .check = checkProcessExists}},
      {.name = "force-terminate",
       .summary = "end an application at once",
       .operands = {One, "PID"},
       .description = "Asks the agent to end the application with this process id at once. Unsaved work is "
                      "lost. The agent "
                      "ignores processes that are not applications.",
       .action = AgentRequest{.word = urlcommand::kForceTerminateApp,
                              .read = readProcess,
                              .confirmation = "Asked the agent to end application {} at once.",
                              .check = checkProcessExists}},
      {.name = "terminal",
       .summary = "run a shell command in the agent's session",
       .operands = {Command, "COMMAND"},
       .description =
           "Asks the agent to run a command with /bin/sh, in the agent's environment and working folder, "
           "without waiting for it. Several arguments are joined with spaces, so quote words with spaces "
           "twice.\n"
           "Example: quorlinctl terminal \"rm 'a b'\"",
       .action = AgentRequest{.word = urlcommand::kTerminalCommand,
                              .read = readCommand,
                              .confirmation = "Asked the agent to run the command."}},
      {.name = "workflow",
       .summary = "run a workflow file in the agent's session",
       .operands = {One, "FILE"},
       .description =
           "Asks the agent to run an executable file or a .desktop entry once, without arguments. The agent "
           "does nothing else until the workflow has ended, so a workflow must not call the agent: "
           "quorlinctl inside it would wait for an agent that waits for the workflow.",
       .action = AgentRequest{.word = urlcommand::kRunWorkflow,
                              .read = readFile,
                              .confirmation = "Asked the agent to run {}.",
                              .check = checkWorkflow}},
      {.name = "helper",
       .summary = "install or remove the core helper",
       .operands = {One, "install|remove"},
       .description =
           "The core helper reads the power and holds the battery's charge, which needs root.\n"
           "install asks for permission (through pkexec, unless run by root) and copies the helper into the "
           "system. remove asks the helper to release the charge and to remove itself; without a system bus "
           "only root can remove it.",
       .exitStatuses = {{"0", "done"},
                        {"1", "not installed, or not removed"},
                        {"126", "permission was refused, so nothing was installed"},
                        {"127", "polkit refused or could not be asked, so nothing was installed"},
                        {"other", "the installer's own exit status"}},
       .action = changeHelper},
  };
  return rows;
}

}  // namespace quorlin
