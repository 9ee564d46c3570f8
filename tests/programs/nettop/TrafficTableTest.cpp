#include "programs/nettop/TrafficTable.h"

#include <cstdlib>
#include <ctime>

#include <gtest/gtest.h>

namespace quorlin {
namespace {

TEST(TrafficTable, AlignsItsColumnsAndMakesOneWordOfAName) {
  setenv("TZ", "UTC-2", 1);
  tzset();
  const std::vector<ProcessTraffic> processes = {
      {7, "Socket Process", 5, 123456789012},
      {8, "\xFFna\xC3\xAFve\t\n\x7F\xF0\x9F\x90\xA7\xE4", 18446744073709551615U, 0},
      {9,
       "\xC2\x85\xE1\x9A\x80\xE2\x80\x80"
       "\xE2\x80\xAE"
       "\xE3\x80\x80|\xC2\xA1.",
       1, 2}};
  EXPECT_EQ(
      trafficTable(processes, std::chrono::system_clock::time_point(std::chrono::microseconds(3599000042))),
      "time             process                       bytes_in     bytes_out\n"
      "02:59:59.000042  Socket_Process.7                     5  123456789012\n"
      "02:59:59.000042  _na\xC3\xAFve___\xF0\x9F\x90\xA7_.8     18446744073709551615             0\n"
      "02:59:59.000042  _____|\xC2\xA1..9                           1             2\n");
}

}  // namespace
}  // namespace quorlin
