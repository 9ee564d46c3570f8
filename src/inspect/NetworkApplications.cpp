/// Applications that use the network, listed on request.
#include "core/AppDelegate.h"

namespace quorlin {

void AppDelegate::getNetworkApps() {
  // Once: whoever asks may ask again and again.
  static bool said = false;
  if (!said) services_.log.line("network applications were asked for; this version does not list them");
  said = true;
}

}  // namespace quorlin
