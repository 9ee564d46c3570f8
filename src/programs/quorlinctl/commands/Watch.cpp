#include "programs/quorlinctl/commands/Watch.h"

#include "core/Notifications.h"
#include "core/Settings.h"
#include "helper/HelperTool.h"
#include "platform/linux/bus/NotificationCenter.h"
#include "platform/linux/desktop/UserDefaults.h"
#include "platform/linux/loop/BusSource.h"
#include "platform/linux/loop/RunLoop.h"
#include "platform/linux/power/PowerSources.h"
#include "platform/linux/system/SystemRoots.h"
#include "platform/values/Tick.h"
#include "programs/quorlinctl/commands/PendingReport.h"
#include "programs/quorlinctl/doctor/Checks.h"
#include "programs/quorlinctl/services/Agent.h"
#include "programs/quorlinctl/services/Consumer.h"
#include "programs/quorlinctl/services/Helper.h"
#include "programs/quorlinctl/terminal/StandardStreams.h"
#include "programs/quorlinctl/view/SampleOutput.h"

#include <csignal>
#include <utility>

#include <unistd.h>

namespace quorlin {
namespace {

/// How long a terminal shows an old sample: a little over three ticks.
constexpr auto kSilence = 3 * kTick + std::chrono::seconds(1);

/// Why no sample came. Throws BusError.
const char* explainSilence(const Bus& bus, bool heardHeartbeat) {
  if (!findAgent(bus)) return "the agent is not running; start it: quorlin-sensors";
  if (heardHeartbeat) return "the agent is running, but no sample came in time";
  if (isSwitchedOn(settingsFile(), setting::kAutostart)) {
    return "the agent is running but posts nothing; it is busy, or its sensors plug-in was off when it "
           "started";
  }
  return "the agent is running, but its sensors plug-in is off; quorlinctl doctor explains how to switch it "
         "on";
}

/// Whether power metrics can come.
bool isPowerExpected() {
  if (!isSwitchedOn(settingsFile(), setting::kCoreAutostart)) return false;
  try {
    return isAvailable(Bus::openSystem(), kHelperLabel);
  } catch (const BusError&) {
    return false;
  }
}

/// One run of the subcommand.
class WatchSession {
 public:
  WatchSession(const Bus& bus, const WatchOptions& options)
      : bus_(bus),
        options_(options),
        role_(options.widget ? Role::Widget : Role::MainApp),
        name_(bus, role_),
        center_(bus) {}

  /// Throws BusError.
  int run(LinuxRunLoop& loop) {
    std::vector<std::unique_ptr<Timer>> sources;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
      sources.push_back(LinuxRunLoop::watchSignal(signal, [&] { finish(loop, exitCode_); }));
    }
    output_ = makeOutput(loop);
    if (options_.once) {
      report_.emplace(loop,
                      PendingReport::Expectation{.role = role_,
                                                 .sample = isSwitchedOn(settingsFile(), setting::kAutostart),
                                                 .power = !options_.json && isPowerExpected(),
                                                 .timeout = options_.timeout},
                      [&] { endReport(loop); });
    } else {
      waitForSample(loop);
    }
    const Consumer consumer(
        center_, role_, [this] { return isTheApplication(); },
        [&](const Notification& notification) { receive(loop, notification); });
    loop.run();
    output_.reset();
    if (!message_.empty()) complain(message_);
    return exitCode_;
  }

  void busWentAway(LinuxRunLoop& loop) {
    message_ = "lost the connection to the session bus";
    finish(loop, kExitFailed);
  }

 private:
  std::unique_ptr<Output> makeOutput(LinuxRunLoop& loop) {
    if (options_.json) return std::make_unique<JsonOutput>(powerSources_);
    const bool live = !options_.once && ::isatty(STDOUT_FILENO) == 1 && terminalHasScreen();
    if (!live) return std::make_unique<ReportOutput>(role_, powerSources_);
    return std::make_unique<LiveOutput>(role_, powerSources_, [this, &loop] { finish(loop, kExitOk); });
  }

  void receive(LinuxRunLoop& loop, const Notification& notification) {
    const RoleNotifications names = notificationsOf(role_);
    // A stopped loop may still hand out what had already arrived.
    if (finished_) return;
    if (notification.name == names.heartbeat) heardHeartbeat_ = true;
    if (report_) return report_->take(notification);
    if (notification.name == names.heartbeat) return;
    if (notification.name == names.fullSample) waitForSample(loop);
    show(loop, notification);
  }

  void endReport(LinuxRunLoop& loop) {
    if (finished_) return;
    const std::optional<Notification>& sample = report_->sample();
    const std::optional<Notification>& power = report_->power();
    if (!sample && !power) {
      message_ = reasonOfSilence();
      return finish(loop, kExitFailed);
    }
    if (sample && power) output_->remember(*power);
    show(loop, sample ? *sample : *power);
    finish(loop, kExitOk);
  }

  void show(LinuxRunLoop& loop, const Notification& notification) {
    const std::optional<Trouble> trouble = output_->show(notification);
    if (!trouble) return;
    const bool isClosed = trouble->error == EPIPE;
    if (!isClosed) message_ = trouble->text();
    finish(loop, isClosed ? kExitOk : kExitFailed);
  }

  void waitForSample(LinuxRunLoop& loop) {
    silence_ = loop.scheduleTimer(kSilence, [this] { output_->explainSilence(reasonOfSilence()); });
  }

  /// False if the bus does not answer: it has gone away, and no program listens any more.
  bool isTheApplication() const {
    try {
      return name_.isOwned();
    } catch (const BusError&) {
      return false;
    }
  }

  std::string reasonOfSilence() {
    try {
      return explainSilence(bus_, std::exchange(heardHeartbeat_, false));
    } catch (const BusError& error) {
      return error.what();
    }
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
  /// Only with --once.
  std::optional<PendingReport> report_;
  std::string message_;
  ExitCode exitCode_ = kExitOk;
  bool heardHeartbeat_ = false;
  bool finished_ = false;
};

}  // namespace

int watch(const WatchOptions& options) {
  // A closed pipe fails the write, so that this consumer can still tell the agent that it leaves.
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  ::sigaction(SIGPIPE, &ignore, nullptr);
  try {
    LinuxRunLoop loop;
    const Bus bus = Bus::openSession();
    WatchSession session(bus, options);
    const BusSource source(bus, [&] { session.busWentAway(loop); });
    return session.run(loop);
  } catch (const BusError& error) {
    complain(error.what());
    return kExitFailed;
  }
}

}  // namespace quorlin
