#include "programs/quorlinctl/commands/Net.h"

#include "core/Notifications.h"
#include "platform/linux/bus/NotificationCenter.h"
#include "platform/linux/loop/BusSource.h"
#include "platform/linux/loop/RunLoop.h"
#include "platform/linux/system/SystemRoots.h"
#include "programs/quorlinctl/commands/ProcessName.h"
#include "programs/quorlinctl/services/Agent.h"
#include "programs/quorlinctl/terminal/StandardStreams.h"
#include "programs/quorlinctl/terminal/Terminal.h"
#include "programs/quorlinctl/view/Json.h"
#include "programs/quorlinctl/view/NetworkView.h"

#include <unistd.h>

namespace quorlin {
namespace {

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
  std::string text;
  for (const std::string& line : renderApplications(applications, columns, reportAppearance())) {
    text += line + "\n";
  }
  return text;
}

}  // namespace

int showNetworkApplications(const NetOptions& options) {
  try {
    LinuxRunLoop loop;
    const Bus bus = Bus::openSession();
    const BusSource source(bus, [&] { loop.stop(); });
    if (!findAgent(bus)) {
      complain("the agent is not running; start it: quorlin-sensors");
      return kExitFailed;
    }
    const std::optional<Notification> answer = ask(bus, loop, options.timeout);
    if (!answer) {
      complain("the agent did not answer in time; it may be busy");
      return kExitFailed;
    }
    return print(options.json ? jsonLineOf(*answer) + "\n" : report(*answer));
  } catch (const BusError& error) {
    complain(error.what());
    return kExitFailed;
  }
}

}  // namespace quorlin
