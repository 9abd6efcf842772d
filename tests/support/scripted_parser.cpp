#include "support/scripted_parser.h"

#include <algorithm>

#include "host/brick_plugins.h"
#include "support/block_text.h"
#include "support/messages.h"

ParserWorkshop::ParserWorkshop() {
  brick_plugins::RegisterFactory(tag::kSignatureParser, [this](TBrickConfig* config) -> CBrick* {
    orders.push_back(*config);
    auto* const parser = new ScriptedParser(this);
    parser->Create(*config);
    return parser;
  });
}

ParserWorkshop::~ParserWorkshop() {
  brick_plugins::ResetRegistrations();
}

void ParserWorkshop::Close() {
  brick_plugins::RegisterFactory(tag::kSignatureParser, {});
}

ScriptedParser::ScriptedParser(ParserWorkshop* workshop) : mWorkshop(workshop) {
  mWorkshop->current = this;
}

ScriptedParser::~ScriptedParser() {
  mWorkshop->log.push_back("gone");
  if (mWorkshop->current == this) mWorkshop->current = nullptr;
}

void ScriptedParser::Pull() {
  SendUp(BytesRequest(kNoIndexId, 0));
}

void ScriptedParser::enqueueControl(const cMemBlock& block) {
  if (block.GetType() == tag::kKill) mWorkshop->log.push_back("queued " + BlockText(block));
  CBrick::enqueueControl(block);
}

int ScriptedParser::onCtrl(cMemBlock& block) {
  mWorkshop->log.push_back("ctrl " + BlockText(block));
  if (mWorkshop->pullsItself && CameFrom() == Side::kDownstream) SendUp(block);
  return 1;
}

int ScriptedParser::onData(const cMemBlock& block) {
  mWorkshop->log.push_back("data " + BlockText(block));
  const RawDataBlock raw = RawDataBlock::View(block);
  received.insert(received.end(), raw.Bytes(), raw.Bytes() + raw.Size());
  if (!mWorkshop->pullsItself) return 1;
  ReportCompleteRecords();
  Report(StreamMark(tag::kBlockFinished));
  return 1;
}

int ScriptedParser::onNotify(const cMemBlock& block) {
  mWorkshop->log.push_back("notify " + BlockText(block));
  mWorkshop->lastNotification = block;
  if (!mWorkshop->pullsItself) return 1;
  Report(block);
  if (NotifyBlock::View(block).Record().kind == tag::kChunkAnswer) Pull();
  return 1;
}

void ScriptedParser::ReportCompleteRecords() {
  const auto isSource = [this](const SmallArchive& archive) {
    return archive.bytes.size() >= received.size() &&
           std::equal(received.begin(), received.end(), archive.bytes.begin());
  };
  const auto& archives = mWorkshop->archives;
  const auto source = std::find_if(archives.begin(), archives.end(), isSource);
  if (source == archives.end()) return;
  for (; mReported < source->records.size(); ++mReported) {
    if (source->records[mReported].end > received.size()) return;
    Report(source->records[mReported].block);
  }
}
