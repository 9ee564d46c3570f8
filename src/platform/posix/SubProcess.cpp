#include "platform/SubProcess.h"

#include "platform/posix/ChildProcess.h"
#include "platform/posix/FileDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <span>

#include <fcntl.h>
#include <sys/select.h>

namespace quorlin {
namespace {

/// An end that the child's output comes from.
struct ChildStream {
  FileDescriptor end;
  ByteBuffer& bytes;
  bool open = true;
};

/// A set of select() has no room for the others, and writing them to it is undefined.
bool canBeSelected(const FileDescriptor& end) { return end && end.get() < FD_SETSIZE; }

struct Pipe {
  FileDescriptor readEnd;
  FileDescriptor writeEnd;
};

std::optional<Pipe> makePipe() {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) return std::nullopt;
  Pipe made{FileDescriptor(ends[0]), FileDescriptor(ends[1])};
  if (!canBeSelected(made.readEnd)) return std::nullopt;
  return made;
}

std::optional<pid_t> spawn(const std::string& path, const std::vector<std::string>& arguments,
                           const FileActions& actions) {
  std::optional<std::vector<char*>> vector = argumentVector(path, arguments);
  if (!vector || actions.error() != 0) return std::nullopt;
  pid_t process = 0;
  if (posix_spawn(&process, path.c_str(), actions.get(), nullptr, vector->data(), environ) != 0) {
    return std::nullopt;
  }
  return process;
}

void readBlock(ChildStream& stream, std::span<std::uint8_t> block) {
  const ssize_t size = read(stream.end.get(), block.data(), block.size());
  stream.open = size > 0;
  if (stream.open) stream.bytes.append(block.first(static_cast<std::size_t>(size)));
}

/// Reads until every stream has ended. False when they were silent for the time-out.
bool readToEnd(std::span<ChildStream> streams, const std::atomic<std::int32_t>& timeout) {
  // What a pipe holds on Linux, pipe(7). Reading straight to the end of the contents costs more: the pipe
  // stays locked while the kernel finds memory for them.
  std::vector<std::uint8_t> block(65'536);
  for (;;) {
    fd_set ready;
    FD_ZERO(&ready);
    int count = 0;
    for (const ChildStream& stream : streams) {
      if (!stream.open) continue;
      FD_SET(stream.end.get(), &ready);
      count = std::max(count, stream.end.get() + 1);
    }
    if (count == 0) return true;
    timeval silence{timeout, 0};
    const int found = select(count, &ready, nullptr, nullptr, &silence);
    if (found == 0) return false;
    if (found < 0) {
      if (errno != EINTR) return true;
      continue;  // the set is as it was, which does not mean that there is something to read
    }
    for (ChildStream& stream : streams) {
      if (FD_ISSET(stream.end.get(), &ready)) readBlock(stream, block);
    }
  }
}

/// At the end of a run, however it ends: closes our ends, so that the child does not write to them for ever,
/// then waits for the child.
class Ending {
 public:
  Ending(pid_t process, std::span<ChildStream> streams, std::atomic<std::int32_t>& result)
      : process_(process), streams_(streams), result_(result) {}
  ~Ending() {
    for (ChildStream& stream : streams_) stream.end.reset();
    if (const std::optional<int> status = waitForEnd(process_)) result_ = *status;
  }
  Ending(const Ending&) = delete;
  Ending& operator=(const Ending&) = delete;

 private:
  pid_t process_;
  std::span<ChildStream> streams_;
  std::atomic<std::int32_t>& result_;
};

/// Until the child has exited; that it was silent for the time-out is said before.
void collect(pid_t process, std::span<ChildStream> streams, const std::atomic<std::int32_t>& timeout,
             std::atomic<bool>& timedout, std::atomic<std::int32_t>& result) {
  const Ending ending(process, streams, result);
  for (const ChildStream& stream : streams) fcntl(stream.end.get(), F_SETFL, O_NONBLOCK);
  if (!readToEnd(streams, timeout)) timedout = true;
}

}  // namespace

bool SubProcess::execute(const std::string& path, const std::vector<std::string>& arguments) {
  const PropertyList::SharedData output = debugStandardOutput();
  const PropertyList::SharedData error = debugStandardError();
  if (output) standardOutput_.append(*output);
  if (error) standardError_.append(*error);
  if (output || error) return true;
  return usePseudoTerminal_ ? forkpty(path, arguments) : fork(path, arguments);
}

bool SubProcess::fork(const std::string& path, const std::vector<std::string>& arguments) {
  std::optional<Pipe> output = makePipe();
  std::optional<Pipe> error = output ? makePipe() : std::nullopt;
  if (!error) return false;
  FileActions actions;
  actions.add(posix_spawn_file_actions_addclose, output->readEnd.get());
  actions.add(posix_spawn_file_actions_addclose, error->readEnd.get());
  actions.add(posix_spawn_file_actions_adddup2, output->writeEnd.get(), STDOUT_FILENO);
  actions.add(posix_spawn_file_actions_adddup2, error->writeEnd.get(), STDERR_FILENO);
  const std::optional<pid_t> process = spawn(path, arguments, actions);
  if (!process) return false;
  output->writeEnd.reset();
  error->writeEnd.reset();
  std::array<ChildStream, 2> streams = {ChildStream{std::move(output->readEnd), standardOutput_},
                                        ChildStream{std::move(error->readEnd), standardError_}};
  collect(*process, streams, timeout_, timedout_, result_);
  return !timedout_;
}

bool SubProcess::forkpty(const std::string& path, const std::vector<std::string>& arguments) {
  FileDescriptor master(posix_openpt(O_RDWR));
  if (!canBeSelected(master) || grantpt(master.get()) != 0 || unlockpt(master.get()) != 0) return false;
  // Not ptsname(), whose text all threads share.
  std::array<char, 64> name{};
  if (ptsname_r(master.get(), name.data(), name.size()) != 0) return false;
  // Opened by a session's leader that has none, it would become the agent's controlling terminal, and closing
  // the master would hang up the agent.
  const int slave = open(name.data(), O_RDWR | O_NOCTTY);
  if (slave < 0) return false;
  FileActions actions;
  actions.add(posix_spawn_file_actions_addclose, master.get());
  actions.add(posix_spawn_file_actions_adddup2, slave, STDOUT_FILENO);
  if (actions.error() != 0) return false;  // the slave stays open, as declared
  FileDescriptor closedSlave(slave);
  const std::optional<pid_t> process = spawn(path, arguments, actions);
  if (!process) return false;
  closedSlave.reset();
  std::array<ChildStream, 1> streams = {ChildStream{std::move(master), standardOutput_}};
  collect(*process, streams, timeout_, timedout_, result_);
  return !timedout_;
}

}  // namespace quorlin
