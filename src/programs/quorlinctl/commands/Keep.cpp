#include "programs/quorlinctl/commands/Keep.h"

#include "core/Notifications.h"
#include "platform/linux/desktop/AutostartEntry.h"
#include "platform/linux/processes/BundledPrograms.h"
#include "platform/linux/processes/Spawn.h"
#include "platform/linux/system/Log.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <string>

#include <fcntl.h>
#include <fmt/format.h>

// glibc 2.36 lacks this in the header itself.
extern "C" {
#include <sys/pidfd.h>
}

namespace quorlin {
namespace {

constexpr const char* kProgram = "quorlin-keep";
/// How long a keeper may take to come or to leave.
constexpr std::chrono::seconds kPatience(30);

std::string keeperName() { return std::string(kKeeperIdentifier); }

std::optional<Trouble> setEntry(bool enabled) {
  StreamLog log("quorlinctl");
  return setAutostart(autostartEntry(kKeeperIdentifier),
                      {.name = "Battery charge limit",
                       .comment = "Keeps the battery's charge at its limit",
                       .program = bundleFolder() / kProgram},
                      enabled, log);
}

/// Does something, then waits until a keeper runs or none does.
template <typename Action>
std::optional<Trouble> changeTo(bool kept, const Bus& session, const Action& action) {
  using Clock = std::chrono::steady_clock;
  const BusSlot changes = session.match(
      "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',arg0='" + keeperName() + "'",
      [](sd_bus_message*) {});
  if (std::optional<Trouble> trouble = action()) return trouble;
  const Clock::time_point deadline = Clock::now() + kPatience;
  while (isKept(session) != kept) {
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now());
    if (left.count() <= 0)
      return Trouble{.what =
                         kept ? "quorlin-keep did not start in time" : "quorlin-keep did not end in time"};
    if (checked(sd_bus_process(session.get(), nullptr), "Lost the session bus") > 0) continue;
    sd_bus_wait(session.get(), static_cast<std::uint64_t>(left.count()));
  }
  return std::nullopt;
}

std::optional<Trouble> start(const std::filesystem::path& program) {
  const FileDescriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  const Result<pid_t> child =
      spawn(program, {}, {.output = nowhere.get(), .errors = nowhere.get(), .folder = "/", .detached = true});
  return child ? std::nullopt : std::optional(child.error());
}

/// A descriptor holds the process while the bus is asked again, so that no other process is signalled.
std::optional<Trouble> end(const Bus& session) {
  const std::optional<pid_t> process = processOwning(session, keeperName());
  if (!process) return std::nullopt;
  const FileDescriptor keeper(pidfd_open(*process, 0));
  if (!keeper && errno != ESRCH) return systemTrouble("quorlin-keep cannot be ended", "", errno);
  if (!keeper || processOwning(session, keeperName()) != process) return std::nullopt;
  if (pidfd_send_signal(keeper.get(), SIGTERM, nullptr, 0) == 0 || errno == ESRCH) return std::nullopt;
  return systemTrouble("quorlin-keep cannot be ended", "", errno);
}

}  // namespace

bool isKept(const Bus& session) { return processOwning(session, keeperName()).has_value(); }

std::optional<Trouble> keepRunning(const Bus& session) {
  const Result<std::filesystem::path> program = bundledProgram(kProgram);
  if (!program) return program.error();
  if (auto trouble = setEntry(true)) return trouble;
  if (isKept(session)) return std::nullopt;
  return changeTo(true, session, [&program] { return start(*program); });
}

std::optional<Trouble> stopKeeping(const Bus& session) {
  std::optional<Trouble> trouble = setEntry(false);
  std::optional<Trouble> stays = changeTo(false, session, [&session] { return end(session); });
  return trouble ? trouble : stays;
}

Result<std::string> changeKeeping(bool keep) {
  const Bus session = Bus::openSession();
  const bool wasKept = isKept(session);
  if (auto trouble = keep ? keepRunning(session) : stopKeeping(session)) return *std::move(trouble);
  if (keep) {
    return fmt::format("{} It starts at every login from now on, by {}.",
                       wasKept ? "quorlin-keep is running already." : "Started quorlin-keep.",
                       autostartEntry(kKeeperIdentifier).native());
  }
  return fmt::format("{} It does not start at login. The charge is held only while another consumer runs.",
                     wasKept ? "Ended quorlin-keep." : "quorlin-keep was not running.");
}

}  // namespace quorlin
