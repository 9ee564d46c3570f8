#include "platform/linux/loop/DispatchQueue.h"

#include <utility>

#include <glib.h>

namespace quorlin {
namespace {

using Action = std::function<void()>;

constexpr int kMostThreads = 4;

void perform(gpointer data, gpointer /*pool*/) {
  const std::unique_ptr<Action> action(static_cast<Action*>(data));
  (*action)();
}

}  // namespace

struct LinuxDispatchQueue::Pool {
  Pool() = default;
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;
  ~Pool() { g_thread_pool_free(threads, FALSE, TRUE); }

  GThreadPool* threads = g_thread_pool_new(perform, nullptr, kMostThreads, FALSE, nullptr);
};

LinuxDispatchQueue::LinuxDispatchQueue() : pool_(std::make_unique<Pool>()) {}

LinuxDispatchQueue::~LinuxDispatchQueue() = default;

void LinuxDispatchQueue::async(std::function<void()> action) {
  g_thread_pool_push(pool_->threads, new Action(std::move(action)), nullptr);
}

}  // namespace quorlin
