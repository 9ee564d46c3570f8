/// The checks of the root helper and of the services that users reach it through.
#include "core/Settings.h"
#include "platform/posix/TextFile.h"
#include "programs/quorlinctl/doctor/Checks.h"
#include "programs/quorlinctl/services/Helper.h"

#include <fmt/format.h>

namespace quorlin {

Finding checkCoreSetting(const std::filesystem::path& settings) {
  if (isSwitchedOn(settings, setting::kCoreAutostart)) {
    return {CheckState::Ok, fmt::format("The settings in {} switch the core helper on.", settings.string())};
  }
  return {CheckState::Note,
          fmt::format("The settings in {} leave the core helper off, so there are no power metrics and the "
                      "charge is not held.",
                      settings.string()),
          "To change that: 'quorlinctl enable core'."};
}

Finding checkHelper(const Bus& systemBus) {
  const Result<std::string, HelperRefusal> version = askHelperVersion(systemBus);
  if (version) {
    return {CheckState::Ok,
            fmt::format("Version {} of the core helper answers on the system bus.", excerpt(*version))};
  }
  const std::string reason = excerpt(version.error().reason, 500);
  switch (version.error().kind) {
    case HelperRefusal::Kind::NotInstalled:
      return {CheckState::Missing, "The core helper is not installed.",
              "Install it with 'quorlinctl helper install'."};
    case HelperRefusal::Kind::NotAllowed:
      return {
          CheckState::Missing,
          fmt::format("The core helper is installed, but this user may not use it ({}).", reason),
          "Check that polkit is running, then install the helper again with 'quorlinctl helper install'."};
    case HelperRefusal::Kind::Failed:
      break;
  }
  return {CheckState::Missing, fmt::format("The core helper is installed but does not answer ({}).", reason),
          "Find out why with 'journalctl -u quorlin-core-helper', or install the helper again with "
          "'quorlinctl helper install'."};
}

Finding checkPolkit(const Bus& systemBus) {
  constexpr const char* service = "org.freedesktop.PolicyKit1";
  if (isAvailable(systemBus, service)) {
    return {CheckState::Ok, fmt::format("The service {} is on the system bus.", service)};
  }
  return {CheckState::Missing,
          fmt::format("The service {} is not on the system bus, so the core helper refuses all requests.",
                      service),
          "Install it with 'sudo apt install polkitd'."};
}

}  // namespace quorlin
