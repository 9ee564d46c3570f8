/// Bytes that grow at their end.
#pragma once

#include "platform/values/Owned.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <span>

namespace quorlin {

/// Grown with realloc(), which in glibc moves the pages of large blocks instead of copying them, and whose
/// new room is not touched: large contents are never held twice, and spare room takes no memory. Throws
/// std::bad_alloc.
class ByteBuffer {
 public:
  std::span<const std::uint8_t> bytes() const { return {start_.get(), size_}; }

  void append(std::span<const std::uint8_t> bytes) {
    if (capacity_ - size_ < bytes.size()) grow(std::max(size_ + bytes.size(), capacity_ * 2));
    std::ranges::copy(bytes, start_.get() + size_);
    size_ += bytes.size();
  }

 private:
  void grow(std::size_t capacity) {
    void* const moved = std::realloc(start_.get(), capacity);
    if (moved == nullptr) throw std::bad_alloc();
    static_cast<void>(start_.release());
    start_.reset(static_cast<std::uint8_t*>(moved));
    capacity_ = capacity;
  }

  Owned<std::uint8_t, std::free> start_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace quorlin
