#include "fakes/TemporaryFolder.h"
#include "platform/linux/processes/Task.h"
#include "platform/linux/system/System.h"
#include "platform/values/Utf8.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorlin {
namespace {

TEST(System, NameIsThePrettyHostNameAsItIsQuoted) {
  std::array<char, 65> host{};
  gethostname(host.data(), host.size() - 1);
  const std::string plain = host.data();
  const std::pair<const char*, std::string> cases[] = {
      {"PRETTY_HOSTNAME=\"Ann's laptop\"\n", "Ann's laptop"},
      {"# name\nICON_NAME=computer\n  PRETTY_HOSTNAME='a \\b'\r\n", "a \\b"},
      {"PRETTY_HOSTNAME=\"say \\\"hi\\\" \\$5\"", "say \"hi\" $5"},
      {"PRETTY_HOSTNAME=first\nPRETTY_HOSTNAME=second\n", "second"},
      {"PRETTY_HOSTNAME=\n", plain},
      {"PRETTY_HOSTNAME=\"\xFF\"\n", plain},
      {"XPRETTY_HOSTNAME=no\nPRETTY_HOSTNAMES=no\n#PRETTY_HOSTNAME=no\n", plain},
      {"", plain},
  };
  for (const auto& [contents, name] : cases) {
    const TemporaryFolder folder;
    EXPECT_EQ(LinuxSystem(folder.write("machine-info", contents)).localizedHostName(), name) << contents;
  }
  EXPECT_EQ(LinuxSystem("/nonexistent").localizedHostName(), plain);
}

TEST(Utf8, IsToldFromOtherBytes) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"plain", "plain"},
      {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8C\xA1", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8C\xA1"},
      {"a\xFF"
       "b",
       "a\uFFFD"
       "b"},
      {"\xC3", "\uFFFD"},
      {"\xC0\xAF", "\uFFFD\uFFFD"},
      {"\xE0\x80\xAF", "\uFFFD\uFFFD\uFFFD"},
      {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
      {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xE2\x82x", "\uFFFD\uFFFDx"},
  };
  for (const auto& [bytes, clean] : cases) {
    EXPECT_EQ(withoutMalformedUtf8(bytes), clean);
    EXPECT_EQ(isUtf8(bytes), bytes == clean);
  }
}

std::string text(const std::optional<Data>& output) {
  return output ? std::string(output->begin(), output->end()) : "not started";
}

TEST(Task, CapturesAllOfTheOutput) {
  LinuxTaskLauncher launcher;
  EXPECT_EQ(text(launcher.standardOutputOf("/bin/sh",
                                           {"-c", "printf '%s|' \"$@\"; exit 3", "sh", "a b", "", "c\nd"})),
            "a b||c\nd|");
  EXPECT_EQ(launcher.standardOutputOf("/bin/sh", {"-c", "head -c 3000000 /dev/zero"})->size(), 3'000'000U);
  EXPECT_EQ(text(launcher.standardOutputOf("/bin/sh", {"-c", "kill -9 $$"})), "");
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child was not waited for";
}

TEST(Task, RunsTheCommandsThatLinuxLacksFromTheBundleAlone) {
  const TemporaryFolder folder;
  const auto script = [&](const std::string& file) {
    std::filesystem::permissions(folder.write(file, "#!/bin/sh\necho bundled \"$@\"\n"),
                                 std::filesystem::perms::owner_all);
  };
  script("the bundle/nettop");
  script("the bundle/system_profiler");
  const std::string bundle = folder.path() / "the bundle";
  LinuxTaskLauncher launcher(bundle);
  EXPECT_EQ(text(launcher.standardOutputOf("/usr/bin/nettop", {"-a b"})), "bundled -a b\n");
  EXPECT_EQ(text(launcher.standardOutputOf("/bin/sh", {"-c", "system_profiler x; echo $PATH $HOME"})),
            "bundled x\n" + bundle + ":" + getenv("PATH") + " " + getenv("HOME") + "\n");
  EXPECT_EQ(launcher.standardOutputOf("/usr/local/bin/nettop", {}), std::nullopt) << "another was meant";

  script("a:b/nettop");
  for (const std::filesystem::path& odd : {folder.path() / "a:b", std::filesystem::path()}) {
    EXPECT_EQ(text(LinuxTaskLauncher(odd).standardOutputOf("/usr/bin/nettop", {})),
              odd.empty() ? "not started" : "bundled\n");
    EXPECT_EQ(text(LinuxTaskLauncher(odd).standardOutputOf("/bin/sh", {"-c", "echo $PATH"})),
              getenv("PATH") + std::string("\n"));
  }
}

TEST(Task, SaysWhenAProgramCannotBeStarted) {
  LinuxTaskLauncher launcher;
  for (const char* path : {"/nonexistent", "/", "/etc/hostname"}) {
    EXPECT_EQ(launcher.standardOutputOf(path, {}), std::nullopt) << path;
  }
}

}  // namespace
}  // namespace quorlin
