#include <optional>

#include "host/settings_folder.h"
#include "on_threads.h"
#include "recording_brick.h"
#include "support/environment_value.h"

namespace {

// Notes which settings folder it finds: while it is made, and with each block.
class AskingBrick : public CBrick {
 public:
  Log found;

 protected:
  int onCtrl(cMemBlock&) override { return Ask(); }
  int onData(const cMemBlock&) override { return Ask(); }
  int onNotify(const cMemBlock&) override { return Ask(); }
  int onCreate(const TBrickConfig&) override { return Ask(); }

 private:
  int Ask() {
    found.push_back(settings_folder::Get());
    return 1;
  }
};

// A pipeline with settings of its own and one brick.
class Host {
 public:
  explicit Host(const std::string& settingsFolder) : mPipeline(HostSettings{settingsFolder, ""}) {
    TBrickConfig config = {};
    config.ownerContext = mPipeline.Id();
    mBrick.Create(config);
  }

  void Deliver() {
    mBrick.enqueueControl(Block(1));
    mBrick.enqueueData(Block(2));
    mBrick.enqueueData(Notice(3));
    EXPECT_TRUE(mPipeline.RunUntilIdle());
  }
  const Log& Found() const { return mBrick.found; }

 private:
  Pipeline mPipeline;
  AskingBrick mBrick;
};

class PipelineSettings : public testing::Test {
 private:
  const EnvironmentValue mConfigHome{"XDG_CONFIG_HOME", "/etc/own"};
};

TEST_F(PipelineSettings, AreInForceForItsBricksOnly) {
  Host one("/srv/one");
  Host other("/srv/other");
  Host plain("");
  EXPECT_EQ(settings_folder::Get(), "/etc/own");
  for (Host* const host : {&one, &other, &plain, &one}) host->Deliver();
  EXPECT_THAT(one.Found(), testing::AllOf(testing::SizeIs(7), testing::Each("/srv/one")));
  EXPECT_THAT(other.Found(), testing::AllOf(testing::SizeIs(4), testing::Each("/srv/other")));
  EXPECT_THAT(plain.Found(), testing::AllOf(testing::SizeIs(4), testing::Each("/etc/own")));
  EXPECT_EQ(settings_folder::Get(), "/etc/own");
}

TEST_F(PipelineSettings, AreThoseInForceWhereItIsMadeWithoutAny) {
  const HostSettings settings{"/srv/one", ""};
  std::optional<Pipeline> pipeline;
  {
    const SettingsInForce inForce(settings);
    pipeline.emplace();
  }
  AskingBrick brick;
  TBrickConfig config = {};
  config.ownerContext = pipeline->Id();
  brick.Create(config);
  EXPECT_THAT(brick.found, testing::ElementsAre("/srv/one"));
}

TEST_F(PipelineSettings, OfABrickWithoutAPipelineAreThoseInForce) {
  const HostSettings settings{"/srv/one", ""};
  AskingBrick brick;
  brick.Create({});
  const SettingsInForce inForce(settings);
  brick.Create({});
  EXPECT_THAT(brick.found, testing::ElementsAre("/etc/own", "/srv/one"));
}

// A brick may drive pipelines of its own.
TEST_F(PipelineSettings, OfAnInnerPipelineHoldForItsTime) {
  Host inner("/srv/inner");
  Log found;
  Pipeline outer(HostSettings{"/srv/outer", ""});
  Log log;
  RecordingBrick brick("a", &log);
  TBrickConfig config = {};
  config.ownerContext = outer.Id();
  brick.Create(config);
  brick.reaction = [&] {
    found.push_back(settings_folder::Get());
    inner.Deliver();
    found.push_back(settings_folder::Get());
  };
  brick.enqueueData(Block(1));
  EXPECT_TRUE(outer.RunUntilIdle());
  EXPECT_THAT(found, testing::Each("/srv/outer"));
  EXPECT_THAT(inner.Found(), testing::AllOf(testing::SizeIs(4), testing::Each("/srv/inner")));
}

TEST_F(PipelineSettings, AreEachThreadsOwn) {
  OnThreads(8, [](int number) {
    const std::string folder = "/srv/" + std::to_string(number);
    Host host(folder);
    for (int round = 0; round < 200; ++round) host.Deliver();
    EXPECT_THAT(host.Found(), testing::AllOf(testing::SizeIs(601), testing::Each(folder)));
    EXPECT_EQ(settings_folder::Get(), "/etc/own");
  });
}

TEST_F(PipelineSettings, OfOneThreadHaveNoPartInAnother) {
  const HostSettings settings{"/srv/one", ""};
  const SettingsInForce inForce(settings);
  OnThreads(1, [](int) { EXPECT_EQ(settings_folder::Get(), "/etc/own"); });
}

}  // namespace
