#include "quorlinctl/Watch.h"

#include "core/Notifications.h"
#include "platform/linux/NotificationCenter.h"
#include "platform/linux/PowerSources.h"
#include "platform/linux/RunLoop.h"
#include "platform/linux/SystemRoots.h"
#include "quorlinctl/Agent.h"
#include "quorlinctl/Consumer.h"
#include "quorlinctl/SampleOutput.h"

#include <csignal>

#include <unistd.h>

namespace quorlin {
namespace {

/// Why no sample came.
const char* explainSilence(const Bus& bus, bool heardHeartbeat) {
  if (!findAgent(bus)) return "the agent is not running; start it with: quorlin-sensors";
  if (!heardHeartbeat) {
    return "the agent runs, but its sensors plug-in is switched off (quorlinctl doctor says how to change "
           "it)";
  }
  return "the agent runs, but no sample came in time";
}

/// One run of the subcommand, from the first connection to the exit code.
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
    const Consumer consumer(
        center_, role_, [this] { return isTheApplication(); },
        [&](const Notification& notification) { receive(loop, notification); });
    sources.push_back(loop.scheduleTimer(options_.timeout, [&] { noticeSilence(loop, consumer); }));
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
    const bool fullSample = notification.name == names.fullSample;
    // The loop may still hand out what had already arrived when it was told to stop.
    if (finished_ || notification.name == names.heartbeat) return;
    heardSample_ = heardSample_ || fullSample;
    if (options_.once && options_.json && !fullSample) return;
    if (const std::error_code error = output_->show(notification)) {
      if (error != std::errc::broken_pipe) message_ = "standard output: " + error.message();
      finish(loop, error == std::errc::broken_pipe ? kExitOk : kExitFailed);
    } else if (options_.once && fullSample) {
      finish(loop, kExitOk);
    }
  }

  /// A bus that does not answer has gone away, and nobody is left to be told anything.
  bool isTheApplication() const {
    try {
      return name_.isOwned();
    } catch (const BusError&) {
      return false;
    }
  }

  void noticeSilence(LinuxRunLoop& loop, const Consumer& consumer) {
    if (finished_ || heardSample_) return;
    std::string reason;
    try {
      reason = explainSilence(bus_, consumer.heardHeartbeat());
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
  std::string message_;
  ExitCode exitCode_ = kExitOk;
  bool heardSample_ = false;
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
