/// A driver of batteries behind the files of a machine.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace quorlin {

/// While it lives, a write() to a file below its folder is a store of a driver's attribute: it replaces what
/// the file says, or does what is set for the file. A pread() fails for one that is unset. One at a time.
class FakeDriver {
 public:
  explicit FakeDriver(const std::string& path) : folder(path + "/") { active = this; }
  FakeDriver(const FakeDriver&) = delete;
  FakeDriver& operator=(const FakeDriver&) = delete;
  ~FakeDriver() { active = nullptr; }

  /// What one write() does, given the value without its line end: 0, or the error with which it fails.
  using Store = std::function<int(const std::string& value)>;
  /// By paths below the folder.
  std::map<std::string, Store> stores;

  /// Paths below the folder of attributes that answer ENODATA until they are first stored.
  std::set<std::string> unset;

  /// "PATH VALUE" of each write, in order.
  std::vector<std::string> writes;

  /// Sets a file as the firmware does by itself.
  void set(const std::string& path, const std::string& value) const;

  const std::string folder;
  static inline FakeDriver* active = nullptr;
};

}  // namespace quorlin
