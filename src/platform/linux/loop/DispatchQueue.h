/// Work in the background on GLib's threads, which go when they have been idle for a while.
#pragma once

#include "platform/DispatchQueue.h"

#include <memory>

namespace quorlin {

/// Its destructor finishes the queued work.
class LinuxDispatchQueue final : public DispatchQueue {
 public:
  LinuxDispatchQueue();
  ~LinuxDispatchQueue() override;
  LinuxDispatchQueue(const LinuxDispatchQueue&) = delete;
  LinuxDispatchQueue& operator=(const LinuxDispatchQueue&) = delete;

  void async(std::function<void()> action) override;

 private:
  struct Pool;
  std::unique_ptr<Pool> pool_;
};

}  // namespace quorlin
