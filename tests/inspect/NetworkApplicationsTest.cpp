#include "core/Notifications.h"
#include "fakes/FakeMachine.h"
#include "inspect/NetTop.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Data bytes(std::string_view text) { return {text.begin(), text.end()}; }

TEST(NetTopLines, AreTrimmedAndNotEmpty) {
  EXPECT_THAT(formatLines(bytes("a b\n\n \t\r\n  c\u2003d\u3000\r\ne")), ElementsAre("a b", "c\u2003d", "e"));
  EXPECT_THAT(formatLines(bytes("good\nbad\xFF\n")), IsEmpty()) << "not UTF-8";
  EXPECT_THAT(formatLines({}), IsEmpty());
}

Dictionary record(std::int64_t pid, std::int64_t in, std::int64_t out) {
  return {{"pid", pid}, {"bytesIn", in}, {"bytesOut", out}};
}

TEST(NetTopLine, OfAProcessIsARecord) {
  constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
  const std::pair<std::string_view, std::optional<Dictionary>> cases[] = {
      {"12:00:00.1 Some.App.1234 5000 7000", record(1234, 5000, 7000)},
      {"  t\u00A0name.7\t1  2  more", record(7, 1, 2)},
      {"t name 1 2", record(0, 1, 2)},
      {"t name. 1 2", record(0, 1, 2)},
      {"t name.x7 1 2", record(0, 1, 2)},
      {"t name.-7 1 2", record(0, 1, 2)},
      {"t name.12x 1 2", record(12, 1, 2)},
      {"t name.99999999999 1 2", record(2147483647, 1, 2)},
      {"t name.7 99999999999999999999 -99999999999999999999", record(7, most, least)},
      {"t name.7 +5-6", record(7, 5, -6)},
      {"Time name.7 1 2", record(7, 1, 2)},
      {"t Web Content.7 1 2", std::nullopt},
      {"t Two 2 Words.7 1 2", std::nullopt},
      {"time name.7 1 2", std::nullopt},
      {"t name.7 1", std::nullopt},
      {"t name.7 1.5 2", std::nullopt},
      {"t name.7 1 x2", std::nullopt},
      {"t name.7 +-1 2", std::nullopt},
      {"t name.7", std::nullopt},
      {"t", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& [line, expected] : cases) EXPECT_EQ(parseNetTop(line), expected) << line;
}

TEST(NetworkApplications, ArePostedWhateverNettopTells) {
  FakeMachine machine;
  machine.launchAndForget();
  const auto answerTo = [&](std::optional<std::string_view> output) {
    machine.tasks.output = output ? std::optional(bytes(*output)) : std::nullopt;
    machine.center.posted.clear();
    machine.center.receive("QuorlinSensorsGetNetworkApp");
    EXPECT_THAT(machine.center.names(), ElementsAre("QuorlinSensorsNetDataW"));
    const Posted& posted = machine.center.posted.at(0);
    EXPECT_EQ(posted.object, "QuorlinSensorsAgent");
    EXPECT_EQ(posted.delivery, Delivery::Immediate);
    EXPECT_EQ(posted.userInfo.size(), 2U);
    EXPECT_EQ(*find(posted.userInfo, "version"), PropertyList(12));
    return *find(posted.userInfo, "netapps")->array();
  };
  EXPECT_EQ(
      answerTo("time  bytes_in bytes_out\nt b.2 3 4\nSTAT b.9 1 2\nbroken\n\nt a.1 5 6\nt b.2 0 0\nt c.3 1"),
      (Array{record(2, 3, 4), record(1, 5, 6), record(2, 0, 0)}));
  EXPECT_THAT(
      machine.tasks.command,
      ElementsAre(
          "/usr/bin/nettop", "-Px", "-k",
          "interface,state,rx_ooo,rx_dupe,re-tx,rtt_avg,rcvsize,tx_win,tc_class,tc_mgt,cc_algo,P,C,R,W", "-l",
          "1", "-t", "external"));
  EXPECT_EQ(answerTo("time bytes_in bytes_out\n"), Array());
  EXPECT_EQ(answerTo(std::nullopt), Array()) << "nettop could not be started";
}

}  // namespace
}  // namespace quorlin
