/// Applications that use the network, listed on request.
#include "core/AppDelegate.h"

namespace quorlin {

void AppDelegate::getNetworkApps() {
  services_.log.line("network applications were asked for; this version does not list them");
}

}  // namespace quorlin
