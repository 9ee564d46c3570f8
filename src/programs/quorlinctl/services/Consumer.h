/// A consumer of the agent's samples, like the agent's other consumers: it owns an application's id on the
/// session bus, and as the main application it announces when it comes and goes.
#pragma once

#include "platform/NotificationCenter.h"
#include "platform/linux/bus/Bus.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

enum class Role { MainApp, Widget };

/// The notifications that a role listens to.
struct RoleNotifications {
  std::string_view heartbeat;
  std::string_view fullSample;
  std::string_view reducedSample;
};

RoleNotifications notificationsOf(Role role);

/// Owns the role's application id. Other programs may take it over or queue for it, so several consumers of
/// one role work side by side. The keeper makes way at once.
class ApplicationName {
 public:
  /// Throws BusError. The bus outlives the name.
  ApplicationName(const Bus& bus, Role role);
  ~ApplicationName();
  ApplicationName(const ApplicationName&) = delete;
  ApplicationName& operator=(const ApplicationName&) = delete;

  /// Whether no other program has or waits for the id of a main application, but the keeper, which takes no
  /// samples. False once the bus has gone away.
  bool isLastMainApplication() const;

 private:
  /// What sd_bus_request_name() returns.
  int request() const;
  /// Whether the keeper is the one that owns the name.
  bool hasKeeper() const;

  const Bus& bus_;
  const char* name_;
};

/// Main thread only.
class Consumer {
 public:
  using Handler = std::function<void(const Notification&)>;

  /// Calls the handler for samples, reduced samples, power metrics and heartbeats. isLast says whether no
  /// other main application would stay. The center outlives the consumer. Throws BusError.
  Consumer(NotificationCenter& center, Role role, std::function<bool()> isLast, Handler handler);
  /// The main application announces that it leaves, unless another one stays.
  ~Consumer();

 private:
  void receive(const Notification& notification);
  void announce(std::string_view name);

  NotificationCenter& center_;
  Role role_;
  RoleNotifications names_;
  std::function<bool()> isLast_;
  Handler handler_;
  std::vector<std::unique_ptr<Observation>> observations_;
  bool heardHeartbeat_ = false;
  bool heardSampleSinceHeartbeat_ = false;
};

}  // namespace quorlin
