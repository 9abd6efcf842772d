#include "inspection/plugin_trial.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "blocks/notifications.h"
#include "client/client_brick.h"
#include "host/brick_plugins.h"
#include "host/pipeline.h"
#include "inspection/loaded_library.h"
#include "inspection/trial_archive.h"
#include "sdk/brick_loader.h"
#include "system/failure.h"

namespace {

constexpr std::uint64_t kMostSteps = 1000000;

// A brick beside the one on trial.
class Neighbour : public ClientBrick {
 public:
  using CBrick::SendCmd;
  using CBrick::SendData;

  // What has arrived since the last call, each kind of block once.
  std::vector<std::string> TakeNames() {
    std::vector<std::string> names;
    for (cMemBlock block; Take(&block);) {
      const std::string name = NameOf(block);
      if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    }
    return names;
  }

  // The tag of a block; for a notification also its kind.
  static std::string NameOf(const cMemBlock& block) {
    const std::string tag = FourCcText(block.GetType());
    if (block.GetType() != tag::kNotify) return tag;
    const NotifyBlock notification = NotifyBlock::View(block);
    return notification.HoldsRecord() ? tag + " " + FourCcText(notification.Record().kind) : tag;
  }
};

// A brick of the plug-in between two neighbours. A brick that opens its source itself has none
// before it.
class Chain {
 public:
  Chain(Tag signature, const MadeFor& madeFor, const std::string& source) {
    TBrickConfig config = {};
    config.ownerContext = mPipeline.Id();
    config.signature = signature;
    config.input = madeFor.input;
    config.output = madeFor.output;
    std::strncpy(config.sourcePath, source.c_str(), sizeof(config.sourcePath) - 1);
    mBrick.reset(CBrickLoader::CreateBrick(signature, config));
    if (mBrick == nullptr) return;
    TBrickConfig neighbour = {};
    neighbour.ownerContext = mPipeline.Id();
    mBefore.Create(neighbour);
    mAfter.Create(neighbour);
    mAfter.ConnectAfter(mBrick.get());
    mHasBefore = madeFor.input.kind != tag::kKindFolder;
    if (mHasBefore) mBrick->ConnectAfter(&mBefore);
  }
  ~Chain() {
    mBrick.reset();
    static_cast<void>(mPipeline.RunUntilIdle(kMostSteps));
  }

  CBrick* Brick() const { return mBrick.get(); }
  bool HasBefore() const { return mHasBefore; }

  BlockReaction Settle(const std::string& block = "") {
    if (!mPipeline.RunUntilIdle(kMostSteps)) throw Failure("the plug-in never becomes idle");
    return {block, mBefore.TakeNames(), mAfter.TakeNames()};
  }
  BlockReaction Command(const cMemBlock& block) {
    mAfter.SendCmd(block);
    return Settle(Neighbour::NameOf(block));
  }
  BlockReaction Give(const cMemBlock& block) {
    mBefore.SendData(block);
    return Settle(Neighbour::NameOf(block));
  }

 private:
  Pipeline mPipeline;
  Neighbour mBefore;
  Neighbour mAfter;
  std::unique_ptr<CBrick> mBrick;
  bool mHasBefore = false;
};

std::vector<TContentDescriptor> AllDescriptors() {
  std::vector<TContentDescriptor> all;
  for (const Tag format : {tag::kFormatZel3, tag::kFormatZel1, tag::kFormatMany}) {
    for (const Tag kind : {tag::kKindFolder, tag::kRawData, tag::kKindMany}) {
      all.push_back({format, kind});
    }
  }
  return all;
}

// Notes which bricks the plug-in asks for, except the one on trial.
class RequestWatch {
 public:
  RequestWatch(Tag onTrial, std::vector<std::string>* asked) {
    brick_plugins::SetObserver([onTrial, asked](Tag signature) {
      const std::string name = FourCcText(signature);
      const bool isNew = std::find(asked->begin(), asked->end(), name) == asked->end();
      if (signature != onTrial && isNew) asked->push_back(name);
    });
  }
  ~RequestWatch() { brick_plugins::SetObserver({}); }
};

void TryFactory(Tag signature, PlugInFacts* facts) {
  for (const TContentDescriptor& input : AllDescriptors()) {
    for (const TContentDescriptor& output : AllDescriptors()) {
      const Chain chain(signature, {input, output}, "");
      if (chain.Brick() != nullptr) facts->madeFor.push_back({input, output});
    }
  }
}

void TryBrick(Tag signature, PlugInFacts* facts) {
  const TrialArchive archive;
  Chain chain(signature, facts->madeFor.front(), archive.Path());
  facts->reactions.push_back(chain.Settle());
  for (const TContentDescriptor& descriptor : AllDescriptors()) {
    if (chain.Brick()->IsKnownInput(descriptor)) facts->knownInputs.push_back(descriptor);
    if (chain.Brick()->IsKnownOutput(descriptor)) facts->knownOutputs.push_back(descriptor);
  }
  for (const cMemBlock& block : archive.Commands()) {
    facts->reactions.push_back(chain.Command(block));
  }
  if (!chain.HasBefore()) return;
  for (const cMemBlock& block : archive.Answers()) facts->reactions.push_back(chain.Give(block));
}

}  // namespace

PlugInFacts TryPlugIn(Tag signature) {
  PlugInFacts facts;
  facts.file = brick_plugins::FileFor(signature);
  facts.signature = FourCcText(signature);
  brick_plugins::Load(signature);
  for (const char* const function : {"CreateBrick", "DllMain"}) {
    if (loaded_library::Offers(facts.file, function)) facts.entryPoints.push_back(function);
  }
  facts.libraries = loaded_library::NeededBy(facts.file);
  const RequestWatch watch(signature, &facts.asksFor);
  TryFactory(signature, &facts);
  if (!facts.madeFor.empty()) TryBrick(signature, &facts);
  return facts;
}
