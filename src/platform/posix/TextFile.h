/// Small text files and directories of sysfs and procfs.
#pragma once

#include "platform/values/Result.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace quorlin {

/// The first page of a file without the white space and the zeros around it. A pipe is a trouble.
Result<std::string> readText(const std::string& path);

/// The names in a directory but "." and "..", sorted.
Result<std::vector<std::string>> namesIn(const std::string& directory);

/// The absolute path without links.
Result<std::string> realPath(const std::string& path);

/// Without the white space and the zeros around it.
std::string_view trimmed(std::string_view text);

/// Text fit for people and for the bus: UTF-8 that cannot drive a terminal, without space around it.
std::string displayText(std::string_view raw);

/// As displayText, of at most that many characters; an ellipsis marks a cut.
std::string excerpt(std::string_view raw, std::size_t most = 100);

/// The trouble with a pipe, a device or a folder in a file's place.
Trouble notRegular(std::string path);

std::string errorText(int error);

/// A trouble with a number of errno.h.
Trouble systemTrouble(std::string what, std::string where, int error);

}  // namespace quorlin
