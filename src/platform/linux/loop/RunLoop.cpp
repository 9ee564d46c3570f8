#include "platform/linux/loop/RunLoop.h"

#include <utility>

#include <glib-unix.h>

namespace quorlin {
namespace {

using Action = std::function<void()>;

void deleteAction(gpointer action) { delete static_cast<Action*>(action); }

template <gboolean next>
gboolean call(gpointer action) {
  (*static_cast<Action*>(action))();
  return next;
}

/// A source of the default context, which it leaves when it is destroyed.
class AttachedSource final : public Timer {
 public:
  AttachedSource(GSource* source, Action action) : source_(source) {
    g_source_set_callback(source_, call<G_SOURCE_CONTINUE>, new Action(std::move(action)), deleteAction);
    g_source_attach(source_, nullptr);
  }
  ~AttachedSource() override {
    g_source_destroy(source_);
    g_source_unref(source_);
  }

 private:
  GSource* source_;
};

}  // namespace

std::unique_ptr<Timer> LinuxRunLoop::scheduleTimer(std::chrono::milliseconds interval, Action action) {
  return std::make_unique<AttachedSource>(g_timeout_source_new(static_cast<guint>(interval.count())),
                                          std::move(action));
}

void LinuxRunLoop::performOnMainThread(Action action) {
  g_idle_add_full(G_PRIORITY_DEFAULT, call<G_SOURCE_REMOVE>, new Action(std::move(action)), deleteAction);
}

bool LinuxRunLoop::isMainThread() const { return std::this_thread::get_id() == mainThread_; }

std::unique_ptr<Timer> LinuxRunLoop::watchSignal(int signal, Action action) {
  return std::make_unique<AttachedSource>(g_unix_signal_source_new(signal), std::move(action));
}

void LinuxRunLoop::run() {
  if (!stopped_) g_main_loop_run(loop_.get());
}

void LinuxRunLoop::stop() {
  stopped_ = true;
  g_main_loop_quit(loop_.get());
}

}  // namespace quorlin
