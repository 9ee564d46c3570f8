/// Installing the root helper through pkexec.
#pragma once

#include "platform/JobBlessing.h"
#include "platform/linux/helper/HelperInstaller.h"
#include "platform/linux/processes/BundledPrograms.h"

namespace quorlin {

/// polkit keeps no authorization for a program: it asks at each use.
class LinuxJobBlessing final : public JobBlessing {
 public:
  std::unique_ptr<Authorization> createAuthorization() override { return nullptr; }

  /// Runs the helper that comes with the agent as its own installer.
  bool bless(std::string_view /*label*/, const Authorization* /*authorization*/) override {
    const Result<std::filesystem::path> helper = bundledProgram(kHelperFileName);
    return helper && runHelperInstaller(*helper).kind == InstallerOutcome::Kind::Installed;
  }
};

}  // namespace quorlin
