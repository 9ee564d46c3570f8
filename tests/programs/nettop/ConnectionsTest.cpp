#include "programs/nettop/Connections.h"

#include <cerrno>
#include <cstddef>
#include <cstring>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/tcp.h>

namespace quorlin {
namespace {

template <typename Payload>
struct Message {
  nlmsghdr header{sizeof(Message), TCPDIAG_GETSOCK, 0, 0, 0};
  Payload payload;
};

struct Socket {
  inet_diag_msg message{};
  nlattr attribute{};
  std::array<char, sizeof(tcp_info)> info{};
};

AnswerState read(const auto& message, std::vector<Connection>& connections) {
  AnswerState state;
  readAnswer({reinterpret_cast<const char*>(&message), sizeof(message)}, state, connections);
  return state;
}

TEST(Connections, AreReadWithinTheLengthsThatTheKernelGives) {
  constexpr std::size_t whole = sizeof(Message<Socket>);
  constexpr std::size_t counters = offsetof(tcp_info, tcpi_bytes_received) + 8;
  const std::tuple<std::uint32_t, std::size_t, std::size_t, std::vector<std::uint64_t>> cases[] = {
      {5, whole, sizeof(tcp_info), {1ULL << 40U}},
      {5, whole, counters, {1ULL << 40U}},
      {5, whole, counters - 1, {0}},
      {5, whole, 0xFF00, {0}},
      {0, whole, counters, {}},
      {5, 80, counters, {}},
      {5, whole + 4, counters, {}}};
  for (const auto& [inode, messageSize, infoSize, expected] : cases) {
    Message<Socket> message;
    message.header.nlmsg_len = static_cast<std::uint32_t>(messageSize);
    message.payload.message.idiag_inode = inode;
    message.payload.attribute = {static_cast<std::uint16_t>(sizeof(nlattr) + infoSize), INET_DIAG_INFO};
    tcp_info info{};
    info.tcpi_bytes_received = 1ULL << 40U;
    std::memcpy(message.payload.info.data(), &info, sizeof(info));
    std::vector<Connection> connections;
    read(message, connections);
    std::vector<std::uint64_t> bytes;
    for (const Connection& connection : connections) bytes.push_back(connection.bytesIn);
    EXPECT_EQ(bytes, expected) << messageSize << ' ' << infoSize;
  }
}

TEST(Connections, AreCompleteOrNotAsTheKernelSays) {
  const std::tuple<int, unsigned, int, AnswerState> cases[] = {
      {NLMSG_DONE, 0, 0, {true, false, 0}},
      {NLMSG_DONE, 0, -ENOENT, {true, false, ENOENT}},
      {NLMSG_ERROR, 0, -EPERM, {true, false, EPERM}},
      {NLMSG_DONE, NLM_F_DUMP_INTR, 0, {true, true, 0}}};
  for (const auto& [type, flags, error, expected] : cases) {
    Message<int> message;
    message.payload = error;
    message.header.nlmsg_type = static_cast<std::uint16_t>(type);
    message.header.nlmsg_flags = static_cast<std::uint16_t>(flags);
    std::vector<Connection> none;
    EXPECT_THAT(read(message, none),
                testing::FieldsAre(expected.isComplete, expected.isInconsistent, expected.error));
  }
}

}  // namespace
}  // namespace quorlin
