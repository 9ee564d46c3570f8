/// The System Management Controller of an Intel Mac, as the driver applesmc shows it in files.
#pragma once

#include "platform/SmcService.h"

#include <filesystem>

namespace quorlin {

/// A service is a folder of devices/platform in sysfs: "applesmc.768". Codes are those of errno.h. Opening
/// needs root: the driver lets only root choose its keys.
class SysfsSmcService final : public SmcService {
 public:
  explicit SysfsSmcService(const std::filesystem::path& sysfsRoot)
      : folder_(sysfsRoot / "devices/platform") {}

  SmcSearch find(std::string_view serviceClass) override;
  SmcOpening open(const std::string& service) override;

 private:
  std::filesystem::path folder_;
};

}  // namespace quorlin
