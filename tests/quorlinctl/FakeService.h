/// A service on a bus that answers on a thread of its own, while the test waits for its answers.
#pragma once

#include <cstdint>
#include <thread>

#include <sys/socket.h>
#include <systemd/sd-bus.h>

namespace quorlin {

class FakeService {
 public:
  /// Takes the connection.
  FakeService(sd_bus* bus, const char* name, const char* path, const char* interface,
              const sd_bus_vtable* table, void* userdata)
      : bus_(bus), descriptor_(sd_bus_get_fd(bus)) {
    sd_bus_add_object_vtable(bus, nullptr, path, interface, table, userdata);
    sd_bus_request_name(bus, name, 0);
    answering_ = std::thread([bus] {
      for (int processed = 0; processed >= 0;) {
        processed = sd_bus_process(bus, nullptr);
        if (processed == 0) processed = sd_bus_wait(bus, UINT64_MAX);
      }
    });
  }
  ~FakeService() {
    // The thread's next step fails.
    ::shutdown(descriptor_, SHUT_RDWR);
    answering_.join();
    sd_bus_close_unref(bus_);
  }
  FakeService(const FakeService&) = delete;
  FakeService& operator=(const FakeService&) = delete;

 private:
  sd_bus* bus_;
  int descriptor_;
  std::thread answering_;
};

}  // namespace quorlin
