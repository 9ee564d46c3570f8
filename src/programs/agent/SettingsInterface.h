/// The agent's switches on the session bus: brellwick.QuorlinSensors.Settings, with a method for each call of
/// the delegate that a window makes.
#pragma once

#include "core/AppDelegate.h"
#include "platform/RunLoop.h"
#include "platform/linux/bus/Bus.h"

#include <functional>
#include <memory>
#include <string>

namespace quorlin {

/// A program that has called a method is one that works the switches, until it leaves the bus. Main thread
/// only.
class SettingsInterface {
 public:
  struct Environment {
    const Bus& bus;
    RunLoop& runLoop;
    AppDelegate& delegate;
    /// Why a switch was not switched just now, on one line; empty if that is unknown or was told already.
    std::function<std::string()> takeTrouble;
    std::function<bool()> startsAtLogin;
  };

  /// Offers the interface. Throws BusError. The references and the function outlive the calls that it has
  /// taken.
  explicit SettingsInterface(Environment environment);
  ~SettingsInterface();
  SettingsInterface(const SettingsInterface&) = delete;
  SettingsInterface& operator=(const SettingsInterface&) = delete;

 private:
  using Clients = Owned<sd_bus_track, sd_bus_track_unref>;
  struct Values {
    bool pluginEnabled = false;
    bool coreEnabled = false;
    std::int32_t powerLimit = 0;
    bool powerLimitEnabled = false;
  };
  struct Table;
  class CoreSwitching;

  void countIn(sd_bus_message* message);
  Values currentValues() const;
  void announceChanges();

  Environment here_;
  Clients clients_;
  Values announced_;
  /// Of the call that switches the core helper on; expired without one.
  std::weak_ptr<CoreSwitching> coreSwitching_;
  std::shared_ptr<const bool> alive_ = std::make_shared<bool>(true);
  BusSlot object_;
};

}  // namespace quorlin
