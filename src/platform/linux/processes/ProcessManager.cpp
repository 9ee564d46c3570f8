#include "platform/linux/processes/ProcessManager.h"

#include "platform/linux/processes/ApplicationId.h"
#include "platform/linux/system/DirectoryEntries.h"
#include "platform/values/Parsing.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>

#include <fcntl.h>
#include <unistd.h>

namespace quorlin {
namespace {

constexpr int kLooks = 2;
constexpr std::size_t kEntriesSize = std::size_t{64} * 1024;

/// The process id in a folder's name, or 0.
std::int32_t processId(const char* name) { return std::max(wholeNumber<std::int32_t>(name).value_or(0), 0); }

}  // namespace

ProcfsProcessManager::ProcfsProcessManager(std::filesystem::path procfsRoot,
                                           const std::set<std::string, std::less<>>& applicationNames)
    : procfsRoot_(std::move(procfsRoot)), applicationNames_(applicationNames) {}

void ProcfsProcessManager::enumerateProcesses(const Visitor& visit) {
  listProcesses();
  lookUp();

  std::set<std::string_view> withProcess;
  for (const Process& process : known_) {
    if (!process.hasApplication) {
      visit(std::nullopt);
      continue;
    }
    const std::string& application = applications_[process.id];
    visit(application);
    withProcess.insert(application);
  }
  for (const std::string& name : applicationNames_) {
    if (!withProcess.contains(name)) visit(name);
  }
}

void ProcfsProcessManager::listProcesses() {
  listed_.clear();
  if (!directory_) {
    directory_ = FileDescriptor(open(procfsRoot_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    entries_.resize(kEntriesSize);
  }
  if (!directory_ || lseek(directory_.get(), 0, SEEK_SET) < 0) return;
  forEachEntry(directory_.get(), entries_, [this](const dirent64& entry) {
    if (const std::int32_t id = processId(entry.d_name); id != 0) {
      listed_.push_back({.inode = entry.d_ino, .id = id, .looks = 0, .hasApplication = false});
    }
    return true;
  });
  // The kernel lists them by rising id; a substitute may not.
  if (!std::ranges::is_sorted(listed_, {}, &Process::id)) std::ranges::sort(listed_, {}, &Process::id);
}

void ProcfsProcessManager::lookUp() {
  auto known = known_.begin();
  std::size_t kept = 0;
  for (Process& process : listed_) {
    for (; known != known_.end() && known->id < process.id; ++known) forget(*known);
    if (known != known_.end() && known->id == process.id) {
      if (known->inode == process.inode) {
        process = *known;
      } else {
        forget(*known);
      }
      ++known;
    }
    if (process.looks == kLooks || readApplication(process)) listed_[kept++] = process;
  }
  for (; known != known_.end(); ++known) forget(*known);
  listed_.resize(kept);
  std::swap(listed_, known_);
}

void ProcfsProcessManager::forget(const Process& process) {
  if (process.hasApplication) applications_.erase(process.id);
}

bool ProcfsProcessManager::readApplication(Process& process) {
  constexpr std::string_view name = "/cgroup";
  std::array<char, 32> path{};
  char* end = std::to_chars(path.data(), path.data() + path.size() - name.size() - 1, process.id).ptr;
  std::ranges::copy(name, end);
  const FileDescriptor file(openat(directory_.get(), path.data(), O_RDONLY | O_CLOEXEC));
  std::array<char, 4096> contents{};
  const ssize_t size = file ? read(file.get(), contents.data(), contents.size()) : -1;
  forget(process);
  if (size < 0) return false;
  ++process.looks;
  std::optional<std::string> application =
      applicationIdOfControlGroups({contents.data(), static_cast<std::size_t>(size)});
  process.hasApplication = application.has_value();
  if (application) applications_[process.id] = *std::move(application);
  return true;
}

}  // namespace quorlin
