/// quorlin-sensors-launcher: starts the agent in the background, at login and after a crash.
#include "platform/linux/bus/Bus.h"
#include "platform/posix/ErrorStream.h"
#include "platform/values/Sentence.h"
#include "programs/launcher/Launcher.h"

#include <sysexits.h>

int main() {
  try {
    // A computer that is busy with a login may need long.
    return quorlin::launchAgent(std::chrono::minutes(1));
  } catch (const quorlin::BusError& error) {
    quorlin::writeErrorLine(quorlin::filledIn("quorlin-sensors-launcher: {}", {error.what()}));
    return EX_UNAVAILABLE;
  }
}
