#include "programs/keep/Keep.h"

#include "core/Notifications.h"
#include "platform/linux/bus/SilentStart.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include <link.h>
#include <sys/mman.h>
#include <sysexits.h>
#include <unistd.h>

namespace quorlin {
namespace {

/// Returns when the agent has launched. Where there is none to start, the keeper waits for one.
void startAgent(const Bus& bus) {
  constexpr std::chrono::seconds patience(25);
  startSilently(bus, kAgentIdentifier, kLauncherIdentifier, patience);
}

/// Unmaps the pages of read-only segments; the kernel maps those again that are used again. Loading
/// libsystemd with its libraries and connecting leaves 2.8 to 3.0 MB resident, and what runs afterwards
/// needs 1.1 MB.
void forgetCode() {
  const auto forget = [](dl_phdr_info* library, std::size_t, void* pageSize) {
    const auto page = *static_cast<const std::uintptr_t*>(pageSize);
    for (const auto& segment : std::span(library->dlpi_phdr, library->dlpi_phnum)) {
      if (segment.p_type != PT_LOAD || (segment.p_flags & PF_W) != 0) continue;
      const std::uintptr_t start = library->dlpi_addr + segment.p_vaddr;
      const std::uintptr_t firstPage = start / page * page;
      // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader tells addresses as numbers.
      madvise(reinterpret_cast<void*>(firstPage), start + segment.p_memsz - firstPage, MADV_DONTNEED);
    }
    return 0;
  };
  auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  dl_iterate_phdr(forget, &page);
}

}  // namespace

int keepCharge(std::chrono::seconds shortestRun) {
  using Clock = std::chrono::steady_clock;
  const Bus bus = Bus::openSession();
  const int own = sd_bus_request_name(bus.get(), kKeeperIdentifier.data(), 0);
  if (own == -EEXIST) return EX_OK;
  checked(own, "Cannot own the keeper's name on the session bus");
  checked(sd_bus_request_name(bus.get(), kMainAppIdentifiers.front().data(),
                              SD_BUS_NAME_ALLOW_REPLACEMENT | SD_BUS_NAME_QUEUE),
          "Cannot own an application's name on the session bus");

  Clock::time_point started = Clock::now();
  // An agent that has nothing to do ends at once, and one that crashes at its start would crash again.
  const auto ownerChanged = [&](sd_bus_message* message) {
    const char* newOwner = nullptr;
    checked(sd_bus_message_read(message, "sss", nullptr, nullptr, &newOwner),
            "Cannot read a change of owner");
    if (*newOwner != '\0' || Clock::now() - started < shortestRun) return;
    started = Clock::now();
    startAgent(bus);
  };
  const BusSlot changes = bus.match(
      "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
      "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='" +
          std::string(kAgentIdentifier) + "'",
      ownerChanged);
  startAgent(bus);

  for (;;) {
    const int done = sd_bus_process(bus.get(), nullptr);
    if (done < 0) return EX_OK;
    if (done > 0) continue;
    forgetCode();
    sd_bus_wait(bus.get(), UINT64_MAX);
  }
}

}  // namespace quorlin
