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
#include "programs/quorlinctl/commands/Subcommands.h"
#include "programs/quorlinctl/doctor/Checks.h"
#include "programs/quorlinctl/hold/HoldFacts.h"
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
  /// Throws BusError.
  explicit WatchSession(const ParsedArguments& given)
      : given_(given), role_(given.has("widget") ? Role::Widget : Role::MainApp) {}

  /// Throws BusError.
  int run() {
    std::vector<std::unique_ptr<Timer>> sources;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
      sources.push_back(LinuxRunLoop::watchSignal(signal, [this] { finish(exitCode_); }));
    }
    output_ = makeOutput();
    if (given_.has("once")) {
      report_.emplace(loop_,
                      PendingReport::Expectation{.role = role_,
                                                 .sample = isSwitchedOn(settingsFile(), setting::kAutostart),
                                                 .power = !given_.has("json") && isPowerExpected(),
                                                 .timeout = given_.duration("timeout")},
                      [this] { endReport(); });
    } else {
      waitForSample();
    }
    const Consumer consumer(
        center_, role_, [this] { return name_.isOwned(); },
        [this](const Notification& notification) { receive(notification); });
    loop_.run();
    output_.reset();
    if (!message_.empty()) complain(message_);
    return exitCode_;
  }

 private:
  std::unique_ptr<Output> makeOutput() {
    if (given_.has("json")) return std::make_unique<JsonOutput>(powerSources_);
    const bool live = !given_.has("once") && ::isatty(STDOUT_FILENO) == 1 && terminalHasScreen();
    const HoldTeller tellHold = [] { return verdictOf(gatherHoldFacts()).line(); };
    if (!live) return std::make_unique<ReportOutput>(role_, powerSources_, tellHold);
    return std::make_unique<LiveOutput>(role_, powerSources_, tellHold, [this] { finish(kExitOk); });
  }

  void receive(const Notification& notification) {
    const RoleNotifications names = notificationsOf(role_);
    // A stopped loop may still hand out what had already arrived.
    if (finished_) return;
    if (notification.name == names.heartbeat) heardHeartbeat_ = true;
    if (report_) return report_->take(notification);
    if (notification.name == names.heartbeat) return;
    if (notification.name == names.fullSample) waitForSample();
    show(notification);
  }

  void endReport() {
    if (finished_) return;
    const std::optional<Notification>& sample = report_->sample();
    const std::optional<Notification>& power = report_->power();
    if (!sample && !power) return finish(kExitFailed, reasonOfSilence());
    if (sample && power) output_->remember(*power);
    show(sample ? *sample : *power);
    finish(kExitOk);
  }

  void show(const Notification& notification) {
    const std::optional<Trouble> trouble = output_->show(notification);
    if (!trouble) return;
    if (trouble->error == EPIPE) return finish(kExitOk);
    finish(kExitFailed, trouble->text());
  }

  void waitForSample() {
    silence_ = loop_.scheduleTimer(kSilence, [this] { output_->explainSilence(reasonOfSilence()); });
  }

  /// Why no sample came since the last time.
  std::string reasonOfSilence() {
    const bool heardHeartbeat = std::exchange(heardHeartbeat_, false);
    try {
      if (!findAgent(bus_)) return "the agent is not running; start it: quorlin-sensors";
    } catch (const BusError& error) {
      return error.what();
    }
    if (heardHeartbeat) return "the agent is running, but no sample came in time";
    if (isSwitchedOn(settingsFile(), setting::kAutostart)) {
      return "the agent is running but posts nothing; it is busy, or its sensors plug-in was off when it "
             "started";
    }
    return "the agent is running, but its sensors plug-in is off; quorlinctl doctor explains how to switch "
           "it on";
  }

  void finish(ExitCode exitCode, const std::string& message = "") {
    if (!message.empty()) message_ = message;
    if (!finished_) exitCode_ = exitCode;
    finished_ = true;
    loop_.stop();
  }

  const ParsedArguments& given_;
  Role role_;
  LinuxRunLoop loop_;
  Bus bus_ = Bus::openSession();
  ApplicationName name_{bus_, role_};
  BusNotificationCenter center_{bus_};
  SysfsPowerSources powerSources_{systemRootsFromEnvironment().sysfs};
  std::unique_ptr<Output> output_;
  std::unique_ptr<Timer> silence_;
  /// Only with --once.
  std::optional<PendingReport> report_;
  std::string message_;
  ExitCode exitCode_ = kExitOk;
  bool heardHeartbeat_ = false;
  bool finished_ = false;
  BusSource source_{bus_, [this] { finish(kExitFailed, "lost the connection to the session bus"); }};
};

}  // namespace

Result<int, UsageError> watch(const ParsedArguments& given) {
  // A closed pipe fails the write, so that this consumer can still tell the agent that it leaves.
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  ::sigaction(SIGPIPE, &ignore, nullptr);
  return WatchSession(given).run();
}

}  // namespace quorlin
