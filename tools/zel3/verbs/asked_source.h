#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "json/json_line.h"
#include "output/output_style.h"
#include "sources/given_sources.h"
#include "system/notices.h"

// One of the timelines that a verb answers for, and how its answer is printed: as it is where the
// user has asked for one; where there are more it says which one it is of.
class AskedSource {
 public:
  // What all answers of one call share.
  struct Frame {
    bool areMany = false;
    bool isJsonList = false;
    bool hasHeadings = false;  // of comma-separated values
    std::size_t answers = 0;   // that have been begun
  };

  // Borrows both.
  AskedSource(const GivenSource& given, Frame* frame) : mGiven(given), mFrame(*frame) {}

  const GivenSource& Given() const { return mGiven; }
  bool IsOneOfMany() const { return mFrame.areMany; }

  // Tells the user something about the source.
  void Tell(const std::string& notice) const;
  // The same as a function, which is valid as long as this object.
  OnNotice Teller() const;

  // Prints the heading that an answer for people has among others. REQUIRES: called once at most,
  // before all else of the answer.
  void BeginText();
  // Prints the answer as one JSON object. REQUIRES: called once at most.
  void PrintJson(const Json& answer);
  // The same for one whose members the caller prints in between, one or more of them.
  void BeginJson();
  void EndJson();

  // Prints a JSON object on a line of its own.
  void PrintJsonRow(const Json& row);
  // Prints rows as comma-separated values. The first row are the headings, which are printed once
  // for all sources.
  void PrintCsv(const std::vector<std::vector<std::string>>& rows);

 private:
  void BeginMember();
  Json WithSource(const Json& object) const;

  const GivenSource& mGiven;
  Frame& mFrame;
};

// Asks for the answer of each source, one after the other: `answer` prints it and gives its exit
// code. One that fails costs its own answer only, and the user is told. Gives the exit code of all:
// failed, else damaged, else done; nothing, when all of them are. Throws Failure when the user
// interrupts, when nothing more can be printed, for usage errors, and what `answer` throws when
// there is only one source.
int AnswerForEach(const SourceArguments& arguments, OutputFormat format,
                  const std::function<int(AskedSource*)>& answer);

// The same for a verb that has one answer only. Throws a usage error, which begins with `what`,
// when what the user asks for are several timelines.
int AnswerForOne(const SourceArguments& arguments, const std::string& what,
                 const std::function<int(AskedSource*)>& answer);
