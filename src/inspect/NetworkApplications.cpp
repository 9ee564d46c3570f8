/// On request, the bytes that each process has received and sent over external network interfaces.
#include "core/AppDelegate.h"
#include "core/Notifications.h"
#include "inspect/NetTop.h"

namespace quorlin {

void AppDelegate::getNetworkApps() {
  services_.notificationCenter.post(notification::kNetDataW, kSensorsAgent,
                                    {{"netapps", collectNetwork()}, {"version", kDataFormatVersion}},
                                    Delivery::Immediate);
}

Array AppDelegate::collectNetwork() {
  const std::optional<Data> output = outputOfNetTop(services_.taskLauncher);
  Array records;
  if (!output) return records;
  for (const std::string& line : formatLines(*output)) {
    if (line.starts_with("STAT")) continue;
    if (std::optional<Dictionary> record = parseNetTop(line)) records.emplace_back(*std::move(record));
  }
  return records;
}

}  // namespace quorlin
