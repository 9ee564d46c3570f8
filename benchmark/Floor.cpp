#include "Floor.h"

#include "platform/KeyedArchiver.h"

#include <array>
#include <charconv>
#include <cstring>
#include <stdexcept>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace quorlin::bench {
namespace {

constexpr const char* kPath = "/brellwick/DistributedNotificationCenter";
constexpr const char* kInterface = "brellwick.DistributedNotificationCenter";
constexpr std::size_t kReduced = 6;

int opened(const std::filesystem::path& file, int flags) {
  const int descriptor = open(file.c_str(), flags | O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) throw std::runtime_error("cannot open " + file.string());
  return descriptor;
}

}  // namespace

Floor::Floor(const std::vector<std::filesystem::path>& inputs, const std::filesystem::path& diskstats,
             const std::filesystem::path& procfs)
    : diskstats_(opened(diskstats, 0)),
      processes_(opened(procfs, O_DIRECTORY)),
      values_(inputs.size()),
      text_(std::size_t{256} * 1024),
      archive_(archivedDataWithRootObject(Array(60, 1.0))) {
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    descriptors_.push_back(opened(inputs[i], 0));
    ids_.push_back("platform/chip." + std::to_string(i / 8) + "/temp" + std::to_string(i % 8 + 1));
    labels_.push_back("Sensor " + std::to_string(i));
  }
}

Floor::~Floor() {
  for (const int descriptor : descriptors_) close(descriptor);
  close(diskstats_);
  close(processes_);
}

void Floor::readSensors() {
  std::array<char, 64> text{};
  for (std::size_t i = 0; i < descriptors_.size(); ++i) {
    const ssize_t size = pread(descriptors_[i], text.data(), text.size(), 0);
    long value = 0;
    std::from_chars(text.data(), text.data() + size, value);
    values_[i] = static_cast<double>(value) / 1000.0;
  }
}

void Floor::readDisks() {
  const ssize_t size = pread(diskstats_, text_.data(), text_.size(), 0);
  const char* end = text_.data() + size;
  for (const char* at = text_.data(); at < end; ++at) {
    for (int field = 0; field < 5 && at < end; ++field) {
      while (at < end && *at == ' ') ++at;
      while (at < end && *at != ' ' && *at != '\n') ++at;
    }
    while (at < end && *at == ' ') ++at;
    std::int64_t sectors = 0;
    at = std::from_chars(at, end, sectors).ptr;
    bytesRead_ += sectors * 512;
    at = static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)));
    if (at == nullptr) break;
  }
}

void Floor::listProcesses() {
  lseek(processes_, 0, SEEK_SET);
  list_.clear();
  std::size_t used = 0;
  while (true) {
    list_.resize(used + 65536);
    const ssize_t size = getdents64(processes_, list_.data() + used, 65536);
    if (size <= 0) break;
    used += static_cast<std::size_t>(size);
  }
  list_.resize(used);
  if (list_ != lastList_) std::swap(list_, lastList_);
}

void Floor::publish(const Bus& bus) const {
  for (const char* name : {"FloorActive", "FloorActiveW", "FloorActiveM"}) {
    sd_bus_emit_signal(bus.get(), kPath, kInterface, name, "sa{sv}", "Floor", 1, "version", "x",
                       std::int64_t{12});
  }
  publishSample(bus, "FloorData", ids_.size());
  publishSample(bus, "FloorDataMini", std::min(kReduced, ids_.size()));
}

void Floor::publishSample(const Bus& bus, const char* name, std::size_t count) const {
  sd_bus_message* message = nullptr;
  checked(sd_bus_message_new_signal(bus.get(), &message, kPath, kInterface, name), "make the floor's sample");
  const BusMessage owned(message);
  sd_bus_message_append(message, "s", "Floor");
  sd_bus_message_open_container(message, 'a', "{sv}");
  const auto open = [&](const char* key, const char* type) {
    sd_bus_message_open_container(message, 'e', "sv");
    sd_bus_message_append_basic(message, 's', key);
    sd_bus_message_open_container(message, 'v', type);
  };
  const auto close = [&] {
    sd_bus_message_close_container(message);
    sd_bus_message_close_container(message);
  };
  const auto dictionary = [&](const char* key, std::size_t size, auto append) {
    open(key, "a{sv}");
    sd_bus_message_open_container(message, 'a', "{sv}");
    for (std::size_t i = 0; i < size; ++i) append(i);
    sd_bus_message_close_container(message);
    close();
  };
  dictionary("sensors", count, [&](std::size_t i) {
    sd_bus_message_append(message, "{sv}", ids_[i].c_str(), "s", labels_[i].c_str());
  });
  dictionary("sensorsData", count, [&](std::size_t i) {
    sd_bus_message_append(message, "{sv}", ids_[i].c_str(), "d", values_[i]);
  });
  dictionary("fans", 0, [](std::size_t) {});
  dictionary("fansData", 0, [](std::size_t) {});
  for (const char* key : {"readDiskIOData", "writeDiskIOData"}) {
    open(key, "ay");
    sd_bus_message_append_array(message, 'y', archive_.data(), archive_.size());
    close();
  }
  for (const char* key : {"readDiskIOBytes", "writeDiskIOBytes"}) {
    open(key, "x");
    sd_bus_message_append_basic(message, 'x', &bytesRead_);
    close();
  }
  open("version", "x");
  sd_bus_message_append(message, "x", std::int64_t{12});
  close();
  sd_bus_message_close_container(message);
  checked(sd_bus_send(bus.get(), message, nullptr), "send the floor's sample");
}

}  // namespace quorlin::bench
