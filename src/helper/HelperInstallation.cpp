/// Putting the root helper into place. Only when the user switches it on and it does not answer.
#include "core/AppDelegate.h"
#include "helper/HelperTool.h"

namespace quorlin {

bool AppDelegate::installHelper() {
  const bool installed = services_.jobBlessing.bless(kHelperLabel, authRef_.get());
  services_.log.line(installed ? "installed" : "install failed!");
  return installed;
}

}  // namespace quorlin
