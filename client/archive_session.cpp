#include "client/archive_session.h"

#include <cstring>
#include <utility>

#include "blocks/tags.h"
#include "host/brick_plugins.h"
#include "sdk/brick_loader.h"
#include "sources/archive_source.h"
#include "system/failure.h"
#include "system/interruption.h"

namespace {

constexpr char kBrickName[] = "zel3";

template <std::size_t kFieldSize>
void SetText(char (&field)[kFieldSize], const std::string& text) {
  static_assert(kFieldSize > archive_source::kLongestPath);
  if (text.size() >= kFieldSize) throw Failure(text + " is longer than 260 bytes", kExitUsage);
  std::strncpy(field, text.c_str(), kFieldSize - 1);
}

TBrickConfig ReaderConfig(const Pipeline& pipeline, const std::string& source,
                          const std::string& cacheFolder) {
  TBrickConfig config = {};
  config.ownerContext = pipeline.Id();
  config.signature = tag::kSignatureReader;
  config.input = {tag::kFormatZel3, tag::kKindFolder};
  config.output = {tag::kFormatZel3, tag::kRawData};
  SetText(config.name, kBrickName);
  SetText(config.sourcePath, source);
  SetText(config.cacheFolder, cacheFolder);
  return config;
}

TBrickConfig ClientConfig(const Pipeline& pipeline) {
  TBrickConfig config = {};
  config.ownerContext = pipeline.Id();
  SetText(config.name, kBrickName);
  return config;
}

}  // namespace

ArchiveSession::ArchiveSession(const PlugIns& /*plugIns*/, const HostOptions& host,
                               const std::string& source, OnBlock onBlock)
    : mPipeline(SettingsOf(host)),
      mOnBlock(std::move(onBlock)),
      mClient(std::make_unique<ClientBrick>()) {
  TBrickConfig config = ReaderConfig(mPipeline, source, host.cacheFolder);
  mReader.reset(CBrickLoader::CreateBrick(tag::kSignatureReader, config));
  if (mReader == nullptr) {
    throw Failure("cannot make a reader: " + brick_plugins::LastError());
  }
  mClient->Create(ClientConfig(mPipeline));
  mClient->ConnectAfter(mReader.get());
}

ArchiveSession::~ArchiveSession() {
  mReader.reset();
  static_cast<void>(mPipeline.RunUntilIdle());
  mClient.reset();
}

void ArchiveSession::Send(const cMemBlock& command) {
  mReader->enqueueControl(command);
}

void ArchiveSession::RunUntilIdle() {
  while (mPipeline.RunOne()) {
    HandOver();
    interruption::Check();
  }
}

void ArchiveSession::HandOver() {
  cMemBlock block;
  while (mClient->Take(&block)) mOnBlock(block);
}
