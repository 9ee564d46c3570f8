/// The entries of a directory that is listed often or is large, such as /proc.
#pragma once

#include <span>

#include <dirent.h>
#include <sys/types.h>

namespace quorlin {

/// The kernel's own file systems fill a buffer until the next entry does not fit, so a buffer with room to
/// spare holds the last entries. On any file system, only an empty buffer marks the end.
enum class ListingEnd { AtEmptyBuffer, AtRoomToSpare };

/// Reads from the position of the open directory, a buffer at a time, until its end or until the visitor
/// returns false for an entry. The buffer is aligned as a dirent64. Not readdir: it would cost as much again
/// as the listing itself.
void forEachEntry(int directory, std::span<char> buffer, const auto& visit,
                  ListingEnd end = ListingEnd::AtEmptyBuffer) {
  const std::size_t spare = end == ListingEnd::AtRoomToSpare ? sizeof(dirent64) : buffer.size();
  ssize_t size = 0;
  do {
    size = getdents64(directory, buffer.data(), buffer.size());
    for (ssize_t offset = 0; offset < size;) {
      const auto* entry = reinterpret_cast<const dirent64*>(buffer.data() + offset);
      offset += entry->d_reclen;
      if (!visit(*entry)) return;
    }
  } while (size > static_cast<ssize_t>(buffer.size() - spare));
}

}  // namespace quorlin
