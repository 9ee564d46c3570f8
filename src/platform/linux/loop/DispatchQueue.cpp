#include "platform/linux/loop/DispatchQueue.h"

#include <memory>
#include <utility>

namespace quorlin {
namespace {

using Action = std::function<void()>;

constexpr int kMostThreads = 4;

void perform(gpointer data, gpointer /*pool*/) {
  const std::unique_ptr<Action> action(static_cast<Action*>(data));
  (*action)();
}

}  // namespace

LinuxDispatchQueue::LinuxDispatchQueue()
    : threads_(g_thread_pool_new(perform, nullptr, kMostThreads, FALSE, nullptr)) {}

void LinuxDispatchQueue::async(std::function<void()> action) {
  g_thread_pool_push(threads_.get(), new Action(std::move(action)), nullptr);
}

}  // namespace quorlin
