/// The configuration window, and the user who starts the agent while it runs.
#include "core/AppDelegate.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace quorlin {

void AppDelegate::openSettingsWindow() {
  if (services_.makeConfigurationWindow) {
    services_.application.transformToForeground();
    controllerWindow_ = services_.makeConfigurationWindow();
  }
  if (!controllerWindow_) {
    services_.log.line("The configuration window is not available.");
    return;
  }
  controllerWindow_->makeKeyAndOrderFront();
  openedWindows_ = 1;
  services_.application.activateIgnoringOtherApplications();
}

bool AppDelegate::applicationShouldHandleReopen(const ApplicationEvent& event, bool /*hasVisibleWindows*/) {
  // A user's own request has one of these parameters; a bare reopen has none.
  constexpr std::array<std::string_view, 3> requestParameters = {"prdt", "utxt", "stxt"};
  const bool requested = std::ranges::any_of(requestParameters, [&](std::string_view parameter) {
    return event.description.find(parameter) != std::string::npos;
  });
  if (openedWindows_ == 0 && (!isLaunchedSilently() || requested)) openSettingsWindow();
  return false;
}

}  // namespace quorlin
