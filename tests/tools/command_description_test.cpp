#include "command_line/command_description.h"

#include <gmock/gmock.h>

#include <CLI/CLI.hpp>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

ArgumentDescription Taking(const std::string& value) {
  ArgumentDescription argument;
  argument.value = value;
  return argument;
}

}  // namespace

TEST(CommandDescription, TellsWhatAnAppOffers) {
  CLI::App app("", "zel3");
  std::string text;
  bool flag = false;
  app.add_option("--folder", text, "where to look")->type_name("PATH");
  CLI::App* const verb = app.add_subcommand("grep", "look for texts");
  verb->add_option("SOURCE", text, "an archive")->required()->type_name("PATH");
  verb->add_option("TIME", text);
  verb->add_flag("-v,--invert", flag, "the others");
  verb->add_option_function<std::vector<std::string>>("--type", [](const auto&) {});

  const CommandDescription described = DescribeApp(app);
  ASSERT_EQ(described.options.size(), 2U);
  EXPECT_THAT(described.options[0].names, ElementsAre("--help", "-h"));
  EXPECT_THAT(described.options[1].names, ElementsAre("--folder"));
  EXPECT_EQ(described.options[1].help, "where to look");
  EXPECT_EQ(described.options[1].value, "PATH");

  ASSERT_EQ(described.verbs.size(), 1U);
  EXPECT_EQ(described.verbs[0].name, "grep");
  EXPECT_EQ(described.verbs[0].help, "look for texts");
  const auto& positionals = described.verbs[0].positionals;
  ASSERT_EQ(positionals.size(), 2U);
  EXPECT_THAT(positionals[0].names, ElementsAre("SOURCE"));
  EXPECT_TRUE(positionals[0].isRequired);
  EXPECT_THAT(positionals[1].names, ElementsAre("TIME"));
  EXPECT_FALSE(positionals[1].isRequired);
  const auto& options = described.verbs[0].options;
  ASSERT_EQ(options.size(), 2U);
  EXPECT_THAT(options[0].names, ElementsAre("--invert", "-v"));
  EXPECT_FALSE(options[0].TakesValue());
  EXPECT_THAT(options[1].names, ElementsAre("--type"));
  EXPECT_TRUE(options[1].TakesValue());
  EXPECT_TRUE(options[1].mayBeRepeated);
  EXPECT_FALSE(positionals[0].mayBeRepeated);
}

TEST(CommandDescription, PartsOfAValueWithoutCapitalLettersAreChoices) {
  EXPECT_THAT(Taking("text|json").Choices(), ElementsAre("text", "json"));
  EXPECT_THAT(Taking("1|2").Choices(), ElementsAre("1", "2"));
  EXPECT_THAT(Taking("all|none|NUMBER").Choices(), ElementsAre("all", "none"));
  EXPECT_THAT(Taking("NUMBER").Choices(), IsEmpty());
  EXPECT_THAT(Taking("").Choices(), IsEmpty());
}

TEST(CommandDescription, APathIsToldFromOtherValues) {
  EXPECT_TRUE(Taking("PATH").TakesPath());
  EXPECT_FALSE(Taking("TIME").TakesPath());
  EXPECT_FALSE(Taking("text|json").TakesPath());
}
