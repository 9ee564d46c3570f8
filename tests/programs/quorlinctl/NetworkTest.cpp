#include "fakes/TemporaryFolder.h"
#include "programs/quorlinctl/commands/ProcessName.h"
#include "programs/quorlinctl/view/NetworkView.h"

#include <gmock/gmock.h>

namespace quorlin {
namespace {

using testing::ElementsAre;

Dictionary record(PropertyList process, PropertyList received, PropertyList sent) {
  return {{"pid", std::move(process)}, {"bytesIn", std::move(received)}, {"bytesOut", std::move(sent)}};
}

TEST(NetworkApplications, OfOneNameAreOneAndTheLargestComesFirst) {
  const auto nameOf = [](std::int32_t process) {
    return process % 2 == 0 ? "Even" : "Odd\x1b[2J of a name that has to be cut";
  };
  const Dictionary answer = {
      {"netapps", Array{record(1, 1'500'000, 10), record(4, 1, 2), "text", record(2, 999'000, 1'000'000),
                        record("6", 1, 2), record(1LL << 32, 1, 2), record(-2, 1, 2),
                        Dictionary{{"pid", 8}, {"bytesIn", 1}}}}};
  const auto applications = networkApplicationsOf(answer, nameOf);
  const auto lines = [&](int columns, Charset charset) {
    return renderApplications(applications, columns, {.charset = charset, .colour = false});
  };
  EXPECT_THAT(lines(70, Charset::Ascii),
              ElementsAre("Application                              Process   Received       Sent",
                          "Even                                 2 processes     999 kB    1.00 MB",
                          "Odd?[2J of a name that has to be.              1    1.50 MB       10 B"));
  EXPECT_EQ(lines(50, Charset::Ascii).at(1), "Even                             999 kB    1.00 MB");
  EXPECT_EQ(lines(30, Charset::Ascii).at(1), "Even                    999 kB");
  EXPECT_EQ(lines(200, Charset::Ascii), lines(80, Charset::Ascii));
  for (const int columns : {0, 1, 11}) {
    for (const std::string& line : lines(columns, Charset::Ascii)) EXPECT_LE(line.size(), columns) << line;
  }
  EXPECT_EQ(renderApplications(networkApplicationsOf({{"netapps", "none"}}, nameOf), 80, {}).size(), 2U);
}

TEST(ProcessName, IsTheApplicationsElseTheProcesssOwn) {
  const TemporaryFolder folder;
  folder.write("data/applications/org.example.Web.desktop", "[Desktop Entry]\nName=Web\nName[de]=Netz\n");
  setenv("XDG_DATA_HOME", (folder.path() / "data").c_str(), 1);
  setenv("LANGUAGE", "de", 1);
  const std::string unit = "0::/user.slice/user@1000.service/app.slice/app-gnome-";
  folder.write("1/cgroup", unit + "org.example.Web-1.scope\n");
  folder.write("1/comm", "Socket Process\n");
  folder.write("2/cgroup", unit + "org.example.Unknown-2.scope\n");
  folder.write("2/comm", "a-program-with-\n");
  std::filesystem::create_symlink("/opt/a-program-with-a-long-name (deleted)", folder.path() / "2/exe");
  folder.write("3/comm", "py\n");
  std::filesystem::create_symlink("/usr/bin/python3", folder.path() / "3/exe");
  const SystemRoots roots{.sysfs = {}, .procfs = folder.path()};
  EXPECT_EQ(nameOfProcess(1, roots), "Netz");
  EXPECT_EQ(nameOfProcess(2, roots), "a-program-with-a-long-name");
  EXPECT_EQ(nameOfProcess(3, roots), "py");
  EXPECT_EQ(nameOfProcess(4, roots), "?") << "has ended";
  unsetenv("XDG_DATA_HOME");
  unsetenv("LANGUAGE");
}

}  // namespace
}  // namespace quorlin
