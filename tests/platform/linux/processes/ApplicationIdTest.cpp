#include "platform/linux/processes/ApplicationId.h"

#include <gtest/gtest.h>

namespace quorlin {
namespace {

TEST(ApplicationId, StandsInTheNameOfAnApplicationsUnit) {
  const std::pair<const char*, std::optional<std::string>> cases[] = {
      {"app-gnome-org.gnome.Terminal-2417.scope", "org.gnome.Terminal"},
      {"app-org.kde.konsole-2417.scope", "org.kde.konsole"},
      {"app-flatpak-org.example.App-99.scope", "org.example.App"},
      {"app-gnome-brellwick.Quorlin\\x2dPro-7.scope", "brellwick.Quorlin-Pro"},
      {"app-brellwick.Quorlin-4.service", "brellwick.Quorlin"},
      {"app-gnome-brellwick.Quorlin-4.service", "brellwick.Quorlin"},
      {"app-brellwick.Quorlin.service", "brellwick.Quorlin"},
      {"app-gnome-brellwick.Quorlin.service", "brellwick.Quorlin"},
      {"app-brellwick.Quorlin@0a1b.service", "brellwick.Quorlin"},
      {"app-gnome-brellwick.Quorlin@autostart.service", "brellwick.Quorlin"},
      {"app-org.example.a\\x5cb-1.scope", "org.example.a\\b"},
      {"app-org.example.\\x2-1.scope", "org.example.\\x2"},
      {"app-org.example.\\xzz-1.scope", "org.example.\\xzz"},
      {"app-org.example.\\x00-1.scope", "org.example.\\x00"},
      {"app-org.example.\\xff-1.scope", std::nullopt},
      {"app-a-b-c-1.scope", std::nullopt},
      {"app-.scope", std::nullopt},
      {"app--1.scope", std::nullopt},
      {"app-org.example.One-1.slice", std::nullopt},
      {"session-2.scope", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& [unit, id] : cases) EXPECT_EQ(applicationIdOfUnit(unit), id) << unit;
}

TEST(ApplicationId, IsTakenFromTheInnermostUnitOfSystemdsHierarchy) {
  const std::string slice = "/user.slice/user-1000.slice/user@1000.service/app.slice";
  const std::string unit = slice + "/app-org.example.One-1.scope";
  const std::pair<std::string, std::optional<std::string>> cases[] = {
      {"0::" + unit + "\n", "org.example.One"},
      {"0::" + unit, "org.example.One"},
      {"0::" + unit + "/tab(3)/deep\n", "org.example.One"},
      {"0::" + unit + "/app-org.example.Two-2.scope\n", "org.example.Two"},
      {"5:cpu:/\n1:name=systemd:" + unit + "\n0::/\n", "org.example.One"},
      {"3:memory:" + unit + "\n0::/\n", std::nullopt},
      {"0::/a:b" + unit + "\n", "org.example.One"},
      {"0::" + slice + "\n", std::nullopt},
      {"0::/app-\n", std::nullopt},
      {"/app-", std::nullopt},
      {":/app-org.example.One-1.scope", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& [groups, id] : cases) EXPECT_EQ(applicationIdOfControlGroups(groups), id) << groups;
}

}  // namespace
}  // namespace quorlin
