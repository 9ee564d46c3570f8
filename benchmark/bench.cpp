/// Prints the cost of the agent's work, compared with the floor, ps and a loop of read(), measured in one
/// run. Each figure is the median of the repetitions; both sides of a comparison are measured in turns.
#include "ChildOutput.h"
#include "Fixture.h"
#include "Floor.h"
#include "Measure.h"
#include "platform/linux/processes/ProcessManager.h"
#include "platform/linux/sensors/SensorsEngineFactory.h"
#include "platform/linux/system/Log.h"
#include "programs/agent/Agent.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>
#include <thread>

namespace quorlin::bench {
namespace {

constexpr int kRepetitions = 15;
constexpr int kTypicalInputs = 66;
constexpr std::chrono::milliseconds kHalfATick{1500};

using Action = std::function<void()>;

/// The medians of two actions that take turns.
struct Pair {
  double ours;
  double other;
};

Pair inTurns(const Action& prepare, const std::function<double()>& ours,
             const std::function<double()>& other) {
  std::vector<double> left;
  std::vector<double> right;
  for (int i = 0; i < kRepetitions + 1; ++i) {
    prepare();
    const double ourTime = ours();
    prepare();
    const double otherTime = other();
    if (i == 0) continue;  // the first time fills the caches
    left.push_back(ourTime);
    right.push_back(otherTime);
  }
  return {median(left), median(right)};
}

double medianOf(const std::function<double()>& measure) {
  std::vector<double> times;
  for (int i = 0; i < kRepetitions + 1; ++i) {
    const double time = measure();
    if (i > 0) times.push_back(time);
  }
  return median(times);
}

void printHeader(const char* title, const char* other) {
  std::printf("\n%-46s %12s %12s %8s\n", title, "ours (us)", other, "ratio");
}

void printRow(const std::string& what, const Pair& pair) {
  std::printf("  %-44s %12.1f %12.1f %8.3f\n", what.c_str(), pair.ours, pair.other, pair.ours / pair.other);
  std::fflush(stdout);
}

/// The whole tick, as the main application sees it, every three seconds; the floor has its turn in between.
void benchTick(bool paced) {
  printHeader(paced ? "Whole tick every 3 s, caches cold" : "Whole tick, growth with the inputs, caches cold",
              "floor (us)");
  for (const int inputs : paced ? std::vector{kTypicalInputs} : std::vector{66, 200, 500}) {
    const Folder folder;
    const auto files = writeMachine(folder.path(), inputs, 0);
    setenv("QUORLIN_SYSFS_ROOT", (folder.path() / "sys").c_str(), 1);
    StreamLog log("bench");
    const Bus consumer = Bus::openSession();
    checked(sd_bus_request_name(consumer.get(), "brellwick.Quorlin", 0), "stand in for the main application");
    Agent agent({"bench", "-silent"}, log);
    agent.delegate().applicationDidFinishLaunching();
    agent.delegate().QuorlinActive();
    Floor floor(files, "/proc/diskstats", "/proc");
    const Bus floorBus = Bus::openSession();
    const auto prepare = [&] {
      if (paced) std::this_thread::sleep_for(kHalfATick);
      evictCaches();
    };
    const auto ours = [&] { return cpuMicroseconds([&] { agent.delegate().updateData(); }); };
    const auto other = [&] {
      return cpuMicroseconds([&] {
        floor.readSensors();
        floor.readDisks();
        floor.listProcesses();
        floor.publish(floorBus);
      });
    };
    printRow(std::to_string(inputs) + " inputs, this machine's disks and processes",
             inTurns(prepare, ours, other));
  }
}

/// Hot: the same again and again, so that the work itself shows.
void benchSensors() {
  printHeader("Reading the sensors, hot", "floor (us)");
  StreamLog log("bench");
  // The last is past the descriptors that are kept open.
  for (const int inputs : {66, 200, 500, 6000}) {
    const Folder folder;
    const auto files = writeMachine(folder.path(), inputs, 2);
    const SensorsEngineFactory factory =
        makeLinuxSensorsEngine({folder.path() / "sys", folder.path() / "proc"}, log);
    const auto engine = factory.makeEngine();
    Floor floor(files, folder.path() / "proc/diskstats", "/proc");
    const int times = 66'000 / inputs;
    const auto repeat = [times](const Action& action) {
      return cpuMicroseconds([&] {
               for (int i = 0; i < times; ++i) action();
             }) /
             times;
    };
    const auto fresh = factory.makeStatisticsData();
    printRow(std::to_string(inputs) + " inputs, 2 disks",
             inTurns([] {}, [&] { return repeat([&] { engine->getSensorsInfo(*fresh); }); },
                     [&] {
                       return repeat([&] {
                         floor.readSensors();
                         floor.readDisks();
                       });
                     }));
  }
}

void benchDisks() {
  printHeader("Disk counters, hot", "floor (us)");
  StreamLog log("bench");
  for (const int disks : {4, 40, 400}) {
    const Folder folder;
    const auto files = writeMachine(folder.path(), 1, disks);
    const SensorsEngineFactory factory =
        makeLinuxSensorsEngine({folder.path() / "sys", folder.path() / "proc"}, log);
    const auto engine = factory.makeEngine();
    const auto statistics = factory.makeStatisticsData();
    const auto fresh = factory.makeStatisticsData();
    Floor floor(files, folder.path() / "proc/diskstats", "/proc");
    const auto ours = [&] {
      return cpuMicroseconds([&] {
               for (int i = 0; i < 100; ++i)
                 statistics->populateStatisticsDataFrom(*engine->getSensorsInfo(*fresh));
             }) /
             100;
    };
    const auto other = [&] {
      return cpuMicroseconds([&] {
               for (int i = 0; i < 100; ++i) {
                 floor.readSensors();
                 floor.readDisks();
               }
             }) /
             100;
    };
    printRow(std::to_string(disks) + " disks, 1 input", inTurns([] {}, ours, other));
  }
}

/// Hot, each in a row of its own, so that neither pays for the other's traces in the caches; then cold,
/// compared with the kernel's own listing, which is the floor.
void benchProcesses() {
  printHeader("Listing the processes", "other (us)");
  const std::set<std::string, std::less<>> names;
  for (const int count : {100, 1000, 10'000}) {
    const IdleProcesses processes(count);
    ProcfsProcessManager manager("/proc", names);
    Floor floor({}, "/proc/diskstats", "/proc");
    const auto list = [&] {
      int visited = 0;
      return cpuMicroseconds([&] { manager.enumerateProcesses([&](auto) { ++visited; }); });
    };
    const auto listOnly = [&] { return cpuMicroseconds([&] { floor.listProcesses(); }); };
    const auto ps = [] { return cpuMicrosecondsOfProgram({"ps", "-e", "-o", "pid,comm"}); };
    list();  // a process is looked at twice
    list();
    const std::string what = std::to_string(count) + " more processes, ";
    printRow(what + "hot, ps -e -o pid,comm", {medianOf(list), medianOf(ps)});
    printRow(what + "caches cold, floor", inTurns(evictCaches, list, listOnly));
  }
}

}  // namespace
}  // namespace quorlin::bench

int main(int argc, char** argv) {
  using namespace quorlin::bench;
  if (argc == 3 && std::string_view(argv[1]) == "--write-machine") {
    writeMachine(argv[2], kTypicalInputs, 0);
    return 0;
  }
  if (argc == 2 && actAsChild(argv[1])) return 0;
  if (argc == 2 && std::string_view(argv[1]) == "--child-output") {
    benchChildOutput();
    return 0;
  }
  std::printf("Processor time in microseconds, medians of %d.\n", kRepetitions);
  benchTick(true);
  benchTick(false);
  benchSensors();
  benchDisks();
  benchProcesses();
  benchChildOutput();
}
