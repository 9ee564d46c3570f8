/// The request for the connections.
#include "programs/nettop/Connections.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace quorlin {
namespace {

constexpr std::uint32_t stateMask(std::initializer_list<unsigned> states) {
  std::uint32_t mask = 0;
  for (const unsigned state : states) mask |= 1U << state;
  return mask;
}

/// A step of a program that the kernel runs on each socket (inet_diag_bc_run in net/ipv4/inet_diag.c):
/// sockets with one end in a network leap to where they are refused.
template <std::size_t kAddressSize>
struct Refusal {
  inet_diag_bc_op condition;
  // As inet_diag_hostcond, whose address has no fixed size.
  std::uint8_t family;
  std::uint8_t prefixLength;
  std::int32_t port;
  std::array<std::uint8_t, kAddressSize> network;
  inet_diag_bc_op leap;
};

struct Filter {
  Refusal<4> fromIpv4;
  Refusal<16> fromIpv6;
  Refusal<4> toIpv4;
  Refusal<16> toIpv6;
};

struct Request {
  nlmsghdr header;
  inet_diag_req body;
  nlattr attribute;
  Filter filter;
};
static_assert(sizeof(Request) == sizeof(nlmsghdr) + sizeof(inet_diag_req) + sizeof(nlattr) + sizeof(Filter));

/// The kernel compares an IPv4 network also with IPv4 addresses that are mapped into IPv6.
constexpr std::array<std::uint8_t, 4> kLoopback4 = {127};
constexpr std::array<std::uint8_t, 16> kLoopback6 = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

/// The condition is on the address of one end; the offset is the step's. A socket that reaches the end of the
/// program is accepted, one that leaps four bytes further is refused.
template <std::size_t kAddressSize>
constexpr Refusal<kAddressSize> refusal(std::uint8_t condition, std::uint8_t prefixLength,
                                        const std::array<std::uint8_t, kAddressSize>& network,
                                        std::size_t offset) {
  constexpr std::uint8_t leap = offsetof(Refusal<kAddressSize>, leap);
  constexpr std::uint8_t leapSize = sizeof(inet_diag_bc_op);
  const auto beyond = static_cast<std::uint16_t>(sizeof(Filter) - offset - leap + 4);
  return {.condition = {.code = condition, .yes = leap, .no = leap + leapSize},
          .family = kAddressSize == 4 ? AF_INET : AF_INET6,
          .prefixLength = prefixLength,
          .port = -1,
          .network = network,
          .leap = {.code = INET_DIAG_BC_JMP, .yes = leapSize, .no = beyond}};
}

/// The older of the two forms of request: it gets IPv4 and IPv6 in one walk through the kernel's table, which
/// has hundreds of thousands of places however few are used.
constexpr Request kRequest = {
    .header = {.nlmsg_len = sizeof(Request),
               .nlmsg_type = TCPDIAG_GETSOCK,
               .nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP,
               .nlmsg_seq = 0,
               .nlmsg_pid = 0},
    .body = {.idiag_family = AF_UNSPEC,
             .idiag_src_len = 0,
             .idiag_dst_len = 0,
             .idiag_ext = 1U << (INET_DIAG_INFO - 1U),
             .id = {},
             .idiag_states = stateMask(
                 {TCP_ESTABLISHED, TCP_FIN_WAIT1, TCP_FIN_WAIT2, TCP_CLOSE_WAIT, TCP_LAST_ACK, TCP_CLOSING}),
             .idiag_dbs = 0},
    .attribute = {.nla_len = sizeof(nlattr) + sizeof(Filter), .nla_type = INET_DIAG_REQ_BYTECODE},
    .filter = {refusal(INET_DIAG_BC_S_COND, 8, kLoopback4, offsetof(Filter, fromIpv4)),
               refusal(INET_DIAG_BC_S_COND, 128, kLoopback6, offsetof(Filter, fromIpv6)),
               refusal(INET_DIAG_BC_D_COND, 8, kLoopback4, offsetof(Filter, toIpv4)),
               refusal(INET_DIAG_BC_D_COND, 128, kLoopback6, offsetof(Filter, toIpv6))}};

}  // namespace

std::span<const char> connectionsRequest() {
  return {reinterpret_cast<const char*>(&kRequest), sizeof(kRequest)};
}

}  // namespace quorlin
