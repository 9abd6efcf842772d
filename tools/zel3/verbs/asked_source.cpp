#include "verbs/asked_source.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <optional>
#include <utility>

#include "output/notice.h"
#include "output/standard_output.h"
#include "output/tables.h"
#include "system/failure.h"
#include "text/shown_text.h"

namespace {

// Whether the failure ends the whole verb.
bool EndsAll(const Failure& failure) {
  return failure.Code() == kExitUsage || failure.Code() == kExitInterrupted;
}

constexpr char kListBegins[] = R"({"sources":[)";

// From what matters most to what matters least.
constexpr int kByWeight[] = {kExitFailed, kExitDamaged, kExitDone, kExitNothing};

int Weightier(int one, int other) {
  return *std::find_if(std::begin(kByWeight), std::end(kByWeight) - 1,
                       [one, other](int code) { return code == one || code == other; });
}

class Answers {
 public:
  // `mayBeMany`: answers say which source they are for.
  Answers(FoundSources found, bool mayBeMany, OutputFormat format) : mFound(std::move(found)) {
    mFrame.areMany = mayBeMany && mFound.areMany;
    mFrame.isJsonList = mFrame.areMany && format == OutputFormat::kJson;
  }

  int Ask(const std::function<int(AskedSource*)>& answer) {
    for (const SourceProblem& problem : mFound.problems) {
      PrintNotice(problem.text);
      Add(problem.exitCode);
    }
    for (const GivenSource& source : mFound.sources) {
      AskedSource asked(source, &mFrame);
      const bool isAll = !mFrame.areMany && mFound.problems.empty();
      Add(isAll ? answer(&asked) : OneOfSome(answer, &asked));
    }
    if (mFrame.isJsonList) std::cout << (mFrame.answers == 0 ? kListBegins : "") << "]}\n";
    return mExitCode.value_or(kExitFailed);
  }

 private:
  void Add(int exitCode) { mExitCode = mExitCode ? Weightier(*mExitCode, exitCode) : exitCode; }

  static int OneOfSome(const std::function<int(AskedSource*)>& answer, AskedSource* asked) {
    try {
      const int exitCode = answer(asked);
      CheckStandardOutput();
      return exitCode;
    } catch (const Failure& failure) {
      if (EndsAll(failure)) throw;
      CheckStandardOutput();
      asked->Tell(failure.what());
      return failure.Code();
    }
  }

  const FoundSources mFound;
  AskedSource::Frame mFrame;
  std::optional<int> mExitCode;
};

}  // namespace

void AskedSource::Tell(const std::string& notice) const {
  // Some notices name the source themselves.
  const bool isNamed = notice.find(mGiven.path) != std::string::npos;
  PrintNotice(IsOneOfMany() && !isNamed ? mGiven.path + ": " + notice : notice);
}

OnNotice AskedSource::Teller() const {
  return [this](const std::string& notice) { Tell(notice); };
}

void AskedSource::BeginText() {
  const bool isFirst = mFrame.answers++ == 0;
  if (IsOneOfMany()) std::cout << (isFirst ? "" : "\n") << Escaped(mGiven.path) << '\n';
}

// Prints what comes between answers, or before the first one.
void AskedSource::BeginMember() {
  const bool isFirst = mFrame.answers++ == 0;
  if (mFrame.isJsonList) std::cout << (isFirst ? kListBegins : ",");
}

void AskedSource::BeginJson() {
  BeginMember();
  std::cout << '{';
  if (IsOneOfMany()) std::cout << R"("source":)" << JsonText(mGiven.path) << ',';
}

void AskedSource::EndJson() {
  std::cout << (IsOneOfMany() ? "}" : "}\n");
}

Json AskedSource::WithSource(const Json& object) const {
  if (!IsOneOfMany()) return object;
  Json whole;
  whole["source"] = mGiven.path;
  whole.update(object);
  return whole;
}

void AskedSource::PrintJson(const Json& answer) {
  BeginMember();
  std::cout << JsonText(WithSource(answer));
  if (!IsOneOfMany()) std::cout << '\n';
}

void AskedSource::PrintJsonRow(const Json& row) {
  PrintJsonLine(WithSource(row));
}

void AskedSource::PrintCsv(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::vector<std::string>> shown;
  for (std::size_t i = mFrame.hasHeadings ? 1 : 0; i < rows.size(); ++i) {
    std::vector<std::string> row = rows[i];
    if (IsOneOfMany()) row.insert(row.begin(), i == 0 ? "source" : Escaped(mGiven.path));
    shown.push_back(std::move(row));
  }
  mFrame.hasHeadings = true;
  ::PrintCsv(shown);
}

int AnswerForEach(const SourceArguments& arguments, OutputFormat format,
                  const std::function<int(AskedSource*)>& answer) {
  return Answers(FindSources(arguments), true, format).Ask(answer);
}

int AnswerForOne(const SourceArguments& arguments, const std::string& what,
                 const std::function<int(AskedSource*)>& answer) {
  FoundSources found = FindSources(arguments);
  const std::size_t count = found.sources.size();
  if (count > 1) {
    throw Failure(what + " takes one timeline, but these are " + std::to_string(count) +
                      "; --merge makes one of them",
                  kExitUsage);
  }
  return Answers(std::move(found), false, OutputFormat::kText).Ask(answer);
}
