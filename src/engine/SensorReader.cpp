#include "engine/SensorReader.h"

#include "platform/posix/TextFile.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <limits>
#include <string_view>
#include <utility>

#include <fcntl.h>

namespace quorlin {
namespace {

constexpr double kNotRead = std::numeric_limits<double>::quiet_NaN();
/// Readings without trouble before a sensor's next trouble is news again.
constexpr std::uint8_t kTrustAfter = 100;

struct Range {
  std::int64_t least;
  std::int64_t most;
};
/// Thousandths of a degree Celsius, revolutions a minute.
constexpr Range kTemperatures{-100'000, 250'000};
constexpr Range kFans{0, 100'000};

/// A whole number with nothing but line ends behind it.
std::optional<std::int64_t> parseNumber(std::string_view text) {
  std::int64_t number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc()) return std::nullopt;
  for (const char* rest = stop; rest != end; ++rest) {
    if (*rest != '\n') return std::nullopt;
  }
  return number;
}

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
      if (channel.isReported) reported.insert(labelsOf(channel.kind)[channel.index].first);
    }
  }
  chips_.clear();
  openFiles_ = 0;
  catalogue_ = std::move(catalogue);
  std::size_t temperatures = 0;
  std::size_t fans = 0;
  for (const FoundChip& found : chips) {
    Chip& chip = chips_.emplace_back();
    chip.directory = found.directory;
    chip.runtimeStatus.name = found.runtimeStatus;
    chip.rotatingDisk = found.rotatingDisk;
    chip.awaitsDisk = found.awaitsDisk;
    chip.channels.reserve(found.channels.size());
    for (const FoundChannel& channel : found.channels) {
      const std::size_t index = channel.kind == SensorKind::Fan ? fans++ : temperatures++;
      chip.channels.push_back({.kind = channel.kind,
                               .index = index,
                               .input = {channel.attribute("_input"), {}},
                               .fault = {channel.hasFault ? channel.attribute("_fault") : "", {}}});
      chip.channels.back().isReported = reported.contains(labelsOf(channel.kind)[index].first);
    }
  }
}

SensorValues SensorReader::read(std::chrono::nanoseconds now,
                                const std::optional<std::vector<DiskCounters>>& disks) {
  foundStale_ = false;
  SensorValues values;
  values.temperatures.reserve(catalogue_->temperatures->size());
  values.fans.reserve(catalogue_->fans->size());
  for (Chip& chip : chips_) {
    const bool asleep = isAsleep(chip, now, disks);
    for (Channel& channel : chip.channels) {
      const double value = asleep ? kNotRead : readChannel(chip, channel);
      (channel.kind == SensorKind::Fan ? values.fans : values.temperatures).push_back(value);
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
  return status.text().starts_with("suspend") || status.text().starts_with("resuming");
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
  const std::optional<std::int64_t> number = parseNumber(bytes.text());
  if (!number) {
    report(channel, "there is no number in it");
    return kNotRead;
  }
  const Range& range = channel.kind == SensorKind::Fan ? kFans : kTemperatures;
  if (*number < range.least || *number > range.most) {
    report(channel, "no sensor measures " + std::to_string(*number));
    return kNotRead;
  }
  if (channel.isReported && ++channel.goodReadings == kTrustAfter) channel.isReported = false;
  const auto value = static_cast<double>(*number);
  return channel.kind == SensorKind::Fan ? value : value / 1000;
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
    // What opens at another time may be another file.
    if (file.descriptor) --openFiles_;
    file.descriptor.reset();
  } else if (once && openFiles_ < kMostOpenFiles) {
    file.descriptor = std::move(once);
    ++openFiles_;
  }
}

double SensorReader::failed(Channel& channel, const Bytes& bytes) {
  if (bytes.error == EMFILE || bytes.error == ENFILE) {
    if (!reportedShortage_) log_.line("Some sensors cannot be read: " + errorText(bytes.error));
    reportedShortage_ = true;
    return kNotRead;
  }
  // A sensor that never worked is no news however often it is found anew.
  if (bytes.error == ENODEV && channel.hasBeenRead) foundStale_ = true;
  report(channel, bytes.count == 0 ? "it is empty" : errorText(bytes.error));
  return kNotRead;
}

void SensorReader::report(Channel& channel, const std::string& trouble) {
  channel.goodReadings = 0;
  if (channel.isReported) return;
  channel.isReported = true;
  const auto& [id, label] = labelsOf(channel.kind)[channel.index];
  const std::string* shown = label.string();
  log_.line("Sensor \"" + (shown == nullptr ? id : *shown) + "\" (" + id + ") cannot be read: " + trouble);
}

const Dictionary& SensorReader::labelsOf(SensorKind kind) const {
  return kind == SensorKind::Fan ? *catalogue_->fans : *catalogue_->temperatures;
}

}  // namespace quorlin
