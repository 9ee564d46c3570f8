#include "fakes/TemporaryFolder.h"
#include "programs/core-helper/metrics/PowerMeter.h"

#include <array>
#include <set>

#include <gmock/gmock.h>

namespace quorlin {
namespace {

Event newEvent() {
  sd_event* created = nullptr;
  sd_event_new(&created);
  return Event(created);
}

TEST(PowerMeter, TellsManyCallersNoMoreThanOne) {
  const TemporaryFolder folder;
  std::uint64_t energy = 0;
  std::uint64_t step = 0;
  // The power rises all the time, so no two stretches of time use the same.
  const auto burn = [&] {
    energy += 500 * ++step;
    const auto next = folder.write("energy", std::to_string(energy));
    std::filesystem::rename(next, folder.path() / "sys/class/powercap/intel-rapl:0/energy_uj");
  };
  folder.write("sys/class/powercap/intel-rapl:0/name", "package-0\n");
  const Event event = newEvent();
  PowerMeter meter(event.get(), folder.path() / "sys");
  constexpr std::size_t callers = 16;
  const MetricsRequest request{.processorPower = true, .interval = std::chrono::milliseconds(501)};
  std::array<int, callers + 1> caller{};
  std::multiset<std::string> answers;
  for (std::size_t i = 0; answers.size() < callers; ++i) {
    burn();
    if (i <= callers)
      meter.measure(&caller[i], request, [&](const std::string& text) { answers.insert(text); });
    if (i == callers) meter.forget(&caller[i]);
    sd_event_run(event.get(), 5000);
  }
  EXPECT_LT(std::set(answers.begin(), answers.end()).size(), callers / 2) << testing::PrintToString(answers);
  sd_event_run(event.get(), 0);
  EXPECT_EQ(answers.size(), callers) << "one was forgotten";
}

}  // namespace
}  // namespace quorlin
