/// The keeper for agents that may crash at any time.
#include "programs/keep/Keep.h"

int main() { return quorlin::keepCharge(std::chrono::seconds(0)); }
