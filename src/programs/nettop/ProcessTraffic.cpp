#include "programs/nettop/ProcessTraffic.h"

#include "platform/linux/system/DirectoryEntries.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>

namespace quorlin {
namespace {

constexpr int kFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

/// In bytes. Small enough that the kernel's data of the entries is still in the processor's cache when their
/// links are read.
constexpr std::size_t kEntriesSize = std::size_t{4} * 1024;

/// Visits the names in a folder, hidden ones aside, until the visitor returns false.
void forEachName(const FileDescriptor& folder, const auto& visit) {
  alignas(dirent64) std::array<char, kEntriesSize> entries;
  forEachEntry(folder.get(), entries,
               [&](const dirent64& entry) { return entry.d_name[0] == '.' || visit(entry.d_name); });
}

std::vector<int> processIds(const FileDescriptor& procfs) {
  std::vector<int> ids;
  forEachName(procfs, [&](const char* name) {
    int id = 0;
    std::from_chars(name, name + std::strlen(name), id);
    if (id > 0) ids.push_back(id);
    return true;
  });
  std::ranges::sort(ids);
  return ids;
}

/// Visits the targets of the links in a process's fd folder until the visitor returns false or access to them
/// is denied.
void forEachDescriptor(const FileDescriptor& folder, const auto& visit) {
  enum class Outcome { kGoOn, kAbsent, kOver };
  const auto look = [&](const char* name) {
    std::array<char, 32> target;
    // Following it could wait for a file server.
    const ssize_t size = readlinkat(folder.get(), name, target.data(), target.size());
    if (size < 0 && errno == ENOENT) return Outcome::kAbsent;
    if (size < 0) return errno == EACCES || errno == EPERM ? Outcome::kOver : Outcome::kGoOn;
    const bool goesOn = visit(std::string_view(target.data(), static_cast<std::size_t>(size)));
    return goesOn ? Outcome::kGoOn : Outcome::kOver;
  };
  // Since Linux 6.2 the folder's size is the number of descriptors (proc_fd_getattr in fs/proc/fd.c). While
  // there are few gaps, trying one number after the other is cheaper than listing them.
  struct stat status {};
  fstat(folder.get(), &status);
  off_t next = 0;
  for (off_t found = 0; found < status.st_size && next - found <= status.st_size / 16; ++next) {
    std::array<char, 24> name{};
    std::to_chars(name.begin(), name.end(), next);
    const Outcome outcome = look(name.data());
    if (outcome == Outcome::kOver) return;
    if (outcome == Outcome::kGoOn && ++found == status.st_size) return;
  }
  forEachName(folder, [&](const char* name) {
    off_t number = 0;
    std::from_chars(name, name + std::strlen(name), number);
    return number < next || look(name) != Outcome::kOver;
  });
}

class Search {
 public:
  Search(const FileDescriptor& procfs, std::span<const Connection> connections)
      : procfs_(procfs),
        connections_(connections),
        isFound_(connections.size()),
        missing_(connections.size()) {}

  bool isOver() const { return missing_ == 0 || trouble_; }
  const std::optional<Trouble>& trouble() const { return trouble_; }

  /// Nothing for a process that holds none of the connections that are still missing.
  std::optional<ProcessTraffic> look(int id) {
    std::optional<ProcessTraffic> process;
    const FileDescriptor folder = open(id, "/fd", kFolder);
    if (!folder) return process;
    forEachDescriptor(folder, [&](std::string_view target) {
      const Connection* connection = find(target);
      if (connection == nullptr) return true;
      if (!process) {
        std::optional<std::string> name = nameOf(id);
        // It has just ended; another process may hold its connection too.
        if (!name) return false;
        process = {.id = id, .name = *std::move(name)};
      }
      isFound_[static_cast<std::size_t>(connection - connections_.data())] = true;
      process->bytesIn += connection->bytesIn;
      process->bytesOut += connection->bytesOut;
      return --missing_ > 0;
    });
    return process;
  }

 private:
  /// The missing connection whose socket is the target of a link as "socket:[12345]", or null.
  const Connection* find(std::string_view target) const {
    constexpr std::string_view before = "socket:[";
    std::uint32_t inode = 0;
    if (!target.starts_with(before)) return nullptr;
    std::from_chars(target.data() + before.size(), target.data() + target.size(), inode);
    const auto found = std::ranges::lower_bound(connections_, inode, {}, &Connection::inode);
    if (found == connections_.end() || found->inode != inode) return nullptr;
    const auto index = static_cast<std::size_t>(found - connections_.begin());
    return isFound_[index] ? nullptr : &connections_[index];
  }

  /// Empty for a process that has ended or is not accessible. A lack of descriptors or memory is a trouble:
  /// otherwise the list would silently lack processes.
  FileDescriptor open(int id, std::string_view file, int flags) {
    std::array<char, 32> path{};
    std::ranges::copy(file, std::to_chars(path.begin(), path.end(), id).ptr);
    FileDescriptor opened(openat(procfs_.get(), path.data(), flags));
    if (!opened && (errno == EMFILE || errno == ENFILE || errno == ENOMEM)) {
      trouble_ = systemTrouble("the processes cannot be examined", {}, errno);
    }
    return opened;
  }

  /// Nothing for a process that has ended.
  std::optional<std::string> nameOf(int id) {
    const FileDescriptor file = open(id, "/comm", O_RDONLY | O_CLOEXEC);
    std::array<char, 64> name;
    const ssize_t size = file ? read(file.get(), name.data(), name.size()) : -1;
    if (size <= 0) return std::nullopt;
    return std::string(name.data(), static_cast<std::size_t>(size - 1));  // without the line end
  }

  const FileDescriptor& procfs_;
  std::span<const Connection> connections_;
  std::vector<bool> isFound_;  // by the same index
  std::size_t missing_;
  std::optional<Trouble> trouble_;
};

}  // namespace

Result<std::vector<ProcessTraffic>> trafficByProcess(const std::filesystem::path& procfsRoot,
                                                     std::span<const Connection> connections) {
  std::vector<ProcessTraffic> processes;
  const FileDescriptor procfs(open(procfsRoot.c_str(), kFolder));
  if (!procfs) return systemTrouble("{} cannot be listed", procfsRoot, errno);
  Search search(procfs, connections);
  for (const int id : processIds(procfs)) {
    if (search.isOver()) break;
    if (auto process = search.look(id)) processes.push_back(*std::move(process));
  }
  if (search.trouble()) return *search.trouble();
  return processes;
}

}  // namespace quorlin
