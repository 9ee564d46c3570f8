/// A service on a bus that answers on a thread of its own, while the test waits for its answers.
#pragma once

#include <cstdint>
#include <thread>

#include <sys/socket.h>
#include <systemd/sd-bus.h>

namespace quorlin {

class FakeService {
 public:
  /// The handler gets every call of a method at the path.
  FakeService(int (*open)(sd_bus**), const char* name, const char* path, sd_bus_message_handler_t handler,
              void* userdata) {
    open(&bus_);
    sd_bus_add_object(bus_, nullptr, path, handler, userdata);
    sd_bus_request_name(bus_, name, 0);
    answering_ = std::thread([bus = bus_] {
      for (int processed = 0; processed >= 0;) {
        processed = sd_bus_process(bus, nullptr);
        if (processed == 0) processed = sd_bus_wait(bus, UINT64_MAX);
      }
    });
  }
  ~FakeService() {
    // The thread's next step fails.
    ::shutdown(sd_bus_get_fd(bus_), SHUT_RDWR);
    answering_.join();
    sd_bus_close_unref(bus_);
  }
  FakeService(const FakeService&) = delete;
  FakeService& operator=(const FakeService&) = delete;

 private:
  sd_bus* bus_ = nullptr;
  std::thread answering_;
};

}  // namespace quorlin
