/// Calls that wait for the helper, served in turns.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <unordered_map>

namespace quorlin {

/// One call of each caller, then the next of each: however many calls others send, a caller waits for no more
/// than one of each of them.
class FairQueue {
 public:
  /// In bytes. Past the first, a caller that has more than the second waiting loses what it sends.
  static constexpr std::size_t kMuch = 4194304;
  static constexpr std::size_t kMuchOfACaller = 4096;

  /// Returns whether it has taken the call.
  bool push(const std::string& caller, std::string message);

  /// Needs a call.
  std::string pop();

  bool isEmpty() const { return turns_.empty(); }

 private:
  struct Waiting {
    std::deque<std::string> messages;
    std::size_t bytes = 0;
  };

  /// Each has a call at least.
  std::unordered_map<std::string, Waiting> callers_;
  std::deque<std::string> turns_;
  std::size_t bytes_ = 0;
};

}  // namespace quorlin
