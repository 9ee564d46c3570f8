#include "programs/core-helper/charge/HeldCharge.h"

#include "platform/posix/FileDescriptor.h"
#include "platform/posix/TextFile.h"
#include "platform/values/Parsing.h"
#include "platform/values/Sentence.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace quorlin {
namespace {

/// Whether a path that ends in the name stays in its folder.
bool isBatteryName(std::string_view name) {
  constexpr std::string_view allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.-";
  return !name.empty() && name.front() != '.' && name.find_first_not_of(allowed) == std::string_view::npos;
}

/// The place of an attribute's former value, or the end.
template <typename Values>
auto findIn(Values& values, std::string_view battery, std::string_view attribute) {
  return std::ranges::find_if(values, [&](const FormerValue& former) {
    return former.battery == battery && former.attribute == attribute;
  });
}

Trouble cannotWrite(const std::filesystem::path& path, int error) {
  return systemTrouble("{} cannot be written", path, error);
}

/// Writes a file that must not exist yet, and has it on the disk.
std::optional<Trouble> createFile(const std::filesystem::path& path, std::string_view contents) {
  const FileDescriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  const ssize_t written = file ? write(file.get(), contents.data(), contents.size()) : -1;
  if (written >= 0 && static_cast<std::size_t>(written) != contents.size()) return cannotWrite(path, ENOSPC);
  if (written < 0 || fsync(file.get()) != 0) return cannotWrite(path, errno);
  return std::nullopt;
}

}  // namespace

std::vector<FormerValue> parseFormerValues(std::string_view text) {
  std::vector<FormerValue> values;
  while (!text.empty()) {
    std::string_view line = takeUntil('\n', text);
    const std::string_view battery = takeUntil(' ', line);
    const std::string_view attribute = takeUntil(' ', line);
    const bool hasOurs = line.find(' ') != std::string_view::npos;
    const std::string_view value = takeUntil(' ', line);
    if (!isBatteryName(battery) || !isChargeValue(attribute, value)) continue;
    if (hasOurs && !isChargeValue(attribute, line)) continue;
    if (findIn(values, battery, attribute) != values.end()) continue;
    values.push_back({std::string(battery), std::string(attribute), std::string(value), std::string(line)});
  }
  return values;
}

Result<HeldCharge> HeldCharge::in(std::filesystem::path file) {
  const Result<std::string> text = readText(file.string());
  if (!text && text.error().error != ENOENT) return text.error();
  HeldCharge held(std::move(file));
  held.values_ = parseFormerValues(text.value_or(""));
  return held;
}

const FormerValue* HeldCharge::find(std::string_view battery, std::string_view attribute) const {
  const auto former = findIn(values_, battery, attribute);
  return former == values_.end() ? nullptr : &*former;
}

bool HeldCharge::isAbout(std::string_view battery) const {
  return std::ranges::find(values_, battery, &FormerValue::battery) != values_.end();
}

std::optional<Trouble> HeldCharge::remember(const std::string& battery, std::string_view attribute,
                                            const std::optional<std::string>& value) {
  const auto known = findIn(values_, battery, attribute);
  if (known != values_.end() && known->ours.empty()) return std::nullopt;
  if (known == values_.end() && (!isBatteryName(battery) || !value || !isChargeValue(attribute, *value))) {
    return Trouble{.what = filledIn("the helper could not restore the value \"{}\" of {}",
                                    {excerpt(value.value_or("")), attribute})};
  }
  const HeldCharge before = *this;
  isStored_ = false;
  if (known != values_.end()) {
    known->ours.clear();
  } else {
    values_.push_back({battery, std::string(attribute), *value, {}});
  }
  std::optional<Trouble> trouble = store();
  if (trouble) *this = before;
  return trouble;
}

void HeldCharge::setOurs(std::string_view battery, std::string_view attribute, const std::string& ours) {
  const auto former = findIn(values_, battery, attribute);
  if (former == values_.end() || former->ours == ours || !isChargeValue(attribute, ours)) return;
  former->ours = ours;
  isStored_ = false;
}

void HeldCharge::forget(std::string_view battery, std::string_view attribute) {
  const auto former = findIn(values_, battery, attribute);
  if (former == values_.end()) return;
  values_.erase(former);
  isStored_ = false;
}

std::optional<Trouble> HeldCharge::store() {
  if (isStored_) return std::nullopt;
  const std::filesystem::path folder = file_.parent_path();
  if (values_.empty()) {
    if (unlink(file_.c_str()) != 0 && errno != ENOENT)
      return systemTrouble("{} cannot be removed", file_, errno);
  } else {
    std::string contents;
    for (const FormerValue& former : values_) {
      contents.append(former.battery).append(" ").append(former.attribute).append(" ").append(former.value);
      if (!former.ours.empty()) contents.append(" ").append(former.ours);
      contents += '\n';
    }
    mkdir(folder.c_str(), 0700);
    const std::filesystem::path beside = file_.string() + ".new";
    // A helper that was killed while it wrote has left it behind.
    unlink(beside.c_str());
    std::optional<Trouble> trouble = createFile(beside, contents);
    if (!trouble && rename(beside.c_str(), file_.c_str()) != 0) trouble = cannotWrite(file_, errno);
    if (trouble) {
      unlink(beside.c_str());
      return trouble;
    }
  }
  const FileDescriptor directory(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory) fsync(directory.get());
  isStored_ = true;
  return std::nullopt;
}

}  // namespace quorlin
