#include "programs/core-helper/service/BusGate.h"

#include "commands/PercentEncoding.h"
#include "platform/posix/TextFile.h"
#include "programs/core-helper/service/FairQueue.h"
#include "programs/core-helper/service/MessageSieve.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace quorlin {
namespace {

constexpr const char* kComplaint = "Cannot connect to the system bus";

/// No more waits in one direction than that and what one reading brings.
constexpr std::size_t kMostWaiting = 65536;

/// Appends what there is to read; false at the end.
template <typename Take>
bool readSome(int from, const Take& take) {
  std::array<char, kMostWaiting> buffer;
  const ssize_t count = recv(from, buffer.data(), buffer.size(), MSG_DONTWAIT);
  if (count > 0) take(std::string_view(buffer.data(), static_cast<std::size_t>(count)));
  return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

/// What the other side no longer reads is lost.
void writeSome(int into, std::string& waiting) {
  const ssize_t count = send(into, waiting.data(), waiting.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  if (count > 0) waiting.erase(0, static_cast<std::size_t>(count));
  if (count < 0 && errno != EAGAIN && errno != EINTR) waiting.clear();
}

/// What is on its way between the bus and the library.
class Carrier {
 public:
  Carrier(FileDescriptor bus, FileDescriptor library, std::atomic<std::uint64_t>& callsReceived)
      : bus_(std::move(bus)), library_(std::move(library)), callsReceived_(callsReceived) {}
  Carrier(const Carrier&) = delete;

  void run() {
    while ((isBusOpen_ || !incoming_.empty()) && (isLibraryOpen_ || !outgoing_.empty())) {
      // Answers and signals go before calls, which keep their turns until the library has time for them and
      // the bus for the answers: it takes few at a time from a helper that it brings many calls.
      if (incoming_.empty() && outgoing_.empty() && !calls_.isEmpty()) incoming_ = calls_.pop();
      exchange();
    }
  }

 private:
  void sort(BusInput input) {
    if (input.caller.empty()) {
      incoming_ += input.bytes;
    } else if (calls_.push(input.caller, std::move(input.bytes))) {
      ++callsReceived_;
    }
  }

  /// Waits until something can be read or written, and does that.
  void exchange() {
    const auto events = [](bool reads, bool writes) {
      return static_cast<short>((reads ? POLLIN : 0) | (writes ? POLLOUT : 0));
    };
    const bool readsBus = isBusOpen_ && incoming_.size() < kMostWaiting;
    const bool readsLibrary = isLibraryOpen_ && outgoing_.size() < kMostWaiting;
    std::array<pollfd, 2> ends = {
        {{.fd = bus_.get(), .events = events(readsBus, !outgoing_.empty()), .revents = 0},
         {.fd = library_.get(), .events = events(readsLibrary, !incoming_.empty()), .revents = 0}}};
    if (poll(ends.data(), ends.size(), -1) < 0) return;
    if (readsBus && (ends[0].revents & ~POLLOUT) != 0) {
      isBusOpen_ = readSome(bus_.get(), [this](std::string_view bytes) { sieve_.take(bytes); });
    }
    if (readsLibrary && (ends[1].revents & ~POLLOUT) != 0) {
      isLibraryOpen_ = readSome(library_.get(), [this](std::string_view bytes) { outgoing_ += bytes; });
    }
    if (!incoming_.empty()) writeSome(library_.get(), incoming_);
    if (!outgoing_.empty()) writeSome(bus_.get(), outgoing_);
  }

  FileDescriptor bus_;
  FileDescriptor library_;
  std::atomic<std::uint64_t>& callsReceived_;
  FairQueue calls_;
  std::string incoming_;
  std::string outgoing_;
  MessageSieve sieve_{[this](BusInput input) { sort(std::move(input)); }};
  bool isBusOpen_ = true;
  bool isLibraryOpen_ = true;
};

FileDescriptor connectTo(const std::string& address) {
  constexpr std::string_view scheme = "unix:path=";
  const std::string first = address.substr(0, address.find_first_of(",;"));
  const auto path = first.starts_with(scheme) ? percentDecoded(first.substr(scheme.size())) : std::nullopt;
  sockaddr_un place{.sun_family = AF_UNIX, .sun_path = {}};
  if (!path || path->size() >= sizeof place.sun_path) checked(-EINVAL, kComplaint);
  std::memcpy(place.sun_path, path->data(), path->size());
  FileDescriptor bus(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!bus || ::connect(bus.get(), reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0) {
    checked(-errno, kComplaint);
  }
  return bus;
}

}  // namespace

BusGate::BusGate(const std::string& address) {
  FileDescriptor bus = connectTo(address);
  std::array<int, 2> pair{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) != 0) checked(-errno, kComplaint);
  library_ = FileDescriptor(pair[0]);
  // The least that the kernel gives: what is on its way has had its turn.
  const int size = 0;
  setsockopt(pair[1], SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
  thread_ = std::thread([this, bus = std::move(bus), library = FileDescriptor(pair[1])]() mutable {
    Carrier(std::move(bus), std::move(library), callsReceived_).run();
  });
}

BusGate::~BusGate() {
  library_.reset();
  thread_.join();
}

BusHandle BusGate::connect() {
  sd_bus* created = nullptr;
  checked(sd_bus_new(&created), kComplaint);
  BusHandle bus(created);
  const int end = library_.release();
  checked(sd_bus_set_fd(created, end, end), kComplaint);
  checked(sd_bus_set_bus_client(created, 1), kComplaint);
  checked(sd_bus_start(created), kComplaint);
  return bus;
}

std::string systemBusAddress() {
  const char* const address = secure_getenv("DBUS_SYSTEM_BUS_ADDRESS");
  return address == nullptr ? "unix:path=/run/dbus/system_bus_socket" : address;
}

}  // namespace quorlin
