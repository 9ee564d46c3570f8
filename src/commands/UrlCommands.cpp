/// Commands of the main application, which arrive as URLs of the agent's scheme. A URL that is no command, or
/// has not this computer's key, does nothing and is not answered.
#include "commands/RequestKey.h"
#include "commands/UrlCommand.h"
#include "core/AppDelegate.h"

namespace quorlin {
namespace {

template <typename... Actions>
struct Overloaded : Actions... {
  using Actions::operator()...;
};
// clang deduces it without help from version 17 on.
template <typename... Actions>
Overloaded(Actions...) -> Overloaded<Actions...>;

}  // namespace

std::optional<std::string> AppDelegate::getKey() const {
  return requestKey(services_.system.localizedHostName());
}

void AppDelegate::handleURLEvent(const std::string& url) {
  const std::optional<UrlCommand> command = urlCommand(url, getKey());
  if (!command) return;
  std::visit(Overloaded{[this](const TerminateApp& order) { terminateAppByPID(order.processId); },
                        [this](const ForceTerminateApp& order) { forceTerminateAppByPID(order.processId); },
                        [this](const RunTerminal& order) { runTerminal(order.command); },
                        [this](const RunWorkflow& order) { runWorkflow(order.path); },
                        [this](const SetBatteryLimit& order) { setBatteryLimit(order.percent); }},
             *command);
}

}  // namespace quorlin
