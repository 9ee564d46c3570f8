#include "quorlinctl/Agent.h"

#include "core/Notifications.h"

#include <cerrno>

namespace quorlin {
namespace {

struct CredentialsUnref {
  void operator()(sd_bus_creds* credentials) const { sd_bus_creds_unref(credentials); }
};

}  // namespace

std::optional<RunningAgent> findAgent(const Bus& bus) {
  sd_bus_creds* found = nullptr;
  const int result = sd_bus_get_name_creds(bus.get(), kAgentIdentifier.data(), SD_BUS_CREDS_PID, &found);
  const std::unique_ptr<sd_bus_creds, CredentialsUnref> credentials(found);
  // sd_bus_get_name_creds(3): how the bus's "no such name" arrives.
  if (result == -ENXIO || result == -ESRCH) return std::nullopt;
  checked(result, "look for the agent on the session bus");
  RunningAgent agent;
  checked(sd_bus_creds_get_pid(found, &agent.process), "learn the agent's process");
  return agent;
}

}  // namespace quorlin
