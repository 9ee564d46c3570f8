/// Commands of the main application, which arrive as URLs of the agent's scheme.
#include "commands/RequestKey.h"
#include "core/AppDelegate.h"

namespace quorlin {

std::optional<std::string> AppDelegate::getKey() const {
  return requestKey(services_.system.localizedHostName());
}

void AppDelegate::handleURLEvent(const std::string& /*url*/) {
  services_.log.line("a URL was opened; this version runs no commands by URL");
}

}  // namespace quorlin
