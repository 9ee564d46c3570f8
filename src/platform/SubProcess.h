/// One program run as a child process, and its output.
#pragma once

#include "platform/values/ByteBuffer.h"
#include "platform/values/PropertyList.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace quorlin {

/// Runs a program, waits for its end and collects its output. An instance may be used again and is never
/// reset: output is added to what is there, and timedout stays true until the caller sets it back.
///
/// A run blocks until the child has exited. One thread drives an instance; others may read and write its
/// properties meanwhile, but the contents of the buffers. Running out of memory throws std::bad_alloc, when
/// the child is gone.
///
/// The path is not searched for, and is the child's argument zero. The environment, the standard input and
/// the treatment of signals are the agent's own. So are its open descriptors, also the writing ends of
/// another instance's pipes when both start a child at the same moment: that one's output ends when both
/// children have.
///
/// The child keeps the ends that it writes to under further numbers besides 1 and 2. One that closes its
/// output and lives on therefore counts as silent, not as ended.
class SubProcess {
 public:
  /// Runs fork() or forkpty(), as usePseudoTerminal says. With debug output set runs nothing, adds that to
  /// the buffers and returns true.
  bool execute(const std::string& path, const std::vector<std::string>& arguments);

  /// Output and error stream through a pipe each. True when they were read to their end; false when timedout
  /// is set, and when the program could not be started, which changes nothing here. That includes a path or
  /// an argument with a zero byte, and descriptors beyond what select() can watch.
  bool fork(const std::string& path, const std::vector<std::string>& arguments);

  /// The same with the output on a pseudo-terminal; the error stream is the agent's own. The pseudo-terminal
  /// is not the child's controlling terminal. If the child's descriptor actions cannot be recorded, the
  /// slave stays open.
  bool forkpty(const std::string& path, const std::vector<std::string>& arguments);

  /// The child was silent for the time-out. It is not killed: nothing more is read, and the run goes on until
  /// it exits.
  bool timedout() const { return timedout_; }
  void setTimedout(bool timedout) { timedout_ = timedout; }

  /// The longest silence in whole seconds, of each wait for output. A signal that this process handles ends a
  /// wait, and the next begins afresh; nothing is lost by it. A negative one ends the reading at the
  /// first wait, which counts as read to the end.
  std::int32_t timeout() const { return timeout_; }
  void setTimeout(std::int32_t seconds) { timeout_ = seconds; }

  /// The status of the last child as waitpid() stores it, not decoded; unchanged where SIGCHLD is ignored,
  /// since the system then keeps no status.
  std::int32_t result() const { return result_; }

  const ByteBuffer& standardOutput() const { return standardOutput_; }
  const ByteBuffer& standardError() const { return standardError_; }

  bool usePseudoTerminal() const { return usePseudoTerminal_; }
  void setUsePseudoTerminal(bool use) { usePseudoTerminal_ = use; }

  /// Output to set instead of running a child; null for none.
  PropertyList::SharedData debugStandardOutput() const { return debugStandardOutput_.get(); }
  void setDebugStandardOutput(PropertyList::SharedData data) { debugStandardOutput_.set(std::move(data)); }
  PropertyList::SharedData debugStandardError() const { return debugStandardError_.get(); }
  void setDebugStandardError(PropertyList::SharedData data) { debugStandardError_.set(std::move(data)); }

 private:
  /// What std::atomic<std::shared_ptr> would do, which libc++ lacks.
  class AtomicData {
   public:
    PropertyList::SharedData get() const {
      const std::scoped_lock lock(mutex_);
      return data_;
    }
    void set(PropertyList::SharedData data) {
      const std::scoped_lock lock(mutex_);
      data_.swap(data);
    }

   private:
    mutable std::mutex mutex_;
    PropertyList::SharedData data_;
  };

  std::atomic<bool> timedout_ = false;
  std::atomic<std::int32_t> timeout_ = 30;
  std::atomic<std::int32_t> result_ = 0;
  ByteBuffer standardOutput_;
  ByteBuffer standardError_;
  std::atomic<bool> usePseudoTerminal_ = false;
  AtomicData debugStandardOutput_;
  AtomicData debugStandardError_;
};

}  // namespace quorlin
