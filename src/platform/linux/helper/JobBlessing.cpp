#include "platform/linux/helper/JobBlessing.h"

#include "platform/linux/helper/HelperInstaller.h"
#include "platform/linux/processes/BundledPrograms.h"

namespace quorlin {

bool LinuxJobBlessing::bless(std::string_view /*label*/, const Authorization* /*authorization*/) {
  const Result<std::filesystem::path> helper = bundledProgram(kHelperFileName);
  return helper && runHelperInstaller(*helper).kind == InstallerOutcome::Kind::Installed;
}

}  // namespace quorlin
