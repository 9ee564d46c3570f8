#include "platform/linux/sensors/SensorReader.h"

#include "platform/linux/sensors/Drivers.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"
#include "platform/values/Sentence.h"

#include <array>
#include <cerrno>
#include <limits>
#include <string_view>
#include <utility>

#include <fcntl.h>

namespace quorlin {
namespace {

constexpr double kNotRead = std::numeric_limits<double>::quiet_NaN();
/// Readings without trouble before a sensor's next trouble is news again.
constexpr std::uint8_t kTrustAfter = 100;

}  // namespace

struct SensorReader::Bytes {
  std::array<char, 64> data;
  ssize_t count = 0;
  int error = 0;

  std::string_view text() const { return {data.data(), static_cast<std::size_t>(count > 0 ? count : 0)}; }
};

void SensorReader::adopt(const std::vector<FoundChip>& chips,
                         std::shared_ptr<const SensorCatalogue> catalogue) {
  std::set<std::string> reported;
  for (const Chip& chip : chips_) {
    for (const Channel& channel : chip.channels) {
      if (channel.isReported) reported.insert((*catalogue_->labels[channel.kind])[channel.index].first);
    }
  }
  chips_.clear();
  openFiles_ = 0;
  catalogue_ = std::move(catalogue);
  PerKind<std::size_t> count;
  for (const FoundChip& found : chips) {
    Chip& chip = chips_.emplace_back();
    chip.directory = found.directory;
    chip.runtimeStatus.name = found.runtimeStatus;
    chip.rotatingDisk = found.rotatingDisk;
    chip.awaitsDisk = found.awaitsDisk;
    chip.channels.reserve(found.channels.size());
    for (const FoundChannel& channel : found.channels) {
      const std::size_t index = count[channel.kind]++;
      const std::string& id = (*catalogue_->labels[channel.kind])[index].first;
      chip.channels.push_back({.kind = channel.kind,
                               .index = index,
                               .input = {channel.attribute("_input"), {}},
                               .fault = {channel.hasFault ? channel.attribute("_fault") : "", {}},
                               .isReported = reported.contains(id)});
    }
  }
}

SensorValues SensorReader::read(std::chrono::nanoseconds now,
                                const std::optional<std::vector<DiskCounters>>& disks) {
  foundStale_ = false;
  SensorValues values;
  for (const SensorKindRow& row : kSensorKinds) {
    values[row.kind].reserve(catalogue_->labels[row.kind]->size());
  }
  for (Chip& chip : chips_) {
    const bool asleep = isAsleep(chip, now, disks);
    for (Channel& channel : chip.channels) {
      values[channel.kind].push_back(asleep ? kNotRead : readChannel(chip, channel));
    }
  }
  return values;
}

bool SensorReader::isAsleep(Chip& chip, std::chrono::nanoseconds now,
                            const std::optional<std::vector<DiskCounters>>& disks) {
  if (chip.awaitsDisk) {
    foundStale_ = true;
    return true;
  }
  // Reading its temperature may keep a disk from spinning down (Documentation/hwmon/drivetemp.rst).
  if (!chip.rotatingDisk.empty() && !diskUse_.usedRecently(chip.rotatingDisk, now, disks)) return true;
  if (chip.runtimeStatus.name.empty()) return false;
  Bytes status;
  readFile({}, chip.runtimeStatus, status);
  return quorlin::isAsleep(status.text());
}

double SensorReader::readChannel(const Chip& chip, Channel& channel) {
  Bytes bytes;
  if (!channel.fault.name.empty()) {
    readFile(chip.directory, channel.fault, bytes);
    if (bytes.text().starts_with('1')) {
      report(channel, "its chip reports a fault");
      return kNotRead;
    }
  }
  readFile(chip.directory, channel.input, bytes);
  if (bytes.count <= 0) return failed(channel, bytes);
  channel.hasBeenRead = true;
  std::string_view text = bytes.text();
  while (text.ends_with('\n')) text.remove_suffix(1);
  const auto number = wholeNumber<std::int64_t>(text);
  if (!number) {
    report(channel, "there is no number in it");
    return kNotRead;
  }
  const SensorKindRow& row = rowOf(channel.kind);
  if (*number < row.least || *number > row.most) {
    report(channel, filledIn("{} is out of range", {std::to_string(*number)}));
    return kNotRead;
  }
  if (channel.isReported && ++channel.goodReadings == kTrustAfter) channel.isReported = false;
  return static_cast<double>(*number) / row.divisor;
}

void SensorReader::readFile(const std::string& directory, File& file, Bytes& bytes) {
  FileDescriptor once;
  int number = file.descriptor.get();
  if (number < 0) {
    path_.assign(directory).append(file.name);
    once = FileDescriptor(open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    number = once.get();
    if (number < 0) {
      bytes.count = -1;
      bytes.error = errno;
      return;
    }
  }
  do {
    bytes.count = pread(number, bytes.data.data(), bytes.data.size(), 0);
  } while (bytes.count < 0 && errno == EINTR);
  bytes.error = bytes.count < 0 ? errno : 0;

  if (bytes.count < 0) {
    // The path may lead to another file by now.
    if (file.descriptor) --openFiles_;
    file.descriptor.reset();
  } else if (once && openFiles_ < kMostOpenFiles) {
    file.descriptor = std::move(once);
    ++openFiles_;
  }
}

double SensorReader::failed(Channel& channel, const Bytes& bytes) {
  if (bytes.error == EMFILE || bytes.error == ENFILE) {
    if (!reportedShortage_) log_.line(filledIn("Some sensors cannot be read: {}", {errorText(bytes.error)}));
    reportedShortage_ = true;
    return kNotRead;
  }
  // Finding a sensor again does not help when it has never worked.
  if (bytes.error == ENODEV && channel.hasBeenRead) foundStale_ = true;
  report(channel, bytes.count == 0 ? "it is empty" : errorText(bytes.error));
  return kNotRead;
}

void SensorReader::report(Channel& channel, const std::string& trouble) {
  channel.goodReadings = 0;
  if (channel.isReported) return;
  channel.isReported = true;
  const auto& [id, label] = (*catalogue_->labels[channel.kind])[channel.index];
  const std::string* shown = label.string();
  log_.line(filledIn("Sensor \"{}\" ({}) cannot be read: {}", {shown == nullptr ? id : *shown, id, trouble}));
}

}  // namespace quorlin
