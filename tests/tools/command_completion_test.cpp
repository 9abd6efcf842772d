#include "json/command_completion.h"

#include <gmock/gmock.h>

#include "json/command_json.h"

using testing::Contains;
using testing::Not;

namespace {

using Words = std::vector<std::string>;

}  // namespace

TEST(CommandCompletion, OffersCommandsAndTheirFields) {
  const Words commands{R"(CRq3",)", R"(PCR3",)", R"(Pla3",)", R"(His3",)",
                       R"(Prev",)", R"(ArcR"})", R"(datr"})"};
  const struct {
    const char* text;
    std::size_t typed;
    Words words;
  } cases[] = {
      {"", 0, {"help", R"({"cmd":")"}},
      {"h", 1, {"help"}},
      {"x", 1, {}},
      {"help ", 0, {"CRq3", "PCR3", "Pla3", "His3", "Prev", "ArcR", "datr"}},
      {"  help P", 1, {"PCR3", "Pla3", "Prev"}},
      {"{", 0, {R"("cmd":")"}},
      {R"({"c)", 1, {R"(cmd":")"}},
      {R"({"cmd":")", 0, commands},
      {R"({"cmd" : ")", 0, commands},
      {R"({"cmd":"P)", 1, {R"(PCR3",)", R"(Pla3",)", R"(Prev",)"}},
      {R"({"cmd":"CRq3")", 0, {R"(,"time":)", R"(,"type":)", "}"}},
      {R"({"cmd":"CRq3",)", 0, {R"("time":)", R"("type":)"}},
      {R"({"cmd":"CRq3","t)", 1, {R"(time":)", R"(type":)"}},
      {R"({"cmd":"CRq3","ti)", 2, {R"(time":)"}},
      {R"({"cmd":"CRq3","time":5)", 0, {R"(,"type":)", "}"}},
      {R"({"cmd":"CRq3","time":)", 0, {}},
      {R"({"time":5,"cmd":"CRq3",)", 0, {R"("type":)"}},
      {R"({"cmd":"CRq3","time":5,"type":1)", 0, {"}"}},
      {R"({"cmd":"CRq3"})", 0, {}},
      {R"({"cmd":"none",)", 0, {}},
      {"[", 0, {R"({"cmd":")"}},
      {R"([{"cmd":"CRq3","time":5},{"cmd":"Prev",)", 0, {R"("time":)", R"("endTime":)"}},
      {R"({"a\"b)", 4, {}},
      {R"({"\)", 1, {}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.text);
    const LineCompletion completion = CompleteCommand(row.text);
    EXPECT_EQ(completion.typed, row.typed);
    EXPECT_EQ(completion.words, row.words);
  }
}

TEST(CommandCompletion, LeadsToACommand) {
  for (const CommandHelp& command : HelpOfCommands()) {
    SCOPED_TRACE(command.name);
    EXPECT_NE(command.help, "");
    std::string text = "{\"cmd\":\"" + command.name + "\"";
    for (const CommandField& field : command.fields) {
      EXPECT_NE(field.help, "");
      EXPECT_THAT(CompleteCommand(text).words, Contains(",\"" + field.name + "\":"));
      text += ",\"" + field.name + "\":1";
      EXPECT_THAT(CompleteCommand(text).words, Not(Contains(",\"" + field.name + "\":")));
    }
    EXPECT_THAT(CompleteCommand(text).words, Contains("}"));
    EXPECT_EQ(CommandsFromJson(text + "}").size(), 1U);
  }
}
