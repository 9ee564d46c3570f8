/// The agent's command line.
#include "platform/linux/bus/Bus.h"
#include "platform/linux/system/Log.h"
#include "programs/agent/Agent.h"

#include <csignal>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include <sysexits.h>

namespace {

constexpr const char* kUsage =
    "Usage: quorlin-sensors [-silent] [URL...]\n"
    "\n"
    "Reads the computer's sensors while a program of this session wants them, and publishes them on the\n"
    "session bus. One agent runs in a session: a second one hands its request over and ends.\n"
    "The agent also ends if its settings switch everything off.\n"
    "\n"
    "  -silent    start in the background, without a window\n"
    "  --help     show this text\n"
    "  --version  show the version\n";

/// The exit code of a command line that does not start the agent.
std::optional<int> answerQuestions(const std::vector<std::string>& arguments) {
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument == "--help" || argument == "-h") {
      std::fputs(kUsage, stdout);
      return EX_OK;
    }
    if (argument == "--version") {
      std::puts("quorlin-sensors " QUORLIN_VERSION);
      return EX_OK;
    }
    if (argument != "-silent" && argument.find("://") == std::string::npos) {
      std::fprintf(stderr, "quorlin-sensors: unknown argument %s\n\n%s", argument.c_str(), kUsage);
      return EX_USAGE;
    }
  }
  return std::nullopt;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> arguments(argv, argv + argc);
  if (const std::optional<int> code = answerQuestions(arguments)) return *code;
  // The agent goes on when the reader of its log has closed the pipe.
  std::signal(SIGPIPE, SIG_IGN);
  quorlin::StreamLog log("quorlin-sensors");
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
