/// Work in the background on GLib's threads, which go when they have been idle for a while.
#pragma once

#include "platform/DispatchQueue.h"
#include "platform/values/Owned.h"

#include <glib.h>

namespace quorlin {

/// Its destructor finishes the queued work.
class LinuxDispatchQueue final : public DispatchQueue {
 public:
  LinuxDispatchQueue();

  void async(std::function<void()> action) override;

 private:
  static void finish(GThreadPool* threads) { g_thread_pool_free(threads, FALSE, TRUE); }

  Owned<GThreadPool, finish> threads_;
};

}  // namespace quorlin
