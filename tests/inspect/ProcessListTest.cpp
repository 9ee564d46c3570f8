#include "fakes/FakeMachine.h"
#include "inspect/ProcessList.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;

Data bytes(std::string_view text) { return {text.begin(), text.end()}; }

TEST(ProcessList, HasOneEntryAProcessInOrder) {
  FakeMachine machine;
  machine.processes.processes = {std::nullopt, "org.example.One", std::nullopt, "org.example.One"};
  EXPECT_THAT(machine.delegate.getCarbonProcessList(),
              ElementsAre("(null)", "org.example.One", "(null)", "org.example.One"));
}

TEST(ProcessorShare, IsTheNumberInTheSecondLine) {
  const std::pair<std::string_view, float> cases[] = {
      {"%CPU\n12.5\n", 12.5F}, {"%CPU\n 0.3", 0.3F},   {"%CPU\n", 0.0F},
      {"%CPU\nnone\n", 0.0F},  {"%CPU\ninf\n", 0.0F},  {"%CPU\nnan\n", 0.0F},
      {"%CPU\n\n7\n", 0.0F},   {"%CPU", -1.0F},        {"", -1.0F},
      {"%CPU\n\xFF\n", -1.0F}, {"%CPU\n250,5\n", 250}, {"%CPU\n1.5abc", 1.5F},
      {"%CPU\n+2.5\n", 2.5F},  {"%CPU\n-1\n", -1.0F},  {"%CPU\n.5e1\n", 5.0F},
      {"%CPU\n1e99\n", 0.0F},  {"%CPU\n\t 4\n", 4.0F}, {"%CPU\n-inf\n", 0.0F}};
  for (const auto& [output, share] : cases)
    EXPECT_EQ(processorShareFromPsOutput(bytes(output)), share) << output;
}

TEST(ProcessorShare, AsksPsThroughTheShell) {
  FakeMachine machine;
  EXPECT_EQ(machine.delegate.askSystemPS(123), 0.0F) << "ps could not be started";
  EXPECT_THAT(machine.tasks.command, ElementsAre("/bin/sh", "-c", "ps -p 123 -o %cpu"));
  machine.tasks.output = bytes("");
  EXPECT_EQ(machine.delegate.askSystemPS(123), -1.0F);
}

}  // namespace
}  // namespace quorlin
