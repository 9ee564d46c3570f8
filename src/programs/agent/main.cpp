/// The agent's command line.
#include "agent/Agent.h"
#include "platform/linux/Bus.h"
#include "platform/linux/Log.h"

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
    "session bus. Runs once a session: started again, it tells the running agent and leaves.\n"
    "\n"
    "  -silent    start in the background; leave at once if everything is switched off\n"
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
  // A log that nobody reads any more must not end the agent.
  std::signal(SIGPIPE, SIG_IGN);
  quorlin::StreamLog log("quorlin-sensors");
  try {
    quorlin::Agent agent(std::move(arguments), log);
    if (agent.becomeOnlyInstance()) {
      agent.run();
    } else {
      log.line("the agent is running already; it was told");
    }
  } catch (const quorlin::BusError& error) {
    log.line(error.what());
    return EX_UNAVAILABLE;
  }
  return EX_OK;
}
