#include "host/settings_folder.h"

#include <gmock/gmock.h>

#include "support/environment_value.h"

namespace {

class SettingsFolder : public testing::Test {
 protected:
  void TearDown() override { settings_folder::Set(""); }

  const EnvironmentValue mHome{"HOME", "/home/someone"};
};

struct Case {
  const char* configHome;
  const char* home;
  const char* expected;
};

TEST_F(SettingsFolder, ComesFromTheEnvironmentByDefault) {
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

TEST_F(SettingsFolder, IsTheOneThatWasSet) {
  settings_folder::Set("/srv/settings//");
  EXPECT_EQ(settings_folder::Get(), "/srv/settings");
}

TEST_F(SettingsFolder, GoesBackToTheDefault) {
  const EnvironmentValue configHome("XDG_CONFIG_HOME", "/etc/own");
  settings_folder::Set("/srv/settings");
  settings_folder::Set("");
  EXPECT_EQ(settings_folder::Get(), "/etc/own");
}

}  // namespace
