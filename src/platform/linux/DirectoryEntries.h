/// The entries of a large directory, such as /proc.
#pragma once

#include <span>

#include <dirent.h>
#include <sys/types.h>

namespace quorlin {

/// Reads from where the open directory stands, a buffer at a time, until its end or until the visitor returns
/// false for an entry. The buffer is aligned as a dirent64. Not readdir: it would cost as much again as the
/// listing itself.
void forEachEntry(int directory, std::span<char> buffer, const auto& visit) {
  while (true) {
    const ssize_t size = getdents64(directory, buffer.data(), buffer.size());
    if (size <= 0) return;
    for (ssize_t offset = 0; offset < size;) {
      const auto* entry = reinterpret_cast<const dirent64*>(buffer.data() + offset);
      offset += entry->d_reclen;
      if (!visit(*entry)) return;
    }
  }
}

}  // namespace quorlin
