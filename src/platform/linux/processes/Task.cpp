#include "platform/linux/processes/Task.h"

#include "platform/linux/processes/Spawn.h"
#include "platform/posix/FileDescriptor.h"

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

namespace quorlin {
namespace {

/// Linux lacks it, so it comes with this program.
constexpr std::string_view kNetTop = "/usr/bin/nettop";

Data readToEnd(int descriptor) {
  Data output;
  std::array<std::uint8_t, 65536> buffer{};
  while (true) {
    const ssize_t count = read(descriptor, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return output;
    output.insert(output.end(), buffer.begin(), buffer.begin() + count);
  }
}

}  // namespace

std::optional<Data> LinuxTaskLauncher::standardOutputOf(const std::string& launchPath,
                                                        const std::vector<std::string>& arguments) {
  // A name without its folder would be looked up on the PATH.
  if (launchPath == kNetTop && !bundle_.is_absolute()) return std::nullopt;
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return std::nullopt;
  const FileDescriptor readEnd(ends[0]);
  FileDescriptor writeEnd(ends[1]);

  const std::string path = launchPath == kNetTop ? (bundle_ / "nettop").native() : launchPath;
  // A colon would end the folder's name in a PATH.
  const bool canBeSearched = bundle_.is_absolute() && bundle_.native().find(':') == std::string::npos;
  const Result<pid_t> child = spawn(
      path, arguments, {.output = writeEnd.get(), .searchedFirst = canBeSearched ? bundle_.native() : ""});
  writeEnd.reset();
  if (!child) return std::nullopt;
  Data output = readToEnd(readEnd.get());
  waitForEnd(*child);
  return output;
}

bool LinuxTaskLauncher::launch(const std::string& launchPath, const std::vector<std::string>& arguments) {
  const Result<pid_t> child = spawn(launchPath, arguments, {.detached = true});
  if (!child) return false;
  // The main loop reaps it, so that it does not stay a zombie.
  g_child_watch_add(
      *child, [](GPid, gint, gpointer) {}, nullptr);
  return true;
}

}  // namespace quorlin
