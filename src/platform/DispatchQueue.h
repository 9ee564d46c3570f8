/// The threads of the process for work in the background.
#pragma once

#include <functional>

namespace quorlin {

class DispatchQueue {
 public:
  virtual ~DispatchQueue() = default;

  /// Runs the action soon on a thread that is not the main one, in parallel with other actions. Any thread.
  virtual void async(std::function<void()> action) = 0;
};

}  // namespace quorlin
