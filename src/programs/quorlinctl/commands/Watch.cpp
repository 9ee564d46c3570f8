#include "core/Notifications.h"
#include "helper/HelperTool.h"
#include "platform/linux/bus/NotificationCenter.h"
#include "platform/linux/loop/BusSource.h"
#include "platform/linux/loop/RunLoop.h"
#include "platform/linux/power/PowerSources.h"
#include "platform/linux/system/SystemRoots.h"
#include "platform/values/Tick.h"
#include "programs/quorlinctl/commands/PendingReport.h"
#include "programs/quorlinctl/commands/Subcommands.h"
#include "programs/quorlinctl/hold/HoldFacts.h"
#include "programs/quorlinctl/services/Agent.h"
#include "programs/quorlinctl/services/Consumer.h"
#include "programs/quorlinctl/services/Helper.h"
#include "programs/quorlinctl/terminal/StandardStreams.h"
#include "programs/quorlinctl/view/SampleOutput.h"

#include <csignal>

#include <unistd.h>

namespace quorlin {
namespace {

/// How long a terminal shows an old sample: a little over three ticks.
constexpr auto kSilence = 3 * kTick + std::chrono::seconds(1);

constexpr const char* kSilentAgent = "the agent is running but does not answer; it may be busy";
constexpr const char* kSensorsOff =
    "the agent is running, but its sensors plug-in is off; switch it on: quorlinctl enable";

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
    const Readiness ready = prepare();
    if (given_.has("once")) {
      if (!ready.trouble.empty()) return fail(ready.trouble);
      report_.emplace(loop_,
                      PendingReport::Expectation{.role = role_,
                                                 .sample = ready.sample,
                                                 .power = ready.power && !given_.has("json"),
                                                 .timeout = given_.duration("timeout")},
                      [this] { endReport(); });
    }
    output_ = makeOutput();
    if (!report_) waitForSample();
    if (!ready.trouble.empty()) tell(ready.trouble);
    const Consumer consumer(
        center_, role_, [this] { return name_.isLastMainApplication(); },
        [this](const Notification& notification) { receive(notification); });
    loop_.run();
    output_.reset();
    if (!message_.empty()) complain(message_);
    return exitCode_;
  }

 private:
  /// What can come, and why nothing can.
  struct Readiness {
    bool sample = false;
    bool power = false;
    std::string trouble = {};
  };

  /// Has the agent started where it does not run.
  Readiness prepare() {
    if (const std::optional<std::string> trouble = ensureAgent(bus_)) return {.trouble = *trouble};
    const std::optional<AgentSwitches> switches = switchesOf(bus_);
    if (!switches) return {.trouble = kSilentAgent};
    Readiness ready{.sample = switches->plugin, .power = switches->core && isHelperInstalled()};
    if (!ready.sample && !ready.power) ready.trouble = kSensorsOff;
    return ready;
  }

  std::unique_ptr<Output> makeOutput() {
    if (given_.has("json")) return std::make_unique<JsonOutput>(powerSources_);
    isLive_ = !given_.has("once") && ::isatty(STDOUT_FILENO) == 1 && terminalHasScreen();
    const HoldTeller tellHold = [] { return verdictOf(gatherHoldFacts()).line(); };
    if (!isLive_) return std::make_unique<ReportOutput>(role_, powerSources_, tellHold);
    return std::make_unique<LiveOutput>(role_, powerSources_, tellHold, [this] { finish(kExitOk); });
  }

  void receive(const Notification& notification) {
    const RoleNotifications names = notificationsOf(role_);
    // A stopped loop may still hand out what had already arrived.
    if (finished_) return;
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

  /// To a waiting user.
  void tell(const std::string& reason) {
    if (isLive_) return output_->explainSilence(reason);
    complain(reason);
  }

  /// Why no sample came since the last time.
  std::string reasonOfSilence() {
    try {
      const Readiness ready = prepare();
      return ready.trouble.empty() ? "the agent is running, but no sample came in time" : ready.trouble;
    } catch (const BusError& error) {
      return error.what();
    }
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
  bool isLive_ = false;
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
