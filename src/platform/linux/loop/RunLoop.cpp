#include "platform/linux/loop/RunLoop.h"

#include <utility>

#include <glib-unix.h>
#include <glib.h>

namespace quorlin {
namespace {

using Action = std::function<void()>;

void deleteAction(gpointer action) { delete static_cast<Action*>(action); }

gboolean callAndKeep(gpointer action) {
  (*static_cast<Action*>(action))();
  return G_SOURCE_CONTINUE;
}

gboolean callOnce(gpointer action) {
  (*static_cast<Action*>(action))();
  return G_SOURCE_REMOVE;
}

/// A source of the default context, which it leaves when it is destroyed.
class AttachedSource final : public Timer {
 public:
  AttachedSource(GSource* source, Action action) : source_(source) {
    g_source_set_callback(source_, callAndKeep, new Action(std::move(action)), deleteAction);
    g_source_attach(source_, nullptr);
  }
  ~AttachedSource() override {
    g_source_destroy(source_);
    g_source_unref(source_);
  }
  AttachedSource(const AttachedSource&) = delete;
  AttachedSource& operator=(const AttachedSource&) = delete;

 private:
  GSource* source_;
};

}  // namespace

struct LinuxRunLoop::Loop {
  Loop() = default;
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;
  ~Loop() { g_main_loop_unref(loop); }

  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
};

LinuxRunLoop::LinuxRunLoop() : loop_(std::make_unique<Loop>()), mainThread_(std::this_thread::get_id()) {}

LinuxRunLoop::~LinuxRunLoop() = default;

std::unique_ptr<Timer> LinuxRunLoop::scheduleTimer(std::chrono::milliseconds interval, Action action) {
  return std::make_unique<AttachedSource>(g_timeout_source_new(static_cast<guint>(interval.count())),
                                          std::move(action));
}

void LinuxRunLoop::performOnMainThread(Action action) {
  g_idle_add_full(G_PRIORITY_DEFAULT, callOnce, new Action(std::move(action)), deleteAction);
}

bool LinuxRunLoop::isMainThread() const { return std::this_thread::get_id() == mainThread_; }

std::unique_ptr<Timer> LinuxRunLoop::watchSignal(int signal, Action action) {
  return std::make_unique<AttachedSource>(g_unix_signal_source_new(signal), std::move(action));
}

void LinuxRunLoop::run() {
  if (!stopped_) g_main_loop_run(loop_->loop);
}

void LinuxRunLoop::stop() {
  stopped_ = true;
  g_main_loop_quit(loop_->loop);
}

}  // namespace quorlin
