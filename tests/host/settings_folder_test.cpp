#include "host/settings_folder.h"

#include <gmock/gmock.h>

#include "host/host_settings.h"
#include "support/environment_value.h"

namespace {

struct Case {
  const char* configHome;
  const char* home;
  const char* expected;
};

TEST(SettingsFolder, ComesFromTheEnvironmentByDefault) {
  const Case cases[] = {
      {"/etc/own", "/home/someone", "/etc/own"},
      {"/etc/own/", "/home/someone", "/etc/own"},
      {"relative/own", "/home/someone", "/home/someone/.config"},
      {"", "/home/someone", "/home/someone/.config"},
      {nullptr, "/home/someone", "/home/someone/.config"},
      {nullptr, "relative", ""},
      {nullptr, "", ""},
      {nullptr, nullptr, ""},
  };
  for (const Case& tested : cases) {
    const EnvironmentValue configHome("XDG_CONFIG_HOME", tested.configHome);
    const EnvironmentValue home("HOME", tested.home);
    EXPECT_EQ(settings_folder::Get(), tested.expected)
        << "XDG_CONFIG_HOME " << (tested.configHome == nullptr ? "unset" : tested.configHome)
        << ", HOME " << (tested.home == nullptr ? "unset" : tested.home);
  }
}

TEST(SettingsFolder, IsTheOneInForce) {
  const HostSettings settings{"/srv/settings//", ""};
  const SettingsInForce inForce(settings);
  EXPECT_EQ(settings_folder::Get(), "/srv/settings");
}

TEST(SettingsFolder, GoesBackToTheOneBefore) {
  const EnvironmentValue configHome("XDG_CONFIG_HOME", "/etc/own");
  const HostSettings outer{"/srv/outer", ""};
  const HostSettings inner{"/srv/inner", ""};
  const HostSettings none;
  {
    const SettingsInForce outerInForce(outer);
    {
      const SettingsInForce innerInForce(inner);
      EXPECT_EQ(settings_folder::Get(), "/srv/inner");
    }
    EXPECT_EQ(settings_folder::Get(), "/srv/outer");
    const SettingsInForce noneInForce(none);
    EXPECT_EQ(settings_folder::Get(), "/etc/own") << "not the outer one";
  }
  EXPECT_EQ(settings_folder::Get(), "/etc/own");
}

}  // namespace
