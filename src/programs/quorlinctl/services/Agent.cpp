#include "programs/quorlinctl/services/Agent.h"

#include "core/Notifications.h"

#include <chrono>

#include <fmt/format.h>

namespace quorlin {
namespace {

constexpr const char* kPath = "/brellwick/QuorlinSensors";

/// The bus may have to start the agent, and a workflow may keep it busy.
constexpr std::chrono::seconds kPatience(60);

std::string reasonOf(const CallError& error) {
  if (error.isOneOf({SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER})) {
    return "no agent is running in this session; start it: quorlin-sensors";
  }
  if (error.isOneOf({SD_BUS_ERROR_NO_REPLY, SD_BUS_ERROR_TIMEOUT})) {
    return "the agent did not answer; it may be busy, and may still carry out the request";
  }
  return fmt::format("the agent refused: {}", error.message.empty() ? error.name : error.message);
}

}  // namespace

std::optional<pid_t> findAgent(const Bus& bus) { return processOwning(bus, std::string(kAgentIdentifier)); }

void openUrl(const Bus& bus, const std::string& url) {
  const BusMessage open =
      methodCall(bus.get(), {kAgentIdentifier.data(), kPath, "org.freedesktop.Application"}, "Open");
  checked(sd_bus_message_append(open.get(), "asa{sv}", 1, url.c_str(), 0),
          "Cannot write a message to the agent");
  if (const auto answer = call(bus.get(), open, kPatience); !answer) {
    throw BusError(reasonOf(answer.error()));
  }
}

}  // namespace quorlin
