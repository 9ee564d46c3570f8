#include "fakes/FakeMachine.h"
#include "probes/SystemInformation.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

Data profileOf(const std::string& items) {
  const std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
      "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\"><array><dict>\n"
      "<key>_SPCommandLineArguments</key><array><string>-nospawn</string></array>\n" +
      items + "</dict><false/></array></plist>\n";
  return {text.begin(), text.end()};
}

std::string item(const std::string& key, const std::string& value) {
  return "<key>" + key + "</key><string>" + value + "</string>";
}

TEST(ProcessorName, IsThatOfTheOneItem) {
  const std::string cpu = item("cpu_type", " Quad-Core  &lt;i7&gt; ");
  const std::string chip = item("chip_type", "Exemplar M1");
  const auto items = [](const std::string& inner) { return "<key>_items</key><array>" + inner + "</array>"; };
  const std::pair<Data, std::string> cases[] = {
      {profileOf(items("<dict>" + cpu + "</dict>")), " Quad-Core  <i7> "},
      {profileOf(items("<dict>" + chip + "</dict>")), "Exemplar M1"},
      {profileOf(items("<dict><key>cpu_type</key><integer>7</integer>" + chip + "</dict>")), "Exemplar M1"},
      {profileOf(items("<dict>" + chip + cpu + "</dict>")), " Quad-Core  <i7> "},
      {profileOf(items("<dict>" + cpu + "</dict><dict>" + chip + "</dict>")), ""},
      {profileOf(items("<dict>" + item("machine_model", "Exemplar1,1") + "</dict>")), ""},
      {profileOf(items("")), ""},
      {profileOf(items("<string>text</string>")), ""},
      {profileOf("<key>_items</key><dict>" + cpu + "</dict>"), ""},
      {profileOf(cpu), ""},
      {Data{'t', 'e', 'x', 't'}, ""},
      {Data{}, ""},
  };
  for (const auto& [profile, name] : cases) {
    EXPECT_EQ(processorNameFromProfile(profile), name) << std::string(profile.begin(), profile.end());
  }
}

TEST(ProcessorName, IsNeverThatOfAnEarlierQuestion) {
  FakeMachine machine;
  machine.tasks.output =
      profileOf("<key>_items</key><array><dict>" + item("cpu_type", "One") + "</dict></array>");
  machine.delegate.askSytemInfo();
  EXPECT_EQ(machine.delegate.processorName(), "One");
  EXPECT_THAT(machine.tasks.command,
              testing::ElementsAre("/bin/sh", "-c", "system_profiler SPHardwareDataType -xml"));
  machine.tasks.output.reset();
  machine.delegate.askSytemInfo();
  EXPECT_EQ(machine.delegate.processorName(), "");
}

}  // namespace
}  // namespace quorlin
