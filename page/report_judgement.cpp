#include "page/report_judgement.h"

#include <fmt/format.h>

#include "text/shown_text.h"
#include "times/length_text.h"

namespace {

constexpr ArchiveTime kOneDay = 24 * 3600 * ArchiveTime{1000};

// "the day", "100 days", "3:00:00"
std::string SpanText(ArchiveTime length, TimeFormat times) {
  if (times == TimeFormat::kInteger) return "the time";
  if (length == kOneDay) return "the day";
  if (length >= 2 * kOneDay) {
    const std::uint64_t tenths = length * 10 / kOneDay;
    return tenths % 10 == 0 ? fmt::format("{} days", tenths / 10)
                            : fmt::format("{}.{} days", tenths / 10, tenths % 10);
  }
  return length < 1000 ? LengthInSeconds(length, times) : LengthInHours(length, times);
}

std::string RecordedText(const ReportData& report, TimeFormat times) {
  const std::optional<RecordedShare>& share = report.share;
  const bool isLessKnown = CountNotIndexed(report) > 0 || (share && !share->isWhole);
  if (!share || share->recorded == 0)
    return isLessKnown ? "no recording found" : "nothing recorded";
  const std::string recorded = isLessKnown ? "known to be recorded" : "recorded";
  const std::string span = SpanText(share->all, times);
  if (share->recorded == share->all) return fmt::format("all of {} {}", span, recorded);
  // Rounded down, so that only a whole range has 100 %.
  const std::uint64_t thousandths = share->recorded * 1000 / share->all;
  if (thousandths == 0) return fmt::format("less than 0.1 % of {} {}", span, recorded);
  return fmt::format("{}.{} % of {} {}", thousandths / 10, thousandths % 10, span, recorded);
}

std::string GapsText(const ReportData& report) {
  if (report.gaps.count > 0) return Counted(report.gaps.count, "gap");
  const bool isKnown = report.share && report.share->isWhole && CountNotIndexed(report) == 0;
  return isKnown ? "no gap" : "no gap found";
}

void AddFiles(std::uint64_t count, const char* what, std::string* text) {
  if (count > 0) *text += fmt::format(", {} {}", Counted(count, "file"), what);
}

std::string DamageText(const ReportData& report) {
  const DamagedFiles& damage = report.damage;
  if (damage.None()) return ", no damage";
  std::string text;
  AddFiles(damage.damaged, "damaged", &text);
  AddFiles(damage.unreadable, "not fully readable", &text);
  AddFiles(damage.cutOff, "cut off", &text);
  AddFiles(damage.empty, "without an entry", &text);
  return text;
}

}  // namespace

std::string JudgementOf(const ReportData& report, TimeFormat times) {
  std::string text = Counted(report.files.size(), "file");
  if (report.range) {
    text += ", " + RecordedText(report, times);
    if (report.share && report.share->recorded > 0) text += ", " + GapsText(report);
  } else {
    text += ", nothing recorded";
  }
  text += DamageText(report);
  AddFiles(CountNotIndexed(report), "not indexed", &text);
  const DamagedFiles& damage = report.damage;
  if (damage.otherErrors > 0) text += ", " + Counted(damage.otherErrors, "error");
  if (damage.otherWarnings > 0) text += ", " + Counted(damage.otherWarnings, "warning");
  return text;
}
