/// What each process has received and sent over external network interfaces, told on request.
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
  // One sample, of external interfaces only, whose columns are time, process, bytes in and bytes out.
  const std::optional<Data> output = services_.taskLauncher.standardOutputOf(
      "/usr/bin/nettop",
      {"-Px", "-k",
       "interface,state,rx_ooo,rx_dupe,re-tx,rtt_avg,rcvsize,tx_win,tc_class,tc_mgt,cc_algo,P,C,R,W", "-l",
       "1", "-t", "external"});
  Array records;
  if (!output) return records;
  for (const std::string& line : formatLines(*output)) {
    if (line.starts_with("STAT")) continue;
    if (std::optional<Dictionary> record = parseNetTop(line)) records.emplace_back(*std::move(record));
  }
  return records;
}

}  // namespace quorlin
