/// The launcher for agents that never say that they have launched.
#include "programs/launcher/Launcher.h"

int main() { return quorlin::launchAgent(std::chrono::seconds(1)); }
