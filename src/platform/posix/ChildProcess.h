/// Starts child processes and waits for them, on every POSIX system.
#pragma once

#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include <spawn.h>
#include <sys/types.h>

/// The variables of this process; POSIX declares them in no header.
extern "C" char** environ;  // NOLINT(readability-redundant-declaration): glibc does

namespace quorlin {

/// What the child does before it becomes the program, in the order in which it is added.
class FileActions {
 public:
  FileActions() : error_(posix_spawn_file_actions_init(&actions_)) {}
  ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;

  /// Calls one of the functions posix_spawn_file_actions_add..., unless an earlier one has failed.
  template <typename... Arguments>
  void add(int (*function)(posix_spawn_file_actions_t*, Arguments...),
           std::type_identity_t<Arguments>... arguments) {
    if (error_ == 0) error_ = function(&actions_, arguments...);
  }

  /// The first failure's number, as in errno; else 0.
  int error() const { return error_; }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
  int error_;
};

/// The path and the arguments as a program receives them, ended by null; they outlive the vector. Nothing
/// where one has a zero byte: what stands behind it would be left out in silence.
std::optional<std::vector<char*>> argumentVector(const std::string& path,
                                                 const std::vector<std::string>& arguments);

/// Waits for the child's end and returns its wait status, or nothing when it is not ours to wait for.
std::optional<int> waitForEnd(pid_t child);

}  // namespace quorlin
