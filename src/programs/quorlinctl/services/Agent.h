/// The agent, as seen from the session bus.
#pragma once

#include "platform/linux/bus/Bus.h"

#include <optional>
#include <string>
#include <vector>

namespace quorlin {

/// The process that owns the agent's name, or nothing. Throws BusError.
std::optional<pid_t> findAgent(const Bus& bus);

/// Whether it runs or the bus can start it. Has a bus look again that knows nothing of it. Throws BusError.
bool isAgentAvailable(const Bus& bus);

/// What helps where the bus cannot start it.
inline constexpr const char* kInstallAdvice = "in the folder of its source, install it";
inline constexpr const char* kInstallCommand = "cmake --install build/release --prefix ~/.local";

/// What is switched on in a running agent.
struct AgentSwitches {
  bool plugin = false;
  bool core = false;
};

/// Nothing where no agent runs or it does not answer. Throws BusError.
std::optional<AgentSwitches> switchesOf(const Bus& bus);

/// Has the bus start the agent in the background where none runs and the settings switch something on.
/// Returns why none runs, and the command that mends it. Throws BusError.
std::optional<std::string> ensureAgent(const Bus& bus);

/// Hands a URL to the agent, which the bus starts if it can, and returns once the agent has taken it. The
/// agent reports no result. Throws BusError, which says in plain words why the agent did not take the URL.
void openUrl(const Bus& bus, const std::string& url);

/// An outcome of switching, and why it is not a success.
struct SwitchOutcome {
  bool success = false;
  std::string reason;
};

/// The agent's switches, with the agent started in the background if none runs. While it lives, the agent
/// stays even with everything switched off. Throws BusError, which says in plain words what is wrong.
class AgentSettings {
 public:
  /// The bus outlives it. Throws BusError if no agent runs and the bus cannot start one.
  explicit AgentSettings(const Bus& bus);

  /// Switches the sensors plug-in, now and for later logins.
  SwitchOutcome setAutostart(bool enable) const;
  /// Switches the sensors plug-in for the agent's run.
  void setPluginEnabled(bool enabled) const;
  /// Switches the core helper. Waits for a person who types a password. Every outcome in its order; none if
  /// the agent has ended meanwhile.
  std::vector<SwitchOutcome> setCoreAutostart(bool enable) const;

 private:
  BusMessage call(const char* method, bool flag) const;

  const Bus& bus_;
};

}  // namespace quorlin
