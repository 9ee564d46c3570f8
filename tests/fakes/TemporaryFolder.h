/// A folder of the test's own, removed with it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quorlin {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    // In memory where there is such a place: some tests make thousands of files.
    const std::filesystem::path inMemory = "/dev/shm";
    const bool hasMemory = std::filesystem::is_directory(inMemory);
    std::string pattern =
        (hasMemory ? inMemory : std::filesystem::temp_directory_path()) / "quorlin-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    path_ = pattern;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

  /// Writes a file and the folders above it; returns its path.
  std::filesystem::path write(const std::filesystem::path& file, std::string_view contents) const {
    const std::filesystem::path path = path_ / file;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << contents;
    return path;
  }

  std::string read(const std::filesystem::path& file) const {
    std::ifstream stream(path_ / file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

 private:
  std::filesystem::path path_;
};

}  // namespace quorlin
