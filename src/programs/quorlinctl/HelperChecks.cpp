/// The checks of the root helper and of what lets users reach it.
#include "core/Settings.h"
#include "platform/posix/TextFile.h"
#include "quorlinctl/Checks.h"
#include "quorlinctl/Helper.h"

namespace quorlin {

CheckResult checkCoreSetting(const std::filesystem::path& settings) {
  const std::string subject = "core helper setting";
  if (isSwitchedOn(settings, setting::kCoreAutostart)) {
    return {CheckState::Ok, subject, settings.string() + " switches the core helper on", ""};
  }
  return {CheckState::Note, subject,
          settings.string() + " leaves the core helper off: no power metrics, and the charge is not held",
          "to have them, write coreAutostart=1 below [Settings] in it and start the agent anew"};
}

CheckResult checkHelper(const Bus& systemBus) {
  const std::string subject = "core helper";
  const HelperAnswer answer = askHelperVersion(systemBus);
  const std::string text = displayText(answer.text);
  switch (answer.kind) {
    case HelperAnswer::Kind::Answered:
      return {CheckState::Ok, subject, "version " + text + " answers on the system bus", ""};
    case HelperAnswer::Kind::NotInstalled:
      return {CheckState::Missing, subject, "not installed", "quorlinctl helper install"};
    case HelperAnswer::Kind::NotAllowed:
      return {CheckState::Missing, subject, "installed, but this user may not ask it (" + text + ")",
              "look whether polkit runs, then renew its rules: quorlinctl helper install"};
    case HelperAnswer::Kind::Failed:
      break;
  }
  return {CheckState::Missing, subject, "installed, but it does not answer (" + text + ")",
          "journalctl -u quorlin-core-helper tells why; quorlinctl helper install renews it"};
}

CheckResult checkPolkit(const Bus& systemBus) {
  constexpr const char* service = "org.freedesktop.PolicyKit1";
  if (isAvailable(systemBus, service)) {
    return {CheckState::Ok, "polkit", std::string(service) + " is on the system bus", ""};
  }
  return {CheckState::Missing, "polkit",
          std::string(service) + " neither runs nor can be started: the core helper refuses all requests",
          "sudo apt install polkitd"};
}

}  // namespace quorlin
