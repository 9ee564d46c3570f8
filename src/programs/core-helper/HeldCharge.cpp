#include "core-helper/HeldCharge.h"

#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace quorlin {
namespace {

/// The name of one folder, whatever it is appended to.
bool isBatteryName(std::string_view name) {
  constexpr std::string_view allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.-";
  return !name.empty() && name.front() != '.' && name.find_first_not_of(allowed) == std::string_view::npos;
}

bool isValueOf(std::string_view attribute, std::string_view value) {
  constexpr std::array<std::string_view, 4> behaviours = {"auto", "inhibit-charge", "inhibit-charge-awake",
                                                          "force-discharge"};
  constexpr std::array<std::string_view, 7> types = {"Trickle", "Fast",      "Standard", "Adaptive",
                                                     "Custom",  "Long_Life", "Bypass"};
  if (attribute == kChargeBehaviour) return std::ranges::find(behaviours, value) != behaviours.end();
  if (attribute == kChargeTypes) return std::ranges::find(types, value) != types.end();
  if (attribute != kEndThreshold && attribute != kStartThreshold) return false;
  unsigned percent = 0;
  const auto [stop, error] = std::from_chars(value.data(), value.data() + value.size(), percent);
  return error == std::errc() && stop == value.data() + value.size() && percent <= 100;
}

std::string_view takeUntil(std::string_view& text, char end) {
  const std::string_view part = text.substr(0, text.find(end));
  text.remove_prefix(std::min(part.size() + 1, text.size()));
  return part;
}

/// The place of what is said about an attribute, or the end.
template <typename Values>
auto findIn(Values& values, std::string_view battery, std::string_view attribute) {
  return std::ranges::find_if(values, [&](const FormerValue& former) {
    return former.battery == battery && former.attribute == attribute;
  });
}

/// Writes a file that must not be there yet and has it on the disk; errno tells of a failure.
bool createFile(const std::filesystem::path& path, std::string_view contents) {
  const FileDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file) return false;
  const ssize_t written = write(file.get(), contents.data(), contents.size());
  if (written >= 0 && static_cast<std::size_t>(written) != contents.size()) errno = ENOSPC;
  return written == static_cast<ssize_t>(contents.size()) && fsync(file.get()) == 0;
}

void syncFolder(const std::filesystem::path& folder) {
  const FileDescriptor directory(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory) fsync(directory.get());
}

}  // namespace

std::vector<FormerValue> parseFormerValues(std::string_view text) {
  std::vector<FormerValue> values;
  while (!text.empty()) {
    std::string_view line = takeUntil(text, '\n');
    const std::string_view battery = takeUntil(line, ' ');
    const std::string_view attribute = takeUntil(line, ' ');
    const bool hasOurs = line.find(' ') != std::string_view::npos;
    const std::string_view value = takeUntil(line, ' ');
    if (!isBatteryName(battery) || !isValueOf(attribute, value)) continue;
    if (hasOurs && !isValueOf(attribute, line)) continue;
    if (findIn(values, battery, attribute) != values.end()) continue;
    values.push_back({std::string(battery), std::string(attribute), std::string(value), std::string(line)});
  }
  return values;
}

HeldCharge::HeldCharge(std::filesystem::path file) : file_(std::move(file)) {
  const std::optional<std::string> text = readText(file_.string());
  if (text) {
    values_ = parseFormerValues(*text);
  } else if (errno != ENOENT) {
    unreadable_ = file_.string() + " cannot be read: " + errorText(errno);
  }
}

const FormerValue* HeldCharge::find(std::string_view battery, std::string_view attribute) const {
  const auto former = findIn(values_, battery, attribute);
  return former == values_.end() ? nullptr : &*former;
}

bool HeldCharge::isAbout(std::string_view battery) const {
  return std::ranges::find(values_, battery, &FormerValue::battery) != values_.end();
}

std::string HeldCharge::remember(const std::string& battery, std::string_view attribute,
                                 const std::string& value) {
  const auto known = findIn(values_, battery, attribute);
  if (known != values_.end() && known->ours.empty()) return {};
  if (known == values_.end() && (!isBatteryName(battery) || !isValueOf(attribute, value))) {
    return std::string(attribute) + " stands at \"" + displayText(value) + "\", which could not be put back";
  }
  const std::vector<FormerValue> before = values_;
  const bool wasStored = std::exchange(isStored_, false);
  if (known != values_.end()) {
    known->ours.clear();
  } else {
    values_.push_back({battery, std::string(attribute), value, {}});
  }
  std::string trouble = store();
  if (!trouble.empty()) {
    values_ = before;
    isStored_ = wasStored;
  }
  return trouble;
}

void HeldCharge::setOurs(std::string_view battery, std::string_view attribute, const std::string& ours) {
  const auto former = findIn(values_, battery, attribute);
  if (former == values_.end() || former->ours == ours || !isValueOf(attribute, ours)) return;
  former->ours = ours;
  isStored_ = false;
}

void HeldCharge::forget(std::string_view battery, std::string_view attribute) {
  const auto former = findIn(values_, battery, attribute);
  if (former == values_.end()) return;
  values_.erase(former);
  isStored_ = false;
}

std::string HeldCharge::store() {
  if (isStored_) return {};
  const std::filesystem::path folder = file_.parent_path();
  if (values_.empty()) {
    if (unlink(file_.c_str()) != 0 && errno != ENOENT) {
      return file_.string() + " cannot be removed: " + errorText(errno);
    }
    syncFolder(folder);
    isStored_ = true;
    return {};
  }
  std::string contents;
  for (const FormerValue& former : values_) {
    contents.append(former.battery).append(" ").append(former.attribute).append(" ").append(former.value);
    if (!former.ours.empty()) contents.append(" ").append(former.ours);
    contents += '\n';
  }
  mkdir(folder.c_str(), 0700);
  const std::filesystem::path beside = file_.string() + ".new";
  // Left behind by a helper that was stopped in the midst of this.
  unlink(beside.c_str());
  if (!createFile(beside, contents) || rename(beside.c_str(), file_.c_str()) != 0) {
    std::string trouble = file_.string() + " cannot be written: " + errorText(errno);
    unlink(beside.c_str());
    return trouble;
  }
  syncFolder(folder);
  isStored_ = true;
  return {};
}

}  // namespace quorlin
