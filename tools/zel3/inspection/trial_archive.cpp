#include "inspection/trial_archive.h"

#include <fmt/format.h>

#include <QFile>
#include <cstring>

#include "blocks/notifications.h"
#include "blocks/stream_records.h"
#include "json/command_json.h"
#include "samples/scenario.h"
#include "system/failure.h"

namespace {

Scenario OneMinute() {
  Scenario scenario = DefaultScenario();
  scenario.lengthSeconds = 60;
  scenario.payloadBytesPerEntry = 300;
  scenario.eventsPerHour = 120;
  scenario.gaps.clear();
  scenario.headerChanges.clear();
  return scenario;
}

}  // namespace

TrialArchive::TrialArchive() {
  if (!mFolder.isValid()) throw Failure("cannot create a temporary folder");
  const std::string folder = QFile::encodeName(mFolder.path()).constData();
  const GroundTruth truth = WriteScenario(folder, OneMinute());
  const GroundTruthFile& file = truth.files.front();
  mPath = folder + "/" + file.name;
  mStartTime = ToArchiveTime(file.entries.front().indexTime);
  mEndTime = ToArchiveTime(file.endIndexTime);
}

std::vector<cMemBlock> TrialArchive::Commands() const {
  return CommandsFromJson(fmt::format(R"([
      {{"cmd":"ArcR"}},
      {{"cmd":"CRq3","time":{0},"type":1}},
      {{"cmd":"PCR3","time":{0}}},
      {{"cmd":"Prev","time":{0},"endTime":{1}}},
      {{"cmd":"His3","from":{0},"to":{1},"binCount":4,"streamId":1}},
      {{"cmd":"datr"}},
      {{"cmd":"Pla3","forward":1}}])",
                                      mStartTime, mEndTime));
}

std::vector<cMemBlock> TrialArchive::Answers() const {
  ChunkAnswerBlock entry = ChunkAnswerBlock::New();
  entry.Record().info.indexId = 0;
  entry.Record().info.time = mStartTime;
  QFile file(QFile::decodeName(mPath.c_str()));
  if (!file.open(QIODevice::ReadOnly)) throw Failure("cannot read " + mPath);
  const QByteArray bytes = file.readAll();
  RawDataBlock data = RawDataBlock::New(static_cast<std::uint32_t>(bytes.size()));
  std::memcpy(data.WritableBytes(), bytes.constData(), static_cast<std::size_t>(bytes.size()));
  return {entry, data};
}
