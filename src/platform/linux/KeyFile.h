/// Files of groups, keys and values, as GLib reads and writes them.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include <glib.h>

namespace quorlin {

struct KeyFileUnref {
  void operator()(GKeyFile* keyFile) const { g_key_file_unref(keyFile); }
};

struct GFree {
  void operator()(gchar* text) const { g_free(text); }
};
using GText = std::unique_ptr<gchar, GFree>;

/// A key file as it was found; an absent one is empty and usable.
struct LoadedKeyFile {
  enum class State { Usable, Malformed, OutOfReach };

  std::unique_ptr<GKeyFile, KeyFileUnref> keyFile{g_key_file_new()};
  State state = State::Usable;
  /// What is wrong with a file that is not usable.
  std::string trouble;
};

/// Comments and translations stay.
LoadedKeyFile loadKeyFile(const std::filesystem::path& file);

/// Where a link leads, also to a file that is not there yet, so that the link stays a link.
std::filesystem::path behindLinks(std::filesystem::path file);

/// Replaces the file as a whole; its folder is made. Returns what went wrong, or nothing.
std::optional<std::string> saveKeyFile(GKeyFile* keyFile, const std::filesystem::path& file);

}  // namespace quorlin
