#include "quorlinctl/Watch.h"

#include "core/Notifications.h"
#include "core/Settings.h"
#include "helper/HelperTool.h"
#include "platform/linux/NotificationCenter.h"
#include "platform/linux/PowerSources.h"
#include "platform/linux/RunLoop.h"
#include "platform/linux/SystemRoots.h"
#include "platform/linux/UserDefaults.h"
#include "quorlinctl/Agent.h"
#include "quorlinctl/Checks.h"
#include "quorlinctl/Consumer.h"
#include "quorlinctl/Helper.h"
#include "quorlinctl/SampleOutput.h"

#include <csignal>
#include <utility>

#include <unistd.h>

namespace quorlin {
namespace {

/// In a terminal, how long no sample comes until that is said; the agent sends one every three seconds.
constexpr std::chrono::seconds kSilence(10);

/// How long --once waits for the rest: the agent asks for power metrics with every second sample, and the
/// helper measures for a second.
constexpr std::chrono::seconds kPatience(6);

/// Why no sample came.
const char* explainSilence(const Bus& bus, bool heardHeartbeat) {
  if (!findAgent(bus)) return "the agent is not running; start it with: quorlin-sensors";
  if (heardHeartbeat) return "the agent runs, but no sample came in time";
  if (isSwitchedOn(settingsFile(), setting::kAutostart)) {
    return "the agent runs, but says nothing: it is busy, or began before its sensors plug-in was switched "
           "on";
  }
  return "the agent runs, but its sensors plug-in is switched off (quorlinctl doctor says how to change it)";
}

/// Whether power metrics can come at all.
bool isPowerExpected() {
  if (!isSwitchedOn(settingsFile(), setting::kCoreAutostart)) return false;
  try {
    return isAvailable(Bus::openSystem(), kHelperLabel);
  } catch (const BusError&) {
    return false;
  }
}

/// One run of the subcommand, from the first connection to the exit code.
class WatchSession {
 public:
  WatchSession(const Bus& bus, const WatchOptions& options)
      : bus_(bus),
        options_(options),
        role_(options.widget ? Role::Widget : Role::MainApp),
        name_(bus, role_),
        center_(bus),
        expectsPower_(options.once && !options.json && isPowerExpected()) {}

  /// Throws BusError.
  int run(LinuxRunLoop& loop) {
    std::vector<std::unique_ptr<Timer>> sources;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
      sources.push_back(LinuxRunLoop::watchSignal(signal, [&] { finish(loop, exitCode_); }));
    }
    output_ = makeOutput(loop);
    const Consumer consumer(
        center_, role_, [this] { return isTheApplication(); },
        [&](const Notification& notification) { receive(loop, notification); });
    waitForSample(loop);
    loop.run();
    output_.reset();
    if (!message_.empty()) complain(message_);
    return exitCode_;
  }

  void busWentAway(LinuxRunLoop& loop) {
    message_ = "the session bus has gone away";
    finish(loop, kExitFailed);
  }

 private:
  std::unique_ptr<Output> makeOutput(LinuxRunLoop& loop) {
    if (options_.json) return std::make_unique<JsonOutput>(powerSources_);
    const bool live = !options_.once && ::isatty(STDOUT_FILENO) == 1 && terminalHasScreen();
    if (!live) return std::make_unique<ReportOutput>(role_, powerSources_);
    return std::make_unique<LiveOutput>(role_, powerSources_, loop, [this, &loop] { finish(loop, kExitOk); });
  }

  void receive(LinuxRunLoop& loop, const Notification& notification) {
    const RoleNotifications names = notificationsOf(role_);
    // The loop may still hand out what had already arrived when it was told to stop.
    if (finished_) return;
    if (notification.name == names.heartbeat) {
      heardHeartbeat_ = true;
    } else if (options_.once) {
      keep(loop, notification);
    } else {
      if (notification.name == names.fullSample) waitForSample(loop);
      show(loop, notification);
    }
  }

  /// What comes first of a sample and power metrics waits for the other, so that one report shows both.
  void keep(LinuxRunLoop& loop, const Notification& notification) {
    if (notification.name == notificationsOf(role_).fullSample) sample_ = notification;
    if (notification.name == notification::kCoreData) power_ = notification;
    if (sample_ && (power_ || !expectsPower_)) {
      showKept(loop);
    } else if ((sample_ || power_) && !patience_) {
      patience_ = loop.scheduleTimer(kPatience, [this, &loop] { showKept(loop); });
    }
  }

  void showKept(LinuxRunLoop& loop) {
    if (finished_) return;
    if (sample_ && power_) output_->remember(*power_);
    show(loop, sample_ ? *sample_ : *power_);
    finish(loop, kExitOk);
  }

  void show(LinuxRunLoop& loop, const Notification& notification) {
    const std::error_code error = output_->show(notification);
    if (!error) return;
    if (error != std::errc::broken_pipe) message_ = "standard output: " + error.message();
    finish(loop, error == std::errc::broken_pipe ? kExitOk : kExitFailed);
  }

  void waitForSample(LinuxRunLoop& loop) {
    silence_ = loop.scheduleTimer(options_.once ? options_.timeout : kSilence, [&] { noticeSilence(loop); });
  }

  /// A bus that does not answer has gone away, and nobody is left to be told anything.
  bool isTheApplication() const {
    try {
      return name_.isOwned();
    } catch (const BusError&) {
      return false;
    }
  }

  void noticeSilence(LinuxRunLoop& loop) {
    if (finished_) return;
    if (sample_ || power_) return showKept(loop);
    std::string reason;
    try {
      reason = explainSilence(bus_, std::exchange(heardHeartbeat_, false));
    } catch (const BusError& error) {
      reason = error.what();
    }
    output_->explainSilence(reason);
    if (!options_.once) return;
    message_ = reason;
    finish(loop, kExitFailed);
  }

  void finish(LinuxRunLoop& loop, ExitCode exitCode) {
    if (!finished_) exitCode_ = exitCode;
    finished_ = true;
    loop.stop();
  }

  const Bus& bus_;
  WatchOptions options_;
  Role role_;
  ApplicationName name_;
  BusNotificationCenter center_;
  SysfsPowerSources powerSources_{systemRootsFromEnvironment().sysfs};
  std::unique_ptr<Output> output_;
  std::unique_ptr<Timer> silence_;
  /// With --once, what has come and how long the rest is waited for.
  std::optional<Notification> sample_;
  std::optional<Notification> power_;
  std::unique_ptr<Timer> patience_;
  bool expectsPower_;
  std::string message_;
  ExitCode exitCode_ = kExitOk;
  bool heardHeartbeat_ = false;
  bool finished_ = false;
};

}  // namespace

int watch(const WatchOptions& options) {
  // A closed pipe shows in the write, so that the agent still hears that this consumer leaves.
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  ::sigaction(SIGPIPE, &ignore, nullptr);
  LinuxRunLoop loop;
  std::optional<Bus> bus;
  try {
    bus.emplace(Bus::openSession());
  } catch (const BusError& error) {
    complain(std::string("no session bus: ") + error.what());
    return kExitFailed;
  }
  try {
    WatchSession session(*bus, options);
    bus->setDisconnectedHandler([&] { session.busWentAway(loop); });
    return session.run(loop);
  } catch (const BusError& error) {
    complain(error.what());
    return kExitFailed;
  }
}

}  // namespace quorlin
