/// The agent, put together: the one place that knows both the behaviour and the system.
#pragma once

#include "core/AppDelegate.h"
#include "platform/Log.h"

#include <memory>
#include <string>
#include <vector>

namespace quorlin {

class Agent {
 public:
  /// Connects to the session bus; the program's own name is the first argument. Throws BusError. The log
  /// outlives the agent.
  Agent(std::vector<std::string> arguments, Log& log);
  ~Agent();
  Agent(const Agent&) = delete;
  Agent& operator=(const Agent&) = delete;

  /// False if another agent runs in this session; that one has then received the request. Throws BusError.
  bool becomeOnlyInstance();

  /// Returns when the agent has ended.
  void run();

  AppDelegate& delegate();

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace quorlin
