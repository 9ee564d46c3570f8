/// The configuration window, and the user who starts the agent while it runs.
#include "core/AppDelegate.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace quorlin {

void AppDelegate::openSettingsWindow() {
  std::unique_ptr<ConfigurationWindow> window = services_.makeConfigurationWindow();
  if (!window) {
    services_.log.line("the configuration window is not available; going on in the background");
    return;
  }
  services_.application.transformToForeground();
  controllerWindow_ = std::move(window);
  controllerWindow_->makeKeyAndOrderFront();
  openedWindows_ = 1;
  services_.application.activateIgnoringOtherApplications();
}

bool AppDelegate::applicationShouldHandleReopen(const ApplicationEvent& event, bool /*hasVisibleWindows*/) {
  // The parameters that tell a user's own request from a bare reopen.
  constexpr std::array<std::string_view, 3> requestParameters = {"prdt", "utxt", "stxt"};
  const bool requested = std::ranges::any_of(requestParameters, [&](std::string_view parameter) {
    return event.description.find(parameter) != std::string::npos;
  });
  if (openedWindows_ == 0 && (!isLaunchedSilently() || requested)) openSettingsWindow();
  return false;
}

void AppDelegate::handleDockClickEvent(const ApplicationEvent& /*event*/) {}

}  // namespace quorlin
