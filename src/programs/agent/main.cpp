/// The agent's command line.
#include "platform/linux/bus/Bus.h"
#include "platform/linux/system/Log.h"
#include "platform/posix/ProgramOptions.h"
#include "platform/values/Sentence.h"
#include "programs/agent/Agent.h"

#include <array>
#include <csignal>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sysexits.h>

namespace {

constexpr const char* kProgram = "quorlin-sensors";
constexpr std::string_view kHelp = "--help";
constexpr std::string_view kVersion = "--version";

constexpr std::array kOptions = {
    quorlin::ProgramOption{quorlin::kSilentArgument, "start in the background, without a window"},
    quorlin::ProgramOption{kHelp, "show this text"},
    quorlin::ProgramOption{kVersion, "show the version"},
};

constexpr const char* kUsage =
    "Usage: quorlin-sensors [-silent] [URL...]\n"
    "\n"
    "Reads the computer's sensors while a program of this session wants them, and publishes them on the\n"
    "session bus. One agent runs in a session: a second one passes its request to the first and ends.\n"
    "The agent also ends if its settings switch everything off.\n"
    "\n";

int run(std::vector<std::string> arguments) {
  // The agent goes on when the reader of its log has closed the pipe.
  std::signal(SIGPIPE, SIG_IGN);
  quorlin::StreamLog log(kProgram);
  try {
    quorlin::Agent agent(std::move(arguments), log);
    if (agent.becomeOnlyInstance()) {
      agent.run();
    } else {
      log.line("The agent is already running; it received the request.");
    }
  } catch (const quorlin::BusError& error) {
    log.line(error.what());
    return EX_UNAVAILABLE;
  }
  return EX_OK;
}

}  // namespace

int main(int argc, char** argv) {
  // A program may be started without even its name.
  const std::vector<std::string_view> words(argc > 0 ? argv + 1 : argv, argv + argc);
  const auto given = quorlin::parseOptions(words, kOptions);
  const std::string usage = kUsage + quorlin::helpOf(kOptions);
  if (!given) return quorlin::complain(kProgram, given.error().text(), usage);
  for (const std::string& operand : given->operands) {
    if (operand.find("://") == std::string::npos) {
      return quorlin::complain(kProgram, quorlin::filledIn("'{}' is not a URL", {operand}), usage);
    }
  }
  if (given->has(kHelp)) return quorlin::answer(usage);
  if (given->has(kVersion)) return quorlin::answer(quorlin::filledIn("{} {}\n", {kProgram, QUORLIN_VERSION}));
  std::vector<std::string> arguments = {kProgram};
  if (given->has(quorlin::kSilentArgument)) arguments.emplace_back(quorlin::kSilentArgument);
  arguments.insert(arguments.end(), given->operands.begin(), given->operands.end());
  return run(std::move(arguments));
}
