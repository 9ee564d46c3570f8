#include "platform/linux/helper/JobBlessing.h"

#include "platform/linux/helper/HelperInstaller.h"

namespace quorlin {

void LinuxJobBlessing::bless(std::string_view /*label*/, const Authorization* /*authorization*/,
                             std::function<void(bool installed)> completion) {
  const std::weak_ptr alive(alive_);
  const Result<std::filesystem::path> helper = bundledProgram(kHelperFileName, bundle_);
  if (!helper) {
    trouble_ = helper.error().text();
    log_.line(trouble_);
    runLoop_.performOnMainThread([alive, completion = std::move(completion)] {
      if (!alive.expired()) completion(false);
    });
    return;
  }
  startHelperInstaller(
      *helper, runLoop_,
      [this, alive, helper = *helper, completion = std::move(completion)](const InstallerOutcome& outcome) {
        if (alive.expired()) return;
        const bool installed = outcome.kind == InstallerOutcome::Kind::Installed;
        trouble_ = installed ? "" : outcome.reason(helper);
        const std::string& line = installed ? outcome.complaint : trouble_;
        if (!line.empty()) log_.line(line);
        completion(installed);
      });
}

}  // namespace quorlin
