#include "core/Notifications.h"
#include "platform/linux/bus/NotificationCenter.h"
#include "platform/linux/loop/BusSource.h"
#include "platform/linux/loop/RunLoop.h"
#include "platform/linux/system/SystemRoots.h"
#include "platform/values/Tick.h"
#include "programs/quorlinctl/commands/ProcessName.h"
#include "programs/quorlinctl/commands/Subcommands.h"
#include "programs/quorlinctl/services/Agent.h"
#include "programs/quorlinctl/terminal/StandardStreams.h"
#include "programs/quorlinctl/terminal/Terminal.h"
#include "programs/quorlinctl/view/Json.h"
#include "programs/quorlinctl/view/NetworkView.h"

#include <fmt/format.h>
#include <unistd.h>

namespace quorlin {
namespace {

constexpr std::chrono::milliseconds kPatience = 5 * kTick;

/// Anybody may post a notification with that name.
bool isAnswer(const Notification& received) {
  const PropertyList* applications = find(received.userInfo, "netapps");
  return received.object == kSensorsAgent && applications != nullptr && applications->array() != nullptr;
}

/// The agent's answer, or nothing if none came in time. Throws BusError.
std::optional<Notification> ask(const Bus& bus, LinuxRunLoop& loop, std::chrono::milliseconds timeout) {
  BusNotificationCenter center(bus);
  std::optional<Notification> answer;
  const auto observation = center.addObserver(notification::kNetDataW, [&](const Notification& received) {
    if (!isAnswer(received)) return;
    answer = received;
    loop.stop();
  });
  center.post(notification::kGetNetworkApp, std::nullopt, {}, Delivery::Immediate);
  const auto patience = loop.scheduleTimer(timeout, [&] { loop.stop(); });
  loop.run();
  return answer;
}

std::string report(const Notification& answer) {
  const SystemRoots roots = systemRootsFromEnvironment();
  const std::vector<NetworkApplication> applications = networkApplicationsOf(
      answer.userInfo, [&](std::int32_t process) { return nameOfProcess(process, roots); });
  const int columns = terminalSize(STDOUT_FILENO).value_or(ViewSize()).columns;
  return fmt::format("{}\n", fmt::join(renderApplications(applications, columns, reportAppearance()), "\n"));
}

}  // namespace

Result<int, UsageError> showNetworkApplications(const ParsedArguments& given) {
  LinuxRunLoop loop;
  const Bus bus = Bus::openSession();
  const BusSource source(bus, [&] { loop.stop(); });
  if (const std::optional<std::string> trouble = ensureAgent(bus)) return fail(*trouble);
  const std::optional<Notification> answer = ask(bus, loop, given.duration("timeout").value_or(kPatience));
  if (!answer) return fail("the agent did not answer in time; it may be busy");
  return printDrawn(given.has("json") ? jsonLineOf(*answer) + "\n" : report(*answer));
}

}  // namespace quorlin
