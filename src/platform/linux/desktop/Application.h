/// A single-instance program on the session bus, reached through org.freedesktop.Application as
/// freedesktop.org's D-Bus activation of desktop entries describes it.
#pragma once

#include "platform/Application.h"
#include "platform/Log.h"
#include "platform/linux/bus/Bus.h"
#include "platform/linux/loop/BusSource.h"
#include "platform/linux/loop/RunLoop.h"

#include <memory>
#include <string>
#include <vector>

namespace quorlin {

/// Main thread only, but for terminate(). Activate is a reopen by a person; Open brings URLs; SIGINT,
/// SIGTERM, SIGHUP and the end of the bus ask for termination.
class BusApplication final : public Application {
 public:
  /// The id is both the name on the bus and, with slashes, the object's path. The references outlive the
  /// application.
  BusApplication(const Bus& bus, BusSource& busSource, LinuxRunLoop& runLoop, Log& log, std::string id,
                 std::vector<std::string> arguments);
  ~BusApplication() override;

  /// Takes the id on the bus, or reports this start to the instance that has it. True when this process is to
  /// run. Throws BusError, also when the other instance does not answer.
  bool becomeOnlyInstance();

  /// Launches, and returns once the delegate has agreed to terminate.
  void run(ApplicationDelegate& delegate);

  const std::vector<std::string>& arguments() const override { return arguments_; }
  std::string bundleIdentifier() const override { return id_; }
  void terminate() override;
  void setUrlHandler(UrlHandler handler) override { urlHandler_ = std::move(handler); }
  /// A program without a window has no place in the task list, and one with a window gets it from there.
  void transformToForeground() override {}
  void activateIgnoringOtherApplications() override {}

 private:
  struct Methods;

  /// False when the other instance has left instead of answering. Throws BusError.
  bool handOver() const;
  std::vector<std::string> urls() const;
  void askToTerminate();
  void activated();
  void opened(const std::vector<std::string>& urls);

  const Bus& bus_;
  BusSource& busSource_;
  LinuxRunLoop& runLoop_;
  Log& log_;
  std::string id_;
  std::string path_;
  std::vector<std::string> arguments_;
  UrlHandler urlHandler_;
  ApplicationDelegate* delegate_ = nullptr;
  BusSlot object_;
  std::vector<std::unique_ptr<Timer>> signals_;
};

}  // namespace quorlin
