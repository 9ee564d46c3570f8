/// nettop: lists the bytes that each process has received and sent over the network.
#include "platform/linux/system/SystemRoots.h"
#include "platform/posix/ErrorStream.h"
#include "platform/posix/RunningTime.h"
#include "programs/nettop/Connections.h"
#include "programs/nettop/ProcessTraffic.h"
#include "programs/nettop/TrafficTable.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <span>
#include <string_view>
#include <vector>

#include <sysexits.h>
#include <unistd.h>

namespace quorlin {
namespace {

/// One sample of external traffic by process, without the columns that the agent does not read. This program
/// never has those, so this is its only form.
constexpr std::array<std::string_view, 7> kArguments = {
    "-Px",
    "-k",
    "interface,state,rx_ooo,rx_dupe,re-tx,rtt_avg,rcvsize,tx_win,tc_class,tc_mgt,cc_algo,P,C,R,W",
    "-l",
    "1",
    "-t",
    "external"};

constexpr const char* kUsage =
    "Usage: nettop -Px -k "
    "interface,state,rx_ooo,rx_dupe,re-tx,rtt_avg,rcvsize,tx_win,tc_class,tc_mgt,cc_algo,P,C,R,W\n"
    "              -l 1 -t external\n"
    "\n"
    "Lists the processes that hold TCP connections outside the loopback network, and the bytes that each\n"
    "process has received and sent on them.\n"
    "\n"
    "  --help  show this text\n";

int complain(const Trouble& trouble) {
  writeErrorLine(filledIn("nettop: {}", {trouble.text()}));
  return EX_UNAVAILABLE;
}

/// Not stdio, which would write a long list in pieces.
int print(std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(STDOUT_FILENO, text.data(), text.size());
    if (count < 0) {
      std::perror("nettop: cannot write the output");
      return EX_IOERR;
    }
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return EX_OK;
}

/// Prints only a complete list; a trouble goes to the error stream.
int run(std::span<const std::string_view> arguments) {
  if (arguments.size() == 1 && arguments.front() == "--help") return print(kUsage);
  if (!std::ranges::equal(arguments, kArguments)) {
    std::fprintf(stderr, "nettop: wrong arguments\n\n%s", kUsage);
    return EX_USAGE;
  }
  const Result<std::vector<Connection>> connections = externalConnections();
  if (!connections) return complain(connections.error());
  const Result<std::vector<ProcessTraffic>> processes =
      trafficByProcess(systemRootsFromEnvironment().procfs, *connections);
  if (!processes) return complain(processes.error());
  return print(trafficTable(*processes, std::chrono::system_clock::now()));
}

}  // namespace
}  // namespace quorlin

int main(int argc, char** argv) {
  // The agent waits for its output.
  quorlin::endAfter(5);
  // A program may be started without even its name.
  const std::vector<std::string_view> arguments(argc > 0 ? argv + 1 : argv, argv + argc);
  return quorlin::run(arguments);
}
