#include "programs/nettop/Connections.h"

#include "platform/posix/TextFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>

#include <libmnl/libmnl.h>
#include <linux/inet_diag.h>
#include <linux/tcp.h>

namespace quorlin {
namespace {

/// The most that the kernel puts into one answer (netlink_recvmsg in net/netlink/af_netlink.c).
constexpr std::size_t kAnswerSize = std::size_t{32} * 1024;
constexpr int kRequests = 3;

struct Close {
  void operator()(mnl_socket* socket) const { mnl_socket_close(socket); }
};

Trouble cannotList(int error) { return systemTrouble("the TCP connections cannot be listed", {}, error); }

/// For mnl_attr_parse(), with the connection that the attribute describes.
int readBytes(const nlattr* attribute, void* described) {
  constexpr std::size_t needed =
      offsetof(tcp_info, tcpi_bytes_received) + sizeof(tcp_info::tcpi_bytes_received);
  if (mnl_attr_get_type(attribute) == INET_DIAG_INFO && mnl_attr_get_payload_len(attribute) >= needed) {
    tcp_info info{};
    std::memcpy(&info, mnl_attr_get_payload(attribute), needed);
    auto& connection = *static_cast<Connection*>(described);
    connection.bytesIn = info.tcpi_bytes_received;
    connection.bytesOut = info.tcpi_bytes_acked;
  }
  return MNL_CB_OK;
}

void addConnection(const nlmsghdr& message, std::vector<Connection>& connections) {
  if (mnl_nlmsg_get_payload_len(&message) < sizeof(inet_diag_msg)) return;
  Connection connection;
  connection.inode = static_cast<const inet_diag_msg*>(mnl_nlmsg_get_payload(&message))->idiag_inode;
  // No process holds it now.
  if (connection.inode == 0) return;
  mnl_attr_parse(&message, sizeof(inet_diag_msg), readBytes, &connection);
  connections.push_back(connection);
}

Result<AnswerState> ask(const mnl_socket& socket, std::vector<Connection>& connections) {
  const std::span<const char> request = connectionsRequest();
  if (mnl_socket_sendto(&socket, request.data(), request.size()) < 0) return cannotList(errno);
  alignas(nlmsghdr) std::array<char, kAnswerSize> answer;
  AnswerState state;
  while (!state.isComplete) {
    const ssize_t size = mnl_socket_recvfrom(&socket, answer.data(), answer.size());
    if (size < 0) return cannotList(errno);
    readAnswer({answer.data(), static_cast<std::size_t>(size)}, state, connections);
  }
  if (state.error != 0) return cannotList(state.error);
  return state;
}

}  // namespace

void readAnswer(std::span<const char> messages, AnswerState& state, std::vector<Connection>& connections) {
  int left = static_cast<int>(messages.size());
  const auto* message = reinterpret_cast<const nlmsghdr*>(messages.data());
  for (; mnl_nlmsg_ok(message, left); message = mnl_nlmsg_next(message, &left)) {
    if ((message->nlmsg_flags & NLM_F_DUMP_INTR) != 0) state.isInconsistent = true;
    if (message->nlmsg_type != NLMSG_DONE && message->nlmsg_type != NLMSG_ERROR) {
      addConnection(*message, connections);
      continue;
    }
    state.isComplete = true;
    // Both begin with 0 or a negative error; a failure on the way ends in NLMSG_DONE.
    if (mnl_nlmsg_get_payload_len(message) < sizeof(state.error)) continue;
    std::memcpy(&state.error, mnl_nlmsg_get_payload(message), sizeof(state.error));
    state.error = -state.error;
  }
}

Result<std::vector<Connection>> externalConnections() {
  const std::unique_ptr<mnl_socket, Close> socket(mnl_socket_open(NETLINK_SOCK_DIAG));
  if (!socket) return cannotList(errno);
  std::vector<Connection> connections;
  bool isInconsistent = true;
  for (int requests = 0; isInconsistent && requests < kRequests; ++requests) {
    connections.clear();
    const Result<AnswerState> state = ask(*socket, connections);
    if (!state) return state.error();
    isInconsistent = state->isInconsistent;
  }
  std::ranges::sort(connections, {}, &Connection::inode);
  const auto isSame = [](const Connection& one, const Connection& other) { return one.inode == other.inode; };
  connections.erase(std::unique(connections.begin(), connections.end(), isSame), connections.end());
  return connections;
}

}  // namespace quorlin
