/// The TCP connections of this network namespace, from the kernel's socket diagnostics (sock_diag(7)).
#pragma once

#include "platform/values/Result.h"

#include <cstdint>
#include <span>
#include <vector>

namespace quorlin {

/// One end of a connection, held by a process. The counters are TCP's: bytes that have arrived in order,
/// bytes whose arrival the other end has confirmed. Opening the connection counts as one byte sent, and so
/// does closing it (tcpi_bytes_received and tcpi_bytes_acked in linux/tcp.h).
struct Connection {
  std::uint32_t inode = 0;  // the socket's
  std::uint64_t bytesIn = 0;
  std::uint64_t bytesOut = 0;
};

/// The established ones that have a loopback address at neither end, by rising inode.
Result<std::vector<Connection>> externalConnections();

/// A message for the kernel's socket diagnostics. It has the kernel choose the connections, so that the
/// others cost little.
std::span<const char> connectionsRequest();

/// The progress of the kernel's answer to one request.
struct AnswerState {
  bool isComplete = false;
  bool isInconsistent = false;  // a connection may be missing or listed twice
  int error = 0;                // of errno.h
};

/// Adds the connections of the messages that one system call received. An older kernel counts no bytes: then
/// they are 0.
void readAnswer(std::span<const char> messages, AnswerState& state, std::vector<Connection>& connections);

}  // namespace quorlin
