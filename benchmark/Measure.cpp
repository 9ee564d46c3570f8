#include "Measure.h"

#include <algorithm>
#include <ctime>
#include <stdexcept>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorlin::bench {
namespace {

double threadMicroseconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

double microseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
}

}  // namespace

double cpuMicroseconds(const std::function<void()>& action) {
  const double before = threadMicroseconds();
  action();
  return threadMicroseconds() - before;
}

double cpuMicrosecondsOfProgram(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions{};
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  const int error = posix_spawnp(&child, arguments.front(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  rusage usage{};
  if (error != 0 || wait4(child, &status, 0, &usage) != child || status != 0) {
    throw std::runtime_error(command.front() + " failed");
  }
  return microseconds(usage.ru_utime) + microseconds(usage.ru_stime);
}

double median(std::vector<double> values) {
  std::ranges::sort(values);
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

void evictCaches() {
  static std::vector<std::size_t> memory(std::size_t{64} * 1024 * 1024 / sizeof(std::size_t));
  for (std::size_t i = 0; i < memory.size(); i += 8) ++memory[i];
}

}  // namespace quorlin::bench
