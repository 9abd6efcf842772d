// The records of any archive: found through its file, holes and all, as in one piece of memory.
// They follow each other without a byte between them. Each is printed as one line that is fit for a
// terminal, and as JSON.

#include <array>
#include <fstream>

#include "archive/archive_scan.h"
#include "archive/found_record.h"
#include "archive_input.h"
#include "captured_output.h"
#include "fit_text.h"
#include "fuzz_folder.h"
#include "parser/framing_parser.h"
#include "support/sparse_file.h"
#include "verbs/record_printer.h"

namespace {

// The archive with zeros put in, which are a hole of its file.
struct SparseArchive {
  Bytes front;
  std::size_t zeros = 0;
  Bytes back;

  Bytes Whole() const {
    Bytes whole = front;
    whole.resize(whole.size() + zeros);
    whole.insert(whole.end(), back.begin(), back.end());
    return whole;
  }
};

SparseArchive ArchiveOf(ArchiveInput* input) {
  SparseArchive archive;
  archive.zeros = input->choices.Byte() < 64 ? input->choices.Number(2) : 0;
  const std::size_t at = input->choices.Number(2) % (input->archive.size() + 1);
  const auto middle = input->archive.begin() + static_cast<std::ptrdiff_t>(at);
  archive.front.assign(input->archive.begin(), middle);
  archive.back.assign(middle, input->archive.end());
  return archive;
}

void Write(const std::string& path, const SparseArchive& archive) {
  if (archive.zeros == 0) return WriteFile(path, archive.Whole());
  MakeSparseFile(path, static_cast<std::int64_t>(archive.Whole().size()));
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.write(reinterpret_cast<const char*>(archive.front.data()),
             static_cast<std::streamsize>(archive.front.size()));
  file.seekp(static_cast<std::streamoff>(archive.front.size() + archive.zeros));
  file.write(reinterpret_cast<const char*>(archive.back.data()),
             static_cast<std::streamsize>(archive.back.size()));
}

std::uint64_t SizeOf(const FoundRecord& record) {
  switch (record.kind) {
    case FoundRecord::Kind::kHeader:
      return SizeOfHeaderRecord(record.header->length);
    case FoundRecord::Kind::kIndex:
      return kIndexRecordSize;
    case FoundRecord::Kind::kData:
    case FoundRecord::Kind::kEvent:
      return record.count * (sizeof(DATA_T) + record.bytes);
    case FoundRecord::Kind::kDamage:
    case FoundRecord::Kind::kCutOff:
      break;
  }
  return record.bytes;
}

// To print all records of a long archive would take longer than all else.
constexpr std::size_t kMostPrinted = 20;

void CheckPrinted(const FoundRecord& record) {
  const std::string json =
      JsonText(record_printer::AsJson("cam.zel3", record, TimeFormat::kInteger));
  FUZZ_REQUIRE(IsFitText(json));
  FUZZ_REQUIRE(Json::parse(json)["position"] == record.position);
  const std::string line = PrintedBy([&] { record_printer::PrintText(record, TimeFormat::kIso); });
  FUZZ_REQUIRE(IsFitText(line));
  FUZZ_REQUIRE(line.find('\n') == line.size() - 1);
}

// All that is known of a record.
struct Known {
  explicit Known(const FoundRecord& record)
      : numbers{static_cast<std::uint64_t>(record.kind),
                record.position,
                record.time.value_or(~ArchiveTime{0}),
                record.flagged ? 1U : 0U,
                record.type,
                record.streamKind,
                record.level,
                record.bytes,
                record.count},
        text(record.text.begin(), record.text.end()) {
    if (record.header != nullptr) text = *EncodeHeaderRecord(*record.header);
  }
  bool operator==(const Known& other) const {
    return numbers == other.numbers && text == other.text;
  }

  std::array<std::uint64_t, 9> numbers;
  Bytes text;
};

class Records {
 public:
  FramingSink& Sink() { return mFound; }
  void Finish() { mFound.Finish(); }

  std::vector<Known> all;
  std::uint64_t end = 0;  // of the last one

 private:
  void Take(const FoundRecord& record) {
    FUZZ_REQUIRE(record.position == end);
    end += SizeOf(record);
    all.emplace_back(record);
    if (all.size() <= kMostPrinted) CheckPrinted(record);
  }

  FoundRecords mFound{[this](const FoundRecord& record) { Take(record); }};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const FuzzFolder folder;
  static const std::string path = folder / "cam.zel3";
  ArchiveInput input(bytes, size);
  const SparseArchive archive = ArchiveOf(&input);
  Write(path, archive);
  const Bytes whole = archive.Whole();

  Records ofMemory;
  FramingParser parser(ofMemory.Sink());
  parser.Feed(whole.data(), whole.size());
  parser.Finish();
  ofMemory.Finish();
  FUZZ_REQUIRE(ofMemory.end == whole.size());

  Records ofFile;
  const ScannedBytes scanned = ScanArchive(path, ofFile.Sink());
  FUZZ_REQUIRE(scanned.all == whole.size() && scanned.unreadable == 0);
  ofFile.Finish();
  FUZZ_REQUIRE(ofFile.all == ofMemory.all);
  return 0;
}
