#include "verbs/read.h"

#include <unistd.h>

#include <iostream>

#include "client/archive_client.h"
#include "client/entry_walk.h"
#include "client/recorded_gap.h"
#include "json/json_line.h"
#include "output/notice.h"
#include "output/output_file.h"
#include "output/output_refusal.h"
#include "output/progress_bar.h"
#include "system/failure.h"
#include "text/json_text.h"
#include "times/time_text.h"
#include "verbs/time_range.h"

namespace {

std::string ChosenOutput(const ReadOptions& options, const SourceFacts& source) {
  if (options.output.empty()) {
    if (isatty(STDOUT_FILENO) == 1) {
      throw Failure("archive bytes are not for a terminal: give -o FILE, or -o - to insist",
                    kExitUsage);
    }
    return "-";
  }
  RefuseToHarm(source, options.output);
  return options.output;
}

struct Gap {
  ArchiveTime from;
  ArchiveTime to;
};

// Tells where nothing is recorded between two entries of a walk.
class GapWatch {
 public:
  // The gap between the entry taken last and this one.
  std::optional<Gap> Take(std::uint32_t fileNumber, ArchiveTime time) {
    std::optional<Gap> gap;
    if (mTaken && time > mTime) {
      const std::uint64_t mostSteps =
          fileNumber == mFileNumber ? kMostStepsInAFile : kMostStepsToTheNextFile;
      if (IsGap(time - mTime, mStep, mostSteps)) gap = Gap{mTime, time};
      if (mStep == 0) mStep = time - mTime;
    }
    mTaken = true;
    mFileNumber = fileNumber;
    mTime = time;
    return gap;
  }

 private:
  bool mTaken = false;
  std::uint32_t mFileNumber = 0;
  ArchiveTime mTime = 0;
  ArchiveTime mStep = 0;  // the first one between two times
};

// What has been read.
struct Summary {
  std::uint64_t entries = 0;
  std::uint64_t damaged = 0;  // could not be read
  std::uint64_t bytes = 0;
  std::vector<Gap> gaps;
  EntryWalk::End end = EntryWalk::End::kReached;
};

const char* Name(EntryWalk::End end) {
  switch (end) {
    case EntryWalk::End::kStopped:
      return "gap";
    case EntryWalk::End::kOutOfOrder:
      return "out-of-order";
    case EntryWalk::End::kReached:
      break;
  }
  return "range";
}

void TellAsJson(const Summary& summary, bool bytesOnOutput, TimeFormat times) {
  Json json;
  json["entries"] = summary.entries;
  json["damaged"] = summary.damaged;
  json["bytes"] = summary.bytes;
  json["end"] = Name(summary.end);
  json["gaps"] = Json::array();
  for (const Gap& gap : summary.gaps)
    json["gaps"].push_back({{"from", TimeJson(gap.from, times)}, {"to", TimeJson(gap.to, times)}});
  (bytesOnOutput ? std::cerr : std::cout) << JsonText(json) << '\n';
}

void TellAsText(const Summary& summary, TimeFormat times) {
  for (const Gap& gap : summary.gaps) {
    std::cerr << "nothing is recorded from " << TimeText(gap.from, times) << " to "
              << TimeText(gap.to, times) << '\n';
  }
  std::cerr << summary.entries << " entries, " << summary.bytes << " bytes\n";
  if (summary.damaged > 0)
    PrintNotice(std::to_string(summary.damaged) + " entries could not be read");
  if (summary.end == EntryWalk::End::kStopped) PrintNotice("stopped at the gap");
  if (summary.end == EntryWalk::End::kOutOfOrder)
    PrintNotice("stopped where the entries are out of order");
}

}  // namespace

int RunRead(const HostOptions& host, const ReadOptions& options) {
  CheckTimeRange(options.from, options.to);
  const ServedSource source(host, options.source, MissingIndexes::kBuild, PrintNotice);
  const std::string target = ChosenOutput(options, source.Facts());
  OutputFile output(target);
  ProgressBar progress;
  ArchiveClient client(source, &progress);

  Summary summary;
  GapWatch watch;
  EntryWalk walk(&client,
                 [&](std::uint32_t fileNumber, std::uint32_t entryNumber, ArchiveTime time) {
                   if (const std::optional<Gap> gap = watch.Take(fileNumber, time)) {
                     summary.gaps.push_back(*gap);
                     if (options.stopAtGap) return false;
                   }
                   const auto bytes = client.Read(fileNumber, entryNumber, time);
                   ++summary.entries;
                   if (bytes && !bytes->empty()) {
                     output.Write(*bytes);
                   } else {
                     ++summary.damaged;
                   }
                   return true;
                 });
  summary.end = walk.Visit(options.from, options.to);
  if (summary.entries == 0) client.FailWithNothing();
  output.Finish();
  summary.bytes = output.BytesWritten();
  if (options.style.format == OutputFormat::kJson) {
    TellAsJson(summary, OutputFile::IsStandardOutput(target), options.style.Times());
  } else {
    TellAsText(summary, options.style.Times());
  }
  const bool whole =
      !source.LeavesOut() && summary.damaged == 0 && summary.end != EntryWalk::End::kOutOfOrder;
  return whole ? kExitDone : kExitDamaged;
}
