/// The TCP connections of this network namespace, as the kernel's socket diagnostics tell them
/// (sock_diag(7)).
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace quorlin {

/// One end of a connection, held by a process. The counters are TCP's: bytes that have arrived in order,
/// bytes whose arrival the other end has confirmed. The end that opened the connection has sent one byte more
/// than its payload, and so has an end that has closed it (tcpi_bytes_received and tcpi_bytes_acked in
/// linux/tcp.h).
struct Connection {
  std::uint32_t inode = 0;  // the socket's
  std::uint64_t bytesIn = 0;
  std::uint64_t bytesOut = 0;
};

/// Those that have been established and are at neither end on a loopback address, by rising inode. Throws
/// std::system_error where the kernel cannot tell them.
std::vector<Connection> externalConnections();

/// How far the kernel's answer to one request has come.
struct AnswerState {
  bool isComplete = false;
  bool isInconsistent = false;  // something may be missing or there twice
  int error = 0;                // of errno.h
};

/// Adds the connections of the messages that one system call received. An older kernel counts no bytes: then
/// they are 0.
void readAnswer(std::span<const char> messages, AnswerState& state, std::vector<Connection>& connections);

}  // namespace quorlin
