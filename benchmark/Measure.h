/// Processor time, measured again and again.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace quorlin::bench {

/// Processor time, user's and system's, that this thread spends in the action, in microseconds.
double cpuMicroseconds(const std::function<void()>& action);

/// The same for a program that is run with its output thrown away. Throws std::runtime_error if it fails.
double cpuMicrosecondsOfProgram(const std::vector<std::string>& command);

double median(std::vector<double> values);

/// Reads and writes more memory than the caches hold, as other programs would between two ticks.
void evictCaches();

}  // namespace quorlin::bench
