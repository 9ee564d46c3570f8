#include "programs/core-helper/service/FairQueue.h"
#include "programs/core-helper/service/MessageSieve.h"

#include <vector>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::SizeIs;

void addNumber(std::string& message, bool isLittle, std::uint32_t number) {
  for (int byte = 0; byte < 4; ++byte) {
    message += static_cast<char>(number >> 8 * (isLittle ? byte : 3 - byte) & 0xFF);
  }
}

struct Header {
  char order = 'l';
  char type = 1;
  char flags = 0;
  std::string path = "/o";
};

/// As a bus passes it on: path, signature of the body, number of descriptors, sender.
std::string message(const Header& header, std::size_t body) {
  const bool isLittle = header.order == 'l';
  std::string fields;
  const auto addString = [&](char code, char type, const std::string& text) {
    fields.resize((fields.size() + 7) / 8 * 8);
    fields.append({code, 1, type, 0});
    addNumber(fields, isLittle, static_cast<std::uint32_t>(text.size()));
    fields.append(text).push_back('\0');
  };
  addString(1, 'o', header.path);
  fields.resize((fields.size() + 7) / 8 * 8);
  fields.append({8, 1, 'g', 0, 2, 's', 'b', 0});
  fields.append({9, 1, 'u', 0});
  addNumber(fields, isLittle, 0);
  addString(7, 's', ":1.42");
  std::string bytes = {header.order, header.type, header.flags, 1};
  addNumber(bytes, isLittle, static_cast<std::uint32_t>(body));
  addNumber(bytes, isLittle, 7);
  addNumber(bytes, isLittle, static_cast<std::uint32_t>(fields.size()));
  bytes += fields;
  bytes.resize((bytes.size() + 7) / 8 * 8);
  return bytes.append(body, 'b');
}

/// What passes when the bytes come in pieces of that size.
std::vector<BusInput> sifted(std::string_view bytes, std::size_t piece) {
  std::vector<BusInput> passed;
  MessageSieve sieve([&](BusInput input) { passed.push_back(std::move(input)); });
  for (; !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size())))
    sieve.take(bytes.substr(0, piece));
  return passed;
}

TEST(MessageSieve, PassesWhatIsShortAndCutsOrDropsTheRest) {
  const std::string last = message({}, 10);
  const struct {
    Header header;
    std::size_t body;
    /// How many bytes of its body pass; -1 for a message that is dropped.
    int passes;
  } cases[] = {
      {{}, 0, 0},
      {{.order = 'B'}, 100, 100},
      {{.type = 2}, 100, 100},
      {{.type = 4, .flags = 1}, 100, 100},
      {{.flags = 2}, 100, 100},
      {{.flags = 1}, 100, -1},
      {{.flags = 3}, 100, -1},
      {{}, 8192, 0},
      {{.order = 'B'}, 30000000, 0},
      {{.type = 2}, 9000, 0},
      {{.path = std::string(9000, 'p')}, 5, -1},
      {{.path = std::string(9000, 'p')}, 9000, -1},
  };
  for (const auto& [header, body, passes] : cases) {
    SCOPED_TRACE(testing::Message() << header.order << int{header.type} << int{header.flags} << " " << body);
    const std::string whole = message(header, body);
    for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, std::size_t{65536}}) {
      if (piece < 65536 && body > 10000) continue;
      const std::vector<BusInput> passed = sifted("DATA\r\nOK 12\r\n" + whole + last, piece);
      ASSERT_THAT(passed, SizeIs(passes < 0 ? 3 : 4));
      EXPECT_EQ(passed[0].bytes + passed[1].bytes, "DATA\r\nOK 12\r\n");
      EXPECT_THAT(passed.back(), AllOf(Field(&BusInput::bytes, last), Field(&BusInput::caller, ":1.42")));
      if (passes < 0) continue;
      EXPECT_EQ(passed[2].caller, header.type == 1 ? ":1.42" : "");
      EXPECT_EQ(passed[2].bytes, message(header, static_cast<std::size_t>(passes)));
    }
  }
}

TEST(FairQueue, GivesEachCallerItsTurn) {
  FairQueue queue;
  for (const char* message : {"a1", "a2", "a3"}) queue.push("a", message);
  queue.push("b", "b1");
  std::vector<std::string> order = {queue.pop()};
  queue.push("c", "c1");
  while (!queue.isEmpty()) order.push_back(queue.pop());
  EXPECT_THAT(order, ElementsAre("a1", "b1", "a2", "c1", "a3"));
}

TEST(FairQueue, LosesOnlyCallsOfThoseWhoSendTooMuch) {
  FairQueue queue;
  const std::string large(1000, 'x');
  std::size_t taken = 0;
  while (queue.push("flooder " + std::to_string(taken % 100), large)) ++taken;
  EXPECT_LT(taken * large.size(), FairQueue::kMuch);
  EXPECT_TRUE(queue.push("honest", "call"));
  std::size_t turn = 1;
  while (queue.pop() != "call") ++turn;
  EXPECT_LE(turn, 101U);
}

}  // namespace
}  // namespace quorlin
