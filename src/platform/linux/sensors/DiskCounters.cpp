#include "platform/linux/sensors/DiskCounters.h"

#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"
#include "platform/values/Sentence.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <fcntl.h>

namespace quorlin {
namespace {

constexpr std::size_t kFirstBuffer = 16384;

/// Takes the next word off the front of a line. Words are short, so that searching functions would cost more
/// than this loop.
std::string_view takeWord(std::string_view& line) {
  std::size_t begin = 0;
  while (begin < line.size() && line[begin] == ' ') ++begin;
  std::size_t end = begin;
  while (end < line.size() && line[end] != ' ') ++end;
  const std::string_view word = line.substr(begin, end - begin);
  line.remove_prefix(end);
  return word;
}

/// The device numbers and the name, which every line begins with.
std::optional<std::string_view> takeName(std::string_view& line) {
  for (int i = 0; i < 2; ++i) {
    if (!wholeNumber<unsigned>(takeWord(line))) return std::nullopt;
  }
  const std::string_view name = takeWord(line);
  return name.empty() ? std::nullopt : std::optional(name);
}

std::optional<DiskCounters> parseCounts(std::string_view name, std::string_view line) {
  // Reads completed, merged, sectors read, milliseconds; then the same of the writes.
  std::array<std::uint64_t, 7> counts{};
  for (std::uint64_t& count : counts) {
    const auto number = wholeNumber<std::uint64_t>(takeWord(line));
    if (!number) return std::nullopt;
    count = *number;
  }
  return DiskCounters{.name = std::string(name),
                      .operations = counts[0] + counts[4],
                      .sectorsRead = counts[2],
                      .sectorsWritten = counts[6]};
}

}  // namespace

DiskCounterReader::DiskCounterReader(const std::string& sysfsRoot, const std::string& procfsRoot, Log& log)
    : blockDirectory_(sysfsRoot + "/block/"), path_(procfsRoot + "/diskstats"), log_(log) {}

std::optional<std::vector<DiskCounters>> DiskCounterReader::read() {
  std::optional<std::string_view> text = readWholeFile();
  if (!text) return std::nullopt;
  std::vector<DiskCounters> disks;
  disks.reserve(lastCount_);
  bool malformed = false;
  std::size_t number = 0;  // of the lines that have a name
  while (!text->empty()) {
    std::string_view line = takeUntil('\n', *text);
    if (line.empty()) continue;

    const std::optional<std::string_view> name = takeName(line);
    std::optional<DiskCounters> disk;
    if (name && !isCounted(number++, *name)) continue;
    if (name) disk = parseCounts(*name, line);
    malformed = malformed || !disk;
    if (disk) disks.push_back(*std::move(disk));
  }
  if (malformed) report(disks.empty() ? "it is malformed" : "it has a malformed line, which is ignored");
  if (malformed && disks.empty()) return std::nullopt;
  lastCount_ = disks.size();
  reported_ = malformed;
  return disks;
}

std::optional<std::string_view> DiskCounterReader::readWholeFile() {
  if (buffer_.empty()) buffer_.resize(kFirstBuffer);
  if (!file_) file_ = FileDescriptor(open(path_.c_str(), O_RDONLY | O_CLOEXEC));
  std::size_t used = 0;
  while (file_) {
    // The kernel hands out about a page at a time, so only an empty answer is the end.
    const ssize_t count =
        pread(file_.get(), buffer_.data() + used, buffer_.size() - used, static_cast<off_t>(used));
    if (count == 0) return std::string_view(buffer_).substr(0, used);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) break;
    used += static_cast<std::size_t>(count);
    if (used == buffer_.size()) buffer_.resize(2 * used);
  }
  report(errorText(errno));
  file_.reset();
  return std::nullopt;
}

bool DiskCounterReader::isCounted(std::size_t line, std::string_view name) {
  if (line >= known_.size() || known_[line].name != name) {
    known_.resize(std::min(line, known_.size()));
    known_.push_back({std::string(name), hasHardware(name)});
  }
  return known_[line].counted;
}

bool DiskCounterReader::hasHardware(std::string_view name) const {
  std::string device(name);
  // A slash in a device's name is an exclamation mark in sysfs.
  std::ranges::replace(device, '/', '!');
  const std::string directory = blockDirectory_ + device;
  if (access((directory + "/device").c_str(), F_OK) != 0) return false;
  return readText(directory + "/hidden").value_or("0") != "1";
}

void DiskCounterReader::report(std::string_view trouble) {
  if (!reported_) log_.line(filledIn("Disk activity: {}: {}", {path_, trouble}));
  reported_ = true;
}

}  // namespace quorlin
