/// The list of processes as text.
#pragma once

#include "programs/nettop/ProcessTraffic.h"

#include <chrono>
#include <span>
#include <string>
#include <string_view>

namespace quorlin {

/// A header, then a line for each process: the local time as HH:MM:SS.micro, name.pid, bytes received, bytes
/// sent; blanks between the columns and nowhere else.
std::string trafficTable(std::span<const ProcessTraffic> processes,
                         std::chrono::system_clock::time_point time);

/// A process's name as one word of UTF-8: "_" for each character of white space or control, for those that
/// change the direction of writing, and for each byte that is not UTF-8.
std::string singleWord(std::string_view name);

}  // namespace quorlin
