#include "page/report_overview.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "page/html.h"
#include "page/report_judgement.h"
#include "page/round_bins.h"
#include "page/shortened.h"
#include "text/shown_text.h"

namespace {

// In the units of the picture.
constexpr double kLeft = 190;
constexpr double kWidth = 800;
constexpr double kLaneHeight = 22;
constexpr double kStreamHeight = 44;
constexpr double kTrackHeight = 4;
constexpr double kSpace = 8;
constexpr double kOverlap = 0.4;  // of bars, so that rounding leaves no lines between them
constexpr unsigned kHighestLevel = 63;

constexpr std::uint32_t kMostParts = 280;
constexpr std::uint32_t kMostTimes = 6;
constexpr std::size_t kMostStreams = 16;
constexpr std::size_t kMostLabelBytes = 26;

class Overview {
 public:
  Overview(const ReportData& report, TimeFormat times)
      : mReport(report), mRange(*report.range), mTimes(times) {}

  std::string Draw() {
    AddTimes();
    AddFiles();
    AddEvents();
    AddFindings();
    for (std::size_t i = 0; i < std::min(mReport.streams.size(), kMostStreams); ++i)
      AddStream(mReport.streams[i]);
    if (mReport.streams.size() > kMostStreams) {
      const std::size_t more = mReport.streams.size() - kMostStreams;
      AddLabel(fmt::format("and {}", Counted(more, "more stream", "more streams")), kLaneHeight);
      mTop += kLaneHeight;
    }
    return fmt::format(
        "<svg viewBox=\"0 0 1000 {0:.0f}\" role=\"img\" aria-labelledby=\"overview-title "
        "overview-text\">\n<title id=\"overview-title\">Overview</title>\n<desc "
        "id=\"overview-text\">{1}</desc>\n{2}</svg>",
        mTop, html::FromText(JudgementOf(mReport, mTimes)), mSvg);
  }

 private:
  double X(ArchiveTime time) const {
    const ArchiveTime within = std::min(std::max(time, mRange.from), mRange.to) - mRange.from;
    return kLeft +
           kWidth * static_cast<double>(within) / static_cast<double>(mRange.to - mRange.from);
  }

  static std::string Box(double left, double right, double bottom, double height) {
    return fmt::format("M{:.1f} {:.1f}v{:.1f}h{:.1f}v{:.1f}z", left, bottom, -height,
                       std::max(right - left, 1.0), height);
  }

  static std::string Line(double left, double right, double y) {
    return fmt::format("M{:.1f} {:.1f}h{:.1f}", left, y, std::max(right - left, 1.0));
  }

  void AddPath(const char* kind, const std::string& path) {
    if (!path.empty()) mSvg += fmt::format("<path class=\"{}\" d=\"{}\"/>\n", kind, path);
  }

  void AddLabel(const std::string& text, double height) {
    mSvg += fmt::format("<text x=\"0\" y=\"{:.1f}\">{}</text>\n", mTop + height / 2 + 5,
                        html::FromText(Shortened(text, kMostLabelBytes)));
  }

  // The first time has a date, and so has every time when all are dates.
  std::string ShortTime(ArchiveTime time, ArchiveTime width, bool isFirst) const {
    const std::string text = TimeText(time, mTimes);
    constexpr std::size_t kDate = 10;
    if (text.size() <= kDate || text[kDate] != 'T') return text;
    if (width % (24 * 3600 * ArchiveTime{1000}) == 0) return text.substr(0, kDate);
    const std::string clock = text.substr(kDate + 1, width < 60000 ? 8 : 5);
    return isFirst ? text.substr(0, kDate) + " " + clock : clock;
  }

  void AddTimes() {
    const ActivityBins bins = RoundBins(mRange.from, mRange.to, kMostTimes);
    std::string ticks;
    bool isFirst = true;
    for (std::uint32_t i = 0; i < bins.count; ++i) {
      const ArchiveTime time = bins.Start(i);
      if (time < mRange.from) continue;
      const double x = X(time);
      if (x > kLeft + kWidth - 60) break;
      mSvg += fmt::format("<text x=\"{:.1f}\" y=\"14\">{}</text>\n", x,
                          ShortTime(time, bins.width, std::exchange(isFirst, false)));
      ticks += fmt::format("M{:.1f} 18v6", x);
    }
    AddPath("tick", ticks);
    mTop = 26;
  }

  void AddFiles() {
    std::string files[2];
    std::string notIndexed;
    std::string gaps;
    std::size_t number = 0;
    for (const ReportFile& file : mReport.files) {
      if (!file.HoldsEntries()) break;
      std::string& path = file.indexed ? files[number++ % 2] : notIndexed;
      const double bottom = mTop + kLaneHeight - (number % 2) * 2;
      path += Box(X(file.facts.startTime), X(file.facts.endTime), bottom, kLaneHeight - 6);
    }
    for (const ReportGap& gap : mReport.gaps.items)
      gaps += Line(X(gap.range.from), X(gap.range.to), mTop + kLaneHeight / 2);
    AddLabel("Files", kLaneHeight);
    AddPath("file", files[0]);
    AddPath("other-file", files[1]);
    AddPath("no-index", notIndexed);
    AddPath("gone", gaps);
    mTop += kLaneHeight + kSpace;
  }

  void AddEvents() {
    if (mReport.events.count == 0) return;
    std::vector<std::uint64_t> counts(kMostParts);
    const auto add = [&](ArchiveTime time, std::uint64_t count) {
      const double share = (X(time) - kLeft) / kWidth;
      counts[std::min<std::size_t>(static_cast<std::size_t>(share * kMostParts), kMostParts - 1)] +=
          count;
    };
    for (const RecordedEvent& event : mReport.events.items) add(event.time, 1);
    for (const auto& later : mReport.laterEvents)
      add(later.first.second * mReport.laterEventWidth, later.second);
    const auto most = static_cast<double>(*std::max_element(counts.begin(), counts.end()));
    std::string path;
    for (std::uint32_t part = 0; part < kMostParts; ++part) {
      if (counts[part] == 0) continue;
      const double height = kLaneHeight * (0.2 + 0.8 * static_cast<double>(counts[part]) / most);
      const double left = kLeft + kWidth * part / kMostParts;
      path += Box(left, left + kWidth / kMostParts, mTop + kLaneHeight, height);
    }
    AddLabel("Events", kLaneHeight);
    AddPath("events", path);
    mTop += kLaneHeight + kSpace;
  }

  void AddFindings() {
    std::string path;
    for (const Finding& finding : mReport.findings.items) {
      // The lane of files already shows gaps.
      if (!finding.time || finding.kind == FindingKind::kGap) continue;
      const double left = std::min(X(*finding.time), kLeft + kWidth - 3);
      const double right = std::max(X(finding.endTime.value_or(*finding.time)), left + 3);
      path += Box(left, right, mTop + kLaneHeight, kLaneHeight - 6);
    }
    if (path.empty()) return;
    AddLabel("Findings", kLaneHeight);
    AddPath("findings", path);
    mTop += kLaneHeight + kSpace;
  }

  void AddStream(const ReportStream& stream) {
    const ReportActivity& activity = stream.fine;
    const std::uint32_t step = mReport.fineBins.count / kMostParts + 1;
    std::string recorded;
    std::string active;
    std::string missing;
    std::string notIndexed;
    const double bottom = mTop + kStreamHeight - kTrackHeight;
    BinState runState = BinState::kMissing;
    double runLeft = kLeft;
    const auto endRun = [&](double right) {
      if (right <= runLeft) return;
      if (runState == BinState::kRecorded) {
        recorded += Box(runLeft, right, mTop + kStreamHeight, kTrackHeight);
      } else {
        (runState == BinState::kMissing ? missing : notIndexed) +=
            Line(runLeft, right, mTop + kStreamHeight - kTrackHeight / 2);
      }
      runLeft = right;
    };
    for (std::uint32_t bin = 0; bin < mReport.fineBins.count; bin += step) {
      const std::uint32_t end = std::min(bin + step, mReport.fineBins.count);
      const double left = X(mReport.fineBins.Start(bin));
      const double right = X(mReport.fineBins.End(end - 1));
      const BinState state = StateOf(activity, bin, end);
      const unsigned level =
          *std::max_element(activity.levels.begin() + bin, activity.levels.begin() + end);
      if (state != runState) {
        endRun(left);
        runState = state;
      }
      if (level > 0)
        active += Box(left, right + kOverlap, bottom,
                      (kStreamHeight - kTrackHeight) * level / kHighestLevel);
    }
    endRun(kLeft + kWidth);
    const std::string number = std::to_string(stream.id);
    AddLabel("Stream " + number + (stream.name.empty() ? "" : ": " + stream.name), kStreamHeight);
    AddPath("recorded-track", recorded);
    AddPath("activity-bars", active);
    AddPath("gone", missing);
    AddPath("no-index-line", notIndexed);
    mTop += kStreamHeight + kSpace;
  }

  static BinState StateOf(const ReportActivity& activity, std::uint32_t begin, std::uint32_t end) {
    BinState state = BinState::kMissing;
    for (std::uint32_t bin = begin; bin < end; ++bin) {
      if (activity.states[bin] == BinState::kRecorded) return BinState::kRecorded;
      if (activity.states[bin] == BinState::kNotIndexed) state = BinState::kNotIndexed;
    }
    return state;
  }

  const ReportData& mReport;
  const ReportRange mRange;
  const TimeFormat mTimes;
  std::string mSvg;
  double mTop = 0;
};

constexpr char kOverviewKey[] =
    "<p class=\"key\">\n"
    "<span><i class=\"swatch recorded\"></i>recorded</span>\n"
    "<span><i class=\"swatch active\"></i>active</span>\n"
    "<span><i class=\"swatch gone\"></i>missing</span>\n"
    "<span><i class=\"swatch no-index\"></i>not indexed</span>\n"
    "<span><i class=\"swatch events\"></i>events</span>\n"
    "<span><i class=\"swatch finding\"></i>finding</span>\n"
    "</p>\n";

}  // namespace

std::string OverviewSection(const ReportData& report, TimeFormat times) {
  if (!report.range) return "";
  return html::Section("overview", "Overview",
                       kOverviewKey + html::Scrolled("Overview", Overview(report, times).Draw()));
}
