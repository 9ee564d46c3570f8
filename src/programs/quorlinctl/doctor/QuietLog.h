/// For services whose log a check does not need.
#pragma once

#include "platform/Log.h"

namespace quorlin {

class QuietLog final : public Log {
 public:
  void line(std::string_view /*text*/) override {}
};

}  // namespace quorlin
