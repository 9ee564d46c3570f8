#include "programs/quorlinctl/commands/Keep.h"

#include "core/Notifications.h"
#include "platform/linux/desktop/KeyFile.h"
#include "platform/linux/processes/BundledPrograms.h"
#include "platform/linux/processes/Spawn.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <string>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

// glibc 2.36 lacks this in the header itself.
extern "C" {
#include <sys/pidfd.h>
}

namespace quorlin {
namespace {

constexpr const char* kProgram = "quorlin-keep";
/// How long a keeper may take to come or to leave.
constexpr std::chrono::seconds kPatience(30);

/// What the entry says of itself.
constexpr const char* kMark = "X-QuorlinSensors-Keep";

std::string keeperName() { return std::string(kKeeperIdentifier); }

/// A program's path as the value of Exec, by the Desktop Entry Specification, "The Exec key".
std::string execOf(const std::string& path) {
  std::string value = "\"";
  for (const char byte : path) {
    if (std::string_view("\"`$\\").find(byte) != std::string_view::npos) value += '\\';
    value += byte;
    if (byte == '%') value += '%';
  }
  return value + '"';
}

/// Why the entry is not quorlinctl's to change; nothing where it is, or where there is none.
std::optional<Trouble> objectionTo(const std::filesystem::path& entry) {
  std::error_code error;
  const std::filesystem::file_type type = std::filesystem::symlink_status(entry, error).type();
  if (type == std::filesystem::file_type::not_found) return std::nullopt;
  if (error) return systemTrouble("{} cannot be examined", entry, error.value());
  if (type == std::filesystem::file_type::regular) {
    const Result<KeyFile> file = loadKeyFile(entry);
    if (file && g_key_file_get_boolean(file->get(), G_KEY_FILE_DESKTOP_GROUP, kMark, nullptr) == TRUE) {
      return std::nullopt;
    }
  }
  return Trouble{.what = "{} stays as it is", .where = entry, .why = "it is not quorlinctl's"};
}

std::optional<Trouble> writeEntry(const std::filesystem::path& entry, const std::filesystem::path& program) {
  if (auto objection = objectionTo(entry)) return objection;
  const KeyFile file(g_key_file_new());
  const auto set = [&file](const char* key, const std::string& value) {
    g_key_file_set_string(file.get(), G_KEY_FILE_DESKTOP_GROUP, key, value.c_str());
  };
  set(G_KEY_FILE_DESKTOP_KEY_TYPE, G_KEY_FILE_DESKTOP_TYPE_APPLICATION);
  set(G_KEY_FILE_DESKTOP_KEY_NAME, "Battery charge limit");
  set(G_KEY_FILE_DESKTOP_KEY_COMMENT, "Keeps the battery's charge at its limit");
  set(G_KEY_FILE_DESKTOP_KEY_TRY_EXEC, program);
  set(G_KEY_FILE_DESKTOP_KEY_EXEC, execOf(program));
  set(kMark, "true");
  return saveKeyFile(file.get(), entry);
}

std::optional<Trouble> removeEntry(const std::filesystem::path& entry) {
  if (auto objection = objectionTo(entry)) return objection;
  if (::unlink(entry.c_str()) == 0 || errno == ENOENT) return std::nullopt;
  return systemTrouble("{} cannot be removed", entry, errno);
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

std::filesystem::path keeperEntry() {
  return std::filesystem::path(g_get_user_config_dir()) / "autostart" / (keeperName() + ".desktop");
}

std::optional<Trouble> keepRunning(const Bus& session) {
  const Result<std::filesystem::path> program = bundledProgram(kProgram);
  if (!program) return program.error();
  if (auto trouble = writeEntry(keeperEntry(), *program)) return trouble;
  if (isKept(session)) return std::nullopt;
  return changeTo(true, session, [&program] { return start(*program); });
}

std::optional<Trouble> stopKeeping(const Bus& session) {
  std::optional<Trouble> trouble = removeEntry(keeperEntry());
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
                       keeperEntry().native());
  }
  return fmt::format("{} It does not start at login. The charge is held only while another consumer runs.",
                     wasKept ? "Ended quorlin-keep." : "quorlin-keep was not running.");
}

}  // namespace quorlin
