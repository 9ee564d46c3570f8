#include "platform/linux/JobBlessing.h"

#include "platform/linux/BundledPrograms.h"
#include "platform/linux/HelperInstaller.h"

namespace quorlin {

bool LinuxJobBlessing::bless(std::string_view /*label*/, const Authorization* /*authorization*/) {
  const std::filesystem::path helper = bundledProgram(kHelperFileName);
  return !helper.empty() && runHelperInstaller(helper) == 0;
}

}  // namespace quorlin
