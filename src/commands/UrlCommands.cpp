/// Commands of the main application, which arrive as URLs of the agent's scheme. The agent ignores URLs that
/// are malformed or have another key.
#include "commands/RequestKey.h"
#include "commands/UrlCommand.h"
#include "commands/UrlScheme.h"
#include "core/AppDelegate.h"

#include <algorithm>
#include <array>

namespace quorlin {
namespace {

/// A word and its action on an argument.
struct Row {
  std::string_view word;
  void (*perform)(AppDelegate& delegate, std::string_view argument);
};

/// Performs an action for an argument of the right form, and nothing for any other.
template <auto form, auto action>
void with(AppDelegate& delegate, std::string_view argument) {
  if (const auto value = form(argument)) (delegate.*action)(*value);
}

constexpr std::array kCommands = {
    Row{urlcommand::kTerminateApp, with<processIdArgument, &AppDelegate::terminateAppByPID>},
    Row{urlcommand::kForceTerminateApp, with<processIdArgument, &AppDelegate::forceTerminateAppByPID>},
    Row{urlcommand::kTerminalCommand, with<textArgument, &AppDelegate::runTerminal>},
    Row{urlcommand::kRunWorkflow, with<textArgument, &AppDelegate::runWorkflow>},
    Row{urlcommand::kBatteryLimit, with<numberArgument, &AppDelegate::setBatteryLimit>},
};

}  // namespace

std::optional<std::string> AppDelegate::getKey() const {
  return requestKey(services_.system.localizedHostName());
}

std::string AppDelegate::currentKey() {
  key_ = getKey();
  return key_.value_or("");
}

void AppDelegate::handleURLEvent(const std::string& url) {
  const std::optional<UrlCommand> command = urlCommand(url, getKey());
  if (!command) return;
  const auto* const row = std::ranges::find(kCommands, command->word, &Row::word);
  if (row != kCommands.end()) row->perform(*this, command->argument);
}

}  // namespace quorlin
