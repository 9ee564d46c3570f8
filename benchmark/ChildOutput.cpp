#include "ChildOutput.h"

#include "Measure.h"
#include "platform/SubProcess.h"
#include "platform/posix/FileDescriptor.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorlin::bench {
namespace {

constexpr std::size_t kOutput = std::size_t{1} << 30;
constexpr std::size_t kBlock = 65'536;
constexpr int kRuns = 7;  // printed
constexpr const char* kThisProgram = "/proc/self/exe";
constexpr const char* kWrite = "--write-output";
constexpr const char* kMemory = "--print-memory";

struct Free {
  void operator()(char* start) const { std::free(start); }
};

void check(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(std::string("cannot ") + what);
}

/// The least that a reader does: the child with one pipe, its output read to the end, the child waited for.
/// Keeps it in memory taken beforehand, or throws each block away.
std::unique_ptr<char, Free> readLoop(bool keep) {
  std::unique_ptr<char, Free> kept(static_cast<char*>(std::malloc(keep ? kOutput + kBlock : kBlock)));
  std::array<int, 2> ends{};
  check(kept && pipe(ends.data()) == 0, "make a pipe");
  const FileDescriptor readEnd(ends[0]);
  FileDescriptor writeEnd(ends[1]);
  posix_spawn_file_actions_t actions{};
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addclose(&actions, readEnd.get());
  posix_spawn_file_actions_adddup2(&actions, writeEnd.get(), STDOUT_FILENO);
  std::array<char*, 3> arguments = {const_cast<char*>(kThisProgram), const_cast<char*>(kWrite), nullptr};
  pid_t child = 0;
  const int error = posix_spawn(&child, kThisProgram, &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  check(error == 0, "start the child");
  writeEnd.reset();
  std::size_t size = 0;
  while (size <= kOutput) {
    const ssize_t count = read(readEnd.get(), kept.get() + (keep ? size : 0), kBlock);
    if (count <= 0) break;
    size += static_cast<std::size_t>(count);
  }
  int status = 0;
  check(waitpid(child, &status, 0) == child && status == 0 && size == kOutput, "read the child's output");
  return kept;
}

void collect(SubProcess& process) {
  check(process.execute(kThisProgram, {kWrite}) && process.standardOutput().bytes().size() == kOutput,
        "collect the child's output");
}

/// The peak of this process, in kB, proc(5).
long peakOfMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    long peak = 0;
    if (word == "VmHWM:" && status >> peak) return peak;
  }
  throw std::runtime_error("no VmHWM");
}

/// At full speed.
void writeOutput() {
  static const std::array<char, kBlock> block{};
  for (std::size_t left = kOutput; left > 0;) {
    const ssize_t written = write(STDOUT_FILENO, block.data(), std::min(left, kBlock));
    check(written > 0, "write");
    left -= static_cast<std::size_t>(written);
  }
}

/// The growth of the peak of resident memory, less the output, in kB.
void printMemory() {
  const long before = peakOfMemory();
  SubProcess process;
  collect(process);
  std::printf("%ld\n", peakOfMemory() - before - static_cast<long>(kOutput / 1024));
}

/// Times of several runs, in microseconds.
struct Times {
  std::vector<double> elapsed;
  std::vector<double> processor;

  template <typename Action>
  void measure(const Action& action) {
    const auto start = std::chrono::steady_clock::now();
    processor.push_back(cpuMicroseconds(action));
    const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - start;
    elapsed.push_back(time.count());
  }
};

void printRow(const char* what, const std::vector<double>& ours, const std::vector<double>& other) {
  std::printf("  %-44s %12.1f %12.1f %8.3f\n", what, median(ours), median(other),
              median(ours) / median(other));
}

}  // namespace

void benchChildOutput() {
  Times ours;
  Times keeping;
  Times discarding;
  for (int run = 0; run < kRuns; ++run) {
    {
      SubProcess process;
      ours.measure([&] { collect(process); });
    }
    {
      std::unique_ptr<char, Free> kept;
      keeping.measure([&] { kept = readLoop(true); });
    }
    discarding.measure([&] { readLoop(false); });
  }
  std::printf("\n%-46s %12s %12s %8s   wanted <= 1.2\n", "1 GB of a child's output, medians of 7",
              "ours (us)", "read() (us)", "ratio");
  printRow("elapsed, loop that keeps it", ours.elapsed, keeping.elapsed);
  printRow("processor time, loop that keeps it", ours.processor, keeping.processor);
  printRow("elapsed, loop that throws it away", ours.elapsed, discarding.elapsed);
  printRow("processor time, loop that throws it away", ours.processor, discarding.processor);
  SubProcess fresh;
  check(fresh.execute(kThisProgram, {kMemory}), "run itself");
  const auto printed = fresh.standardOutput().bytes();
  const double kilobytes = std::stod(std::string(printed.begin(), printed.end()));
  std::printf("  %-44s %12.2f   wanted <= 1\n", "peak of memory less the output, MB", kilobytes / 1024);
  std::fflush(stdout);
}

bool actAsChild(std::string_view argument) {
  if (argument == kWrite) {
    writeOutput();
  } else if (argument == kMemory) {
    printMemory();
  } else {
    return false;
  }
  return true;
}

}  // namespace quorlin::bench
