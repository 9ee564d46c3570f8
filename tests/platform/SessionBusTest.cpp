#include "fakes/FakeMachine.h"
#include "fakes/PrivateBus.h"
#include "platform/linux/Application.h"
#include "platform/linux/ApplicationNames.h"
#include "platform/linux/NotificationCenter.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(NotificationCenter, CarriesEveryKindOfValue) {
  const PrivateBus daemon;
  const Bus sending = Bus::openSession();
  const Bus receiving = Bus::openSession();
  BusNotificationCenter sender(sending);
  BusNotificationCenter receiver(receiving);
  std::vector<Notification> received;
  const auto observation =
      receiver.addObserver("Sample", [&](const Notification& it) { received.push_back(it); });
  const auto other = receiver.addObserver("Other", [](const Notification&) { FAIL(); });

  const Dictionary userInfo = {
      {"integer", std::numeric_limits<std::int64_t>::min()},
      {"real", 0.1},
      {"flag", true},
      {"text", "Größe °C"},
      {"data", Data{0, 1, 255}},
      {"no data", Data{}},
      {"date", Date(std::chrono::seconds(-5))},
      {"array", Array{1, Array{}, Dictionary{{"inner", "x"}}}},
      {"dictionary", Dictionary{}},
  };
  sender.post("Sample", "Object", userInfo, Delivery::Immediate);
  sender.post("Sample", std::nullopt, {}, Delivery::Default);
  ASSERT_TRUE(runUntil([&] { return received.size() == 2; }));
  EXPECT_EQ(received[0].object, "Object");
  EXPECT_EQ(received[0].userInfo, userInfo);
  EXPECT_EQ(received[1].object, std::nullopt);
  EXPECT_THAT(received[1].userInfo, IsEmpty());
}

TEST(NotificationCenter, DeliversWhatItCannotReadWithoutIt) {
  const PrivateBus daemon;
  const Bus sending = Bus::openSession();
  const Bus receiving = Bus::openSession();
  BusNotificationCenter receiver(receiving);
  std::vector<std::string> objects;
  const auto observation = receiver.addObserver("Sample", [&](const Notification& it) {
    objects.push_back(it.object.value_or("none") + " " + std::to_string(it.userInfo.size()));
  });

  const auto emit = [&](const char* types, auto... values) {
    sd_bus_emit_signal(sending.get(), "/brellwick/DistributedNotificationCenter",
                       "brellwick.DistributedNotificationCenter", "Sample", types, values...);
  };
  emit("");
  emit("u", 7);
  emit("s", "no dictionary");
  emit("sa{sv}", "path", 1, "key", "o", "/an/object/path");
  emit("sa{sv}", "foreign integers", 2, "unsigned", "t", std::uint64_t{1} << 63U, "byte", "y", 7);
  ASSERT_TRUE(runUntil([&] { return objects.size() == 5; }));
  EXPECT_THAT(objects, ElementsAre("none 0", "none 0", "no dictionary 0", "path 0", "foreign integers 2"));
}

TEST(NotificationCenter, ObserverHearsNothingAfterItsObservationEnded) {
  const PrivateBus daemon;
  const Bus bus = Bus::openSession();
  BusNotificationCenter center(bus);
  int ended = 0;
  int lasting = 0;
  auto observation = center.addObserver("Sample", [&](const Notification&) { ++ended; });
  const auto other = center.addObserver("Sample", [&](const Notification&) { ++lasting; });
  observation.reset();
  center.post("Sample", std::nullopt, {}, Delivery::Default);
  ASSERT_TRUE(runUntil([&] { return lasting == 1; }));
  EXPECT_EQ(ended, 0);
}

TEST(ApplicationNames, FollowTheOwnersOnTheBus) {
  const PrivateBus daemon;
  const Bus bus = Bus::openSession();
  const Bus early = Bus::openSession();
  sd_bus_request_name(early.get(), "brellwick.Quorlin", 0);
  sd_bus_request_name(early.get(), "brellwickian.Other", 0);
  const ApplicationNames names(bus);
  EXPECT_THAT(names.names(), ElementsAre("brellwick.Quorlin"));
  {
    const Bus late = Bus::openSession();
    sd_bus_request_name(late.get(), "brellwick.Quorlin-Pro.QuorlinWidget", 0);
    sd_bus_release_name(early.get(), "brellwick.Quorlin");
    ASSERT_TRUE(runUntil([&] { return names.names().contains("brellwick.Quorlin-Pro.QuorlinWidget"); }));
    ASSERT_TRUE(runUntil([&] { return !names.names().contains("brellwick.Quorlin"); }));
  }
  EXPECT_TRUE(runUntil([&] { return names.names().empty(); })) << "a consumer that is killed is gone";
}

struct RecordingDelegate final : ApplicationDelegate {
  std::vector<std::string> calls;
  std::vector<TerminateReply> replies;
  std::function<void()> finished = [] {};

  void applicationWillFinishLaunching() override { calls.emplace_back("will finish"); }
  void applicationDidFinishLaunching() override {
    calls.emplace_back("did finish");
    finished();
  }
  TerminateReply applicationShouldTerminate() override {
    calls.emplace_back("should terminate");
    const TerminateReply reply = replies.empty() ? TerminateReply::Now : replies.back();
    if (!replies.empty()) replies.pop_back();
    return reply;
  }
  bool applicationShouldHandleReopen(const ApplicationEvent& event, bool /*hasVisibleWindows*/) override {
    calls.push_back("reopen " + event.description);
    return false;
  }
};

struct Running {
  explicit Running(std::vector<std::string> arguments = {"program"})
      : application(bus, runLoop, log, "brellwick.Test", std::move(arguments)) {}
  LinuxRunLoop runLoop;
  FakeLog log;
  Bus bus = Bus::openSession();
  BusApplication application;
  RecordingDelegate delegate;
};

TEST(Application, LaunchesAndTerminatesWhenTheDelegateLetsIt) {
  const PrivateBus daemon;
  Running program;
  ASSERT_TRUE(program.application.becomeOnlyInstance());
  program.delegate.replies = {TerminateReply::Now, TerminateReply::Later};
  program.delegate.finished = [&] {
    program.application.terminate();
    std::thread([&] { program.application.terminate(); }).join();
  };
  program.application.run(program.delegate);
  EXPECT_THAT(program.delegate.calls,
              ElementsAre("will finish", "did finish", "should terminate", "should terminate"));
}

/// Starts further instances in a process of their own while the first one runs here.
TEST(Application, ASecondInstanceTellsTheFirstAndLeaves) {
  struct Case {
    std::vector<std::string> arguments;
    std::string heard;
  };
  const Case cases[] = {
      {{"program", "-silent"}, "reopen aevt\\rapp{ }"},
      {{"program"}, "reopen aevt\\rapp{ prdt: desktop-startup-id activation-token }"},
      {{"program", "test://a/b", "test://c"}, "open test://a/b open test://c"},
  };
  for (const Case& with : cases) {
    const PrivateBus daemon;
    Running program;
    ASSERT_TRUE(program.application.becomeOnlyInstance());
    std::string heard;
    program.application.setUrlHandler([&](const std::string& url) {
      heard += (heard.empty() ? "open " : " open ") + url;
      if (heard == with.heard) program.application.terminate();
    });
    pid_t second = 0;
    program.delegate.finished = [&] {
      second = fork();
      if (second == 0) _exit(Running(with.arguments).application.becomeOnlyInstance() ? 1 : 0);
    };
    const std::unique_ptr<Timer> watch = program.runLoop.scheduleTimer(std::chrono::milliseconds(1), [&] {
      if (program.delegate.calls.back().starts_with("reopen")) {
        heard = program.delegate.calls.back();
        program.application.terminate();
      }
    });
    program.application.run(program.delegate);
    int status = -1;
    waitpid(second, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(heard, with.heard);
  }
}

/// Another program in the application's place, which leaves as soon as it is asked for something.
TEST(Application, TakesThePlaceOfAnInstanceThatLeavesInsteadOfAnswering) {
  const PrivateBus daemon;
  std::array<int, 2> ready{};
  ASSERT_EQ(pipe(ready.data()), 0);
  const pid_t leaving = fork();
  if (leaving == 0) {
    const Bus bus = Bus::openSession();
    sd_bus_request_name(bus.get(), "brellwick.Test", 0);
    sd_bus_add_filter(
        bus.get(), nullptr, [](sd_bus_message*, void*, sd_bus_error*) -> int { _exit(0); }, nullptr);
    if (write(ready[1], "x", 1) != 1) _exit(1);
    runUntil([] { return false; });
    _exit(1);
  }
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  close(ready[0]);
  close(ready[1]);
  Running program;
  EXPECT_TRUE(program.application.becomeOnlyInstance());
  int status = -1;
  waitpid(leaving, &status, 0);
  EXPECT_EQ(status, 0);
}

TEST(Application, OpensTheUrlsOfItsOwnArguments) {
  const PrivateBus daemon;
  Running program({"program", "-silent", "test://now"});
  ASSERT_TRUE(program.application.becomeOnlyInstance());
  std::string opened;
  program.application.setUrlHandler([&](const std::string& url) {
    opened = url;
    program.application.terminate();
  });
  program.application.run(program.delegate);
  EXPECT_EQ(opened, "test://now");
}

TEST(Application, EndsCleanlyWithTheBus) {
  PrivateBus daemon;
  Running program;
  ASSERT_TRUE(program.application.becomeOnlyInstance());
  program.delegate.finished = [&] { daemon.stop(); };
  program.application.run(program.delegate);
  EXPECT_THAT(program.log.lines, ElementsAre("the session bus has gone away"));
  EXPECT_EQ(program.delegate.calls.back(), "should terminate");
}

int polls = 0;

gint countedPoll(GPollFD* descriptors, guint count, gint timeout) {
  ++polls;
  return g_poll(descriptors, count, timeout);
}

TEST(Bus, ThatIsQuietLetsTheLoopSleep) {
  const PrivateBus daemon;
  const Bus bus = Bus::openSession();
  LinuxRunLoop runLoop;
  const auto end = runLoop.scheduleTimer(std::chrono::milliseconds(100), [&] { runLoop.stop(); });
  polls = 0;
  g_main_context_set_poll_func(nullptr, countedPoll);
  runLoop.run();
  g_main_context_set_poll_func(nullptr, nullptr);
  EXPECT_LE(polls, 10);
}

TEST(Bus, ThatIsAbsentIsAnErrorWithItsReason) {
  setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus", 1);
  EXPECT_THROW(Bus::openSession(), BusError);
}

}  // namespace
}  // namespace quorlin
