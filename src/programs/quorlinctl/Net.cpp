#include "quorlinctl/Net.h"

#include "core/Notifications.h"
#include "platform/linux/NotificationCenter.h"
#include "platform/linux/RunLoop.h"
#include "platform/linux/SystemRoots.h"
#include "quorlinctl/Agent.h"
#include "quorlinctl/Json.h"
#include "quorlinctl/NetworkView.h"
#include "quorlinctl/Output.h"
#include "quorlinctl/ProcessName.h"
#include "quorlinctl/Terminal.h"

#include <unistd.h>

namespace quorlin {
namespace {

/// Anybody may post a notification of that name.
bool isAnswer(const Notification& received) {
  const PropertyList* applications = find(received.userInfo, "netapps");
  return received.object == kSensorsAgent && applications != nullptr && applications->array() != nullptr;
}

/// The agent's answer, or nothing when none came in time. Throws BusError.
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
    Bus bus = Bus::openSession();
    if (!findAgent(bus)) {
      complain("the agent is not running; start it with: quorlin-sensors");
      return kExitFailed;
    }
    bus.setDisconnectedHandler([&] { loop.stop(); });
    const std::optional<Notification> answer = ask(bus, loop, options.timeout);
    if (!answer) {
      complain("the agent did not answer in time; it may be busy");
      return kExitFailed;
    }
    const std::error_code error =
        writeAll(STDOUT_FILENO, options.json ? jsonLineOf(*answer) + "\n" : report(*answer));
    if (error) complain("standard output: " + error.message());
    return error ? kExitFailed : kExitOk;
  } catch (const BusError& error) {
    complain(error.what());
    return kExitFailed;
  }
}

}  // namespace quorlin
