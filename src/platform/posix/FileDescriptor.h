/// An open file's number, closed by its owner.
#pragma once

#include <utility>

#include <unistd.h>

namespace quorlin {

class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int number) : number_(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~FileDescriptor() { reset(); }

  explicit operator bool() const { return number_ >= 0; }
  int get() const { return number_; }

  /// The number, whose owner is now the caller.
  [[nodiscard]] int release() { return std::exchange(number_, -1); }

  void reset() {
    if (number_ >= 0) close(number_);
    number_ = -1;
  }

 private:
  int number_ = -1;
};

}  // namespace quorlin
