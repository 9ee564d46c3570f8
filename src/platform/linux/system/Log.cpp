#include "platform/linux/system/Log.h"

#include "platform/posix/ErrorStream.h"
#include "platform/values/Sentence.h"

namespace quorlin {

void StreamLog::line(std::string_view text) { writeErrorLine(filledIn("{}: {}", {program_, text})); }

}  // namespace quorlin
