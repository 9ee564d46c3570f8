#include "fakes/FakeLog.h"
#include "fakes/PrivateBus.h"
#include "platform/linux/bus/NotificationCenter.h"
#include "platform/linux/desktop/Application.h"
#include "platform/linux/desktop/ApplicationNames.h"
#include "platform/linux/loop/BusSource.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct NotificationCenterTest : testing::Test {
  const PrivateBus daemon;
  const Bus sending = Bus::openSession();
  const Bus receiving = Bus::openSession();
  const BusSource sendingSource{sending};
  const BusSource receivingSource{receiving};
  BusNotificationCenter sender{sending};
  BusNotificationCenter receiver{receiving};
  std::vector<Notification> received;
  std::unique_ptr<Observation> observation =
      receiver.addObserver("Sample", [this](const Notification& it) { received.push_back(it); });
};

TEST_F(NotificationCenterTest, CarriesEveryKindOfValue) {
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

TEST_F(NotificationCenterTest, DeliversWhatItCannotReadWithoutIt) {
  const auto emit = [&](const char* types, auto... values) {
    sd_bus_emit_signal(sending.get(), "/brellwick/DistributedNotificationCenter",
                       "brellwick.DistributedNotificationCenter", "Sample", types, values...);
  };
  emit("");
  emit("u", 7);
  emit("s", "no dictionary");
  emit("sa{sv}", "path", 1, "key", "o", "/an/object/path");
  emit("sa{sv}", "foreign integers", 2, "unsigned", "t", std::uint64_t{1} << 63U, "byte", "y", 7);
  ASSERT_TRUE(runUntil([&] { return received.size() == 5; }));
  std::vector<std::string> texts;
  for (const Notification& it : received)
    texts.push_back(it.object.value_or("none") + " " + std::to_string(it.userInfo.size()));
  EXPECT_THAT(texts, ElementsAre("none 0", "none 0", "no dictionary 0", "path 0", "foreign integers 2"));
}

TEST_F(NotificationCenterTest, ObserverHearsNothingAfterItsObservationEnded) {
  bool isHeard = false;
  const auto lasting = receiver.addObserver("Sample", [&](const Notification&) { isHeard = true; });
  observation.reset();
  sender.post("Sample", std::nullopt, {}, Delivery::Default);
  ASSERT_TRUE(runUntil([&] { return isHeard; }));
  EXPECT_THAT(received, IsEmpty());
}

TEST(ApplicationNames, FollowTheOwnersOnTheBus) {
  const PrivateBus daemon;
  const Bus bus = Bus::openSession();
  const Bus early = Bus::openSession();
  sd_bus_request_name(early.get(), "brellwick.Quorlin", 0);
  sd_bus_request_name(early.get(), "brellwickian.Other", 0);
  const BusSource source(bus);
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
  std::function<void(const std::string&)> reopened = [](const std::string&) {};

  void applicationWillFinishLaunching() override { calls.emplace_back("will finish"); }
  void applicationDidFinishLaunching() override {
    calls.emplace_back("did finish");
    finished();
  }
  TerminateReply applicationShouldTerminate() override {
    calls.emplace_back("should terminate");
    if (replies.empty()) return TerminateReply::Now;
    const TerminateReply reply = replies.back();
    replies.pop_back();
    return reply;
  }
  bool applicationShouldHandleReopen(const ApplicationEvent& event, bool /*hasVisibleWindows*/) override {
    reopened("reopen " + event.description);
    return false;
  }
};

struct Running {
  explicit Running(std::vector<std::string> arguments = {"program"})
      : application(bus, busSource, runLoop, log, "brellwick.Test", std::move(arguments)) {}
  LinuxRunLoop runLoop;
  FakeLog log;
  const Bus bus = Bus::openSession();
  BusSource busSource{bus};
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
TEST(Application, OpensItsUrlsAndHearsWhatFurtherInstancesWereStartedFor) {
  using Texts = std::vector<std::string>;
  const struct {
    std::vector<Texts> starts;
    Texts heard;
  } cases[] = {
      {{{"program", "-silent"}, {"program"}}, {"test://own", "reopen aevt\\rapp{ prdt }"}},
      {{{"program", "test://a/b", "test://c"}}, {"test://own", "test://a/b", "test://c"}},
  };
  for (const auto& with : cases) {
    const PrivateBus daemon;
    Running program({"program", "-silent", "test://own"});
    ASSERT_TRUE(program.application.becomeOnlyInstance());
    Texts heard;
    const auto hear = [&](const std::string& text) {
      heard.push_back(text);
      if (heard.size() == with.heard.size()) program.application.terminate();
    };
    program.application.setUrlHandler(hear);
    program.delegate.reopened = hear;
    pid_t second = 0;
    program.delegate.finished = [&] {
      second = fork();
      if (second != 0) return;
      const auto becomesOnly = [](const Texts& arguments) {
        return Running(arguments).application.becomeOnlyInstance();
      };
      _exit(std::ranges::any_of(with.starts, becomesOnly) ? 1 : 0);
    };
    program.application.run(program.delegate);
    int status = -1;
    waitpid(second, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(heard, with.heard);
  }
}

TEST(Application, OpensAUrlThatCameBeforeItRanAlsoIfLaunchingAsksToEnd) {
  const PrivateBus daemon;
  Running program;
  ASSERT_TRUE(program.application.becomeOnlyInstance());
  const Bus other = Bus::openSession();
  const BusMessage open =
      methodCall(other.get(), {"brellwick.Test", "/brellwick/Test", "org.freedesktop.Application"}, "Open");
  sd_bus_message_append(open.get(), "asa{sv}", 1, "test://early", 0);
  sd_bus_send(other.get(), open.get(), nullptr);
  namesOn(other);        // the bus has the call before this answer,
  namesOn(program.bus);  // and the program has it before this one
  std::vector<std::string> heard;
  program.application.setUrlHandler([&](const std::string& url) { heard.push_back(url); });
  program.delegate.replies = {TerminateReply::Now};
  program.delegate.finished = [&] { program.application.terminate(); };
  program.application.run(program.delegate);
  EXPECT_THAT(heard, ElementsAre("test://early"));
}

TEST(Application, TakesThePlaceOfAnInstanceThatLeavesInsteadOfAnswering) {
  const PrivateBus daemon;
  std::optional<Bus> other = Bus::openSession();
  sd_bus_request_name(other->get(), "brellwick.Test", 0);
  while (sd_bus_process(other->get(), nullptr) > 0) {
  }
  const std::jthread leaving([&] {
    sd_bus_wait(other->get(), UINT64_MAX);
    other.reset();
  });
  EXPECT_TRUE(Running().application.becomeOnlyInstance());
}

int polls = 0;

gint countedPoll(GPollFD* descriptors, guint count, gint timeout) {
  ++polls;
  return g_poll(descriptors, count, timeout);
}

TEST(Bus, ThatIsQuietLetsTheLoopSleep) {
  const PrivateBus daemon;
  const Bus bus = Bus::openSession();
  const BusSource source(bus);
  LinuxRunLoop runLoop;
  const auto end = runLoop.scheduleTimer(std::chrono::milliseconds(100), [&] { runLoop.stop(); });
  polls = 0;
  g_main_context_set_poll_func(nullptr, countedPoll);
  runLoop.run();
  g_main_context_set_poll_func(nullptr, nullptr);
  EXPECT_LE(polls, 10);
}

}  // namespace
}  // namespace quorlin
