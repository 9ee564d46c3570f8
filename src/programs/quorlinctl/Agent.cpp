#include "quorlinctl/Agent.h"

#include "core/Notifications.h"

#include <chrono>

namespace quorlin {
namespace {

constexpr const char* kPath = "/brellwick/QuorlinSensors";

/// An agent that the bus starts, or one that runs a workflow, takes its time.
constexpr std::chrono::seconds kPatience(60);

std::string reasonOf(const sd_bus_error& error) {
  if (sd_bus_error_has_names(&error, SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER) != 0) {
    return "no agent runs in this session; start it with: quorlin-sensors";
  }
  if (sd_bus_error_has_names(&error, SD_BUS_ERROR_NO_REPLY, SD_BUS_ERROR_TIMEOUT) != 0) {
    return "the agent did not answer; it may be busy, and still do what was sent";
  }
  return std::string("the agent did not take it: ") + (error.message == nullptr ? error.name : error.message);
}

}  // namespace

std::optional<pid_t> findAgent(const Bus& bus) { return processOwning(bus, std::string(kAgentIdentifier)); }

std::optional<pid_t> openUrl(const Bus& bus, const std::string& url) {
  constexpr const char* attempt = "write a message to the agent";
  sd_bus_message* made = nullptr;
  checked(sd_bus_message_new_method_call(bus.get(), &made, kAgentIdentifier.data(), kPath,
                                         "org.freedesktop.Application", "Open"),
          attempt);
  const BusMessage call(made);
  checked(sd_bus_message_append(call.get(), "asa{sv}", 1, url.c_str(), 0), attempt);
  sd_bus_error error = SD_BUS_ERROR_NULL;
  sd_bus_message* answer = nullptr;
  const int result =
      sd_bus_call(bus.get(), call.get(), std::chrono::microseconds(kPatience).count(), &error, &answer);
  const BusMessage reply(answer);
  const std::string reason = result < 0 ? reasonOf(error) : "";
  sd_bus_error_free(&error);
  if (result < 0) throw BusError(reason);
  return findAgent(bus);
}

}  // namespace quorlin
