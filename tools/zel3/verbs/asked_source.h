#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "json/json_line.h"
#include "output/output_style.h"
#include "sources/given_sources.h"
#include "system/notices.h"

// One of the timelines that a verb answers for, and how its answer is printed: as it is when the
// user has asked for one timeline; otherwise it also says which timeline it is for.
class AskedSource {
 public:
  // What all answers of one call share.
  struct Frame {
    bool areMany = false;
    bool isJsonList = false;
    bool hasHeadings = false;  // of comma-separated values
    std::size_t answers = 0;   // begun so far
  };

  // Borrows both arguments.
  AskedSource(const GivenSource& given, Frame* frame) : mGiven(given), mFrame(*frame) {}

  const GivenSource& Given() const { return mGiven; }
  bool IsOneOfMany() const { return mFrame.areMany; }

  // Tells the user something about the source.
  void Tell(const std::string& notice) const;
  // The same as a function, valid as long as this object.
  OnNotice Teller() const;

  // Prints the heading that an answer for people has when there are several. REQUIRES: called once
  // at most, before anything else of the answer.
  void BeginText();
  // Prints the answer as one JSON object. REQUIRES: called once at most.
  void PrintJson(const Json& answer);
  // The same for an object whose members, at least one, the caller prints in between.
  void BeginJson();
  void EndJson();

  // Prints a JSON object on a line of its own.
  void PrintJsonRow(const Json& row);
  // Prints rows as comma-separated values. The first row has the headings, which are printed once
  // for all sources.
  void PrintCsv(const std::vector<std::vector<std::string>>& rows);

 private:
  void BeginMember();
  Json WithSource(const Json& object) const;

  const GivenSource& mGiven;
  Frame& mFrame;
};

// Has each source answered, one after the other: `answer` prints the answer and returns its exit
// code. A source that fails costs only its own answer, and the user is told. Returns the exit code
// for all: failed, else damaged, else done; nothing, if that is what all of them are. Throws
// Failure when the user interrupts, when nothing more can be printed, and for usage errors; with
// only one source, also whatever `answer` throws.
int AnswerForEach(const SourceArguments& arguments, OutputFormat format,
                  const std::function<int(AskedSource*)>& answer);

// The same for a verb that gives only one answer. Throws a usage error, which begins with `what`,
// when the user asks for several timelines.
int AnswerForOne(const SourceArguments& arguments, const std::string& what,
                 const std::function<int(AskedSource*)>& answer);
