/// quorlin-keep: has the agent hold the battery's charge while no other consumer runs.
#include "platform/linux/bus/Bus.h"
#include "programs/keep/Keep.h"

#include <cstdio>

#include <sysexits.h>

int main() {
  try {
    return quorlin::keepCharge(std::chrono::minutes(1));
  } catch (const quorlin::BusError& error) {
    std::fprintf(stderr, "quorlin-keep: %s\n", error.what());
    return EX_UNAVAILABLE;
  }
}
