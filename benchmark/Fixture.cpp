#include "Fixture.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorlin::bench {
namespace {

constexpr int kInputsOfAChip = 8;

void write(const std::filesystem::path& file, const std::string& contents) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file) << contents << '\n';
}

}  // namespace

Folder::Folder() {
  std::string pattern = "/dev/shm/quorlin-bench-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder in /dev/shm");
  path_ = pattern;
}

Folder::~Folder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::vector<std::filesystem::path> writeMachine(const std::filesystem::path& folder, int inputs, int disks) {
  std::vector<std::filesystem::path> files;
  const std::filesystem::path classes = folder / "sys/class/hwmon";
  std::filesystem::create_directories(classes);
  for (int input = 0; input < inputs; ++input) {
    const std::string number = std::to_string(input / kInputsOfAChip);
    const std::filesystem::path chip =
        folder / "sys/devices/platform" / ("chip." + number) / "hwmon" / ("hwmon" + number);
    if (input % kInputsOfAChip == 0) {
      write(chip / "name", "chip" + number);
      std::filesystem::create_directory_symlink(chip, classes / chip.filename());
    }
    const std::string channel = "temp" + std::to_string(input % kInputsOfAChip + 1);
    write(chip / (channel + "_label"), "Sensor " + std::to_string(input));
    files.push_back(chip / (channel + "_input"));
    write(files.back(), std::to_string(30'000 + input * 7));
  }
  std::string diskstats;
  for (int disk = 0; disk < disks; ++disk) {
    const std::string name = "disk" + std::to_string(disk);
    std::filesystem::create_directories(folder / "sys/block" / name / "device");
    diskstats += " 259 " + std::to_string(disk) + " " + name +
                 " 84213 1204 5829114 20112 39120 8811 2901822 41230 0 30112 61342 0 0 0 0 0 0\n";
  }
  write(folder / "proc/diskstats", diskstats);
  return files;
}

IdleProcesses::IdleProcesses(int count) {
  for (int i = 0; i < count; ++i) {
    const pid_t process = fork();
    if (process < 0) throw std::runtime_error("no more processes");
    if (process == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      while (true) pause();
    }
    processes_.push_back(process);
  }
}

IdleProcesses::~IdleProcesses() {
  for (const pid_t process : processes_) kill(process, SIGKILL);
  for (const pid_t process : processes_) waitpid(process, nullptr, 0);
}

}  // namespace quorlin::bench
