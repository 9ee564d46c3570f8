#include "programs/launcher/Launcher.h"

#include "core/Notifications.h"
#include "platform/linux/bus/NotificationCenter.h"
#include "platform/linux/bus/SilentStart.h"
#include "platform/posix/ErrorStream.h"

#include <cstdint>
#include <string>

#include <sysexits.h>

namespace quorlin {
namespace {

using Clock = std::chrono::steady_clock;

constexpr BusObject kDaemon = {"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus"};
/// The D-Bus Specification, StartServiceByName.
constexpr std::uint32_t kAlreadyRunning = 2;

int fail(int status, std::string_view reason) {
  writeErrorLine(filledIn("quorlin-sensors-launcher: the agent was not started: {}", {reason}));
  return status;
}

/// Whether it ran already.
Result<bool, CallError> start(const Bus& bus, std::chrono::microseconds patience) {
  const BusMessage question = methodCall(bus.get(), kDaemon, "StartServiceByName");
  checked(sd_bus_message_append(question.get(), "su", kAgentIdentifier.data(), std::uint32_t{0}),
          "Cannot ask the bus to start the agent");
  const auto answer = call(bus.get(), question, patience);
  if (!answer) return answer.error();
  std::uint32_t result = 0;
  checked(sd_bus_message_read(answer->get(), "u", &result), "Cannot read the answer of the bus");
  return result == kAlreadyRunning;
}

}  // namespace

int launchAgent(std::chrono::microseconds patience) {
  const Clock::time_point deadline = Clock::now() + patience;
  const Bus bus = Bus::openSession();
  const LauncherName name(bus, kLauncherIdentifier);
  bool isTold = false;
  bool hasEnded = false;
  BusNotificationCenter center(bus);
  const auto farewell = center.addObserver(notification::kTerminateLauncher, [&](const Notification& told) {
    isTold = isTold || told.object == kAgentIdentifier;
  });
  const BusSlot ownerChange =
      bus.match("type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',arg2='',arg0='" +
                    std::string(kAgentIdentifier) + "'",
                [&](sd_bus_message*) { hasEnded = true; });

  const Result<bool, CallError> ran = start(bus, patience);
  if (!ran) return fail(EX_UNAVAILABLE, ran.error().message);
  while (!*ran && !isTold) {
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now());
    if (left.count() <= 0) return fail(EX_TEMPFAIL, "it has not said in time that it has launched");
    if (checked(sd_bus_process(bus.get(), nullptr), "Lost the session bus") > 0) continue;
    if (hasEnded) return fail(EX_UNAVAILABLE, "it ended while it launched");
    sd_bus_wait(bus.get(), static_cast<std::uint64_t>(left.count()));
  }
  return EX_OK;
}

}  // namespace quorlin
