/// A machine from tests/fixtures/machines as files in a folder of its own, every value at its first frame.
#pragma once

#include "engine/SensorsEngineFactory.h"
#include "fakes/TemporaryFolder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <stdexcept>
#include <string>

namespace quorlin {

class MachineFixture {
 public:
  /// The description's name without its ending, or an empty one for a machine without any file.
  explicit MachineFixture(const std::string& name = "") {
    if (!name.empty()) expand(std::string(QUORLIN_TEST_MACHINES "/") + name + ".machine");
  }

  EngineRoots roots() const { return {.sysfs = root_ / "sys", .procfs = root_ / "proc"}; }
  std::filesystem::path path(const std::string& path) const { return root_ / path; }

  /// In place, as the kernel changes a value: open descriptors read the new one.
  void write(const std::string& file, const std::string& bytes) { folder_.write(file, bytes); }

  void link(const std::string& from, const std::string& to) {
    std::filesystem::create_directories(path(from).parent_path());
    const bool inside = to.starts_with("sys/") || to.starts_with("proc/");
    std::filesystem::create_symlink(inside ? path(to).string() : to, path(from));
  }

  void remove(const std::string& file) { std::filesystem::remove_all(path(file)); }

  /// A chip below sys/devices, entered in the class.
  void addChip(const std::string& device, const std::string& hwmon, const std::string& name) {
    const std::string directory = "sys/devices/" + device + "/hwmon/" + hwmon;
    write(directory + "/name", name + "\n");
    link("sys/class/hwmon/" + hwmon, directory);
  }

  /// What another start of the machine does to a chip.
  void renumber(const std::string& hwmon, const std::string& to) {
    const std::filesystem::path entry = path("sys/class/hwmon/" + hwmon);
    const std::filesystem::path old = std::filesystem::canonical(entry);
    std::filesystem::rename(old, old.parent_path() / to);
    std::filesystem::remove(entry);
    std::filesystem::create_symlink(old.parent_path() / to, path("sys/class/hwmon/" + to));
  }

 private:
  void expand(const std::string& description) {
    std::ifstream file(description);
    if (!file) throw std::runtime_error("there is no " + description);
    std::string section;
    std::string block;
    for (std::string line; std::getline(file, line);) {
      if (!block.empty() && line.starts_with(' ')) {
        const std::string text = line.substr(line.find_first_not_of(' '));
        std::ofstream(path(block), std::ios::app)
            << std::regex_replace(text, std::regex(R"((\d)\+[\d,]+)"), "$1") << '\n';
        continue;
      }
      block.clear();
      if (line.empty() || line.starts_with('#')) continue;
      if (line.starts_with('[')) {
        section = line.substr(1, line.size() - 2);
      } else if (const std::size_t arrow = line.find(" -> "); arrow != std::string::npos) {
        link(full(section, line.substr(0, arrow)), line.substr(arrow + 4));
      } else if (line.ends_with('/')) {
        std::filesystem::create_directories(path(full(section, line)));
      } else {
        const std::size_t equals = line.find(" =");
        if (equals == std::string::npos) throw std::runtime_error(description + ": " + line);
        const std::string value = line.substr(std::min(equals + 3, line.size()));
        write(full(section, line.substr(0, equals)), firstFrame(value));
        if (value.empty()) block = full(section, line.substr(0, equals));
      }
    }
  }

  static std::string full(const std::string& section, const std::string& path) {
    return section.empty() || path.starts_with("sys/") || path.starts_with("proc/") ? path
                                                                                    : section + "/" + path;
  }

  static std::string firstFrame(const std::string& value) {
    const std::string frame = value.substr(0, value.find(" | "));
    std::string bytes;
    for (std::size_t i = 0; i < frame.size(); ++i) {
      const bool escaped = frame.compare(i, 2, "\\x") == 0;
      bytes += escaped ? static_cast<char>(std::stoi(frame.substr(i + 2, 2), nullptr, 16)) : frame[i];
      if (escaped) i += 3;
    }
    return bytes.empty() ? bytes : bytes + '\n';
  }

  TemporaryFolder folder_;
  std::filesystem::path root_ = std::filesystem::canonical(folder_.path());
};

}  // namespace quorlin
