#include "host/brick_plugins.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <memory>

#include "host/pipeline.h"
#include "on_threads.h"
#include "sdk/brick_loader.h"
#include "support/environment_value.h"
#include "support/temp_folder.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

constexpr Tag kSample = FourCc("Smpl");
const char* const kSampleFile = "sample_plugin.so";

using Brick = std::unique_ptr<CBrick>;

Brick MakeBrick(Tag signature, const char* name = "") {
  TBrickConfig config = {};
  config.signature = signature;
  std::strcpy(config.name, name);
  return Brick(CBrickLoader::CreateBrick(signature, config));
}

std::string FailureOf(Tag signature, const char* name = "") {
  EXPECT_EQ(MakeBrick(signature, name), nullptr);
  return brick_plugins::LastError();
}

bool IsLoaded(const std::string& path) {
  void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return handle != nullptr;
}

std::string SamplePath() {
  return std::string(PLUGIN_FOLDER "/") + kSampleFile;
}

void CopySampleTo(const std::string& path) {
  std::filesystem::copy_file(SamplePath(), path);
}

// The plug-in folder of the host, until the end of a scope.
class PlugInFolder {
 public:
  explicit PlugInFolder(const std::string& path) : mSettings{"", path}, mInForce(mSettings) {}

 private:
  const HostSettings mSettings;
  const SettingsInForce mInForce;
};

class BrickPlugins : public testing::Test {
 protected:
  void SetUp() override { brick_plugins::RegisterFile(kSample, kSampleFile); }
  void TearDown() override {
    brick_plugins::UnloadAll();
    brick_plugins::ResetRegistrations();
  }

  const PlugInFolder mFolder{PLUGIN_FOLDER};
  const EnvironmentValue mNoFolderFromOutside{"ZEL3_PLUGIN_FOLDER", nullptr};
};

TEST_F(BrickPlugins, MakesABrickOfARegisteredFile) {
  const Brick brick = MakeBrick(kSample);
  ASSERT_NE(brick, nullptr);
  EXPECT_EQ(brick->GetSignature(), kSample);
  EXPECT_THAT(brick_plugins::LastError(), IsEmpty());
}

TEST_F(BrickPlugins, LoadsAFileOnlyWhenItIsAskedFor) {
  EXPECT_FALSE(IsLoaded(SamplePath()));
  EXPECT_NE(MakeBrick(kSample), nullptr);
  EXPECT_TRUE(IsLoaded(SamplePath()));
}

TEST_F(BrickPlugins, UnloadsAPlugInThatHadAPoolInUse) {
  EXPECT_NE(MakeBrick(kSample), nullptr);
  EXPECT_NE(MakeBrick(kSample), nullptr);
  brick_plugins::UnloadAll();
  EXPECT_FALSE(IsLoaded(SamplePath()));

  EXPECT_NE(MakeBrick(kSample), nullptr);
}

TEST_F(BrickPlugins, KeepsTheNamesOfAPlugInToItself) {
  EXPECT_NE(MakeBrick(kSample), nullptr);
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "CreateBrick"), nullptr);
}

TEST_F(BrickPlugins, MakesABrickOfAFactory) {
  const TBrickConfig* seen = nullptr;
  brick_plugins::RegisterFactory(kSample, [&seen](TBrickConfig* config) {
    seen = config;
    return new CBrick;
  });
  TBrickConfig config = {};
  EXPECT_NE(Brick(CBrickLoader::CreateBrick(kSample, config)), nullptr);
  EXPECT_EQ(seen, &config);
  EXPECT_FALSE(IsLoaded(SamplePath()));
}

TEST_F(BrickPlugins, PrefersAFactoryToAFileRegisteredLater) {
  brick_plugins::RegisterFactory(kSample, [](TBrickConfig*) { return new CBrick; });
  brick_plugins::RegisterFile(kSample, "missing.so");
  EXPECT_NE(MakeBrick(kSample), nullptr);
}

TEST_F(BrickPlugins, OffersNothingWhereTheFactoryIsEmpty) {
  brick_plugins::RegisterFactory(kSample, nullptr);
  EXPECT_EQ(FailureOf(kSample), "bricks of 'Smpl' are switched off");
}

TEST_F(BrickPlugins, ForgetsRegistrationsButThoseKnownFromTheStart) {
  brick_plugins::RegisterFactory(FourCc("Pars"), nullptr);
  brick_plugins::ResetRegistrations();
  EXPECT_EQ(FailureOf(kSample), "no plug-in is known for 'Smpl'");

  const TempFolder folder;
  CopySampleTo(folder / "zel3parser.so");
  CopySampleTo(folder / "zel3reader.so");
  const PlugInFolder elsewhere(folder.Path());
  EXPECT_NE(MakeBrick(FourCc("Pars")), nullptr);
  EXPECT_NE(MakeBrick(FourCc("Zel3")), nullptr);
  EXPECT_TRUE(IsLoaded(folder / "zel3parser.so"));
  EXPECT_TRUE(IsLoaded(folder / "zel3reader.so"));
}

TEST_F(BrickPlugins, SearchesTheOptionsFolderBeforeThatOfTheEnvironment) {
  const TempFolder option;
  const TempFolder environment;
  const EnvironmentValue variable("ZEL3_PLUGIN_FOLDER", environment.Path().c_str());
  CopySampleTo(environment / kSampleFile);
  const PlugInFolder elsewhere(option.Path());
  EXPECT_NE(MakeBrick(kSample), nullptr);
  EXPECT_TRUE(IsLoaded(environment / kSampleFile));

  CopySampleTo(option / kSampleFile);
  EXPECT_NE(MakeBrick(kSample), nullptr);
  EXPECT_TRUE(IsLoaded(option / kSampleFile));
}

TEST_F(BrickPlugins, SearchesNearTheProgramAndNearTheLibraryOfTheHost) {
  const std::filesystem::path program =
      std::filesystem::read_symlink("/proc/self/exe").parent_path();
  brick_plugins::RegisterFile(kSample, "missing.so");
  const PlugInFolder elsewhere("");
  EXPECT_EQ(FailureOf(kSample), "no plug-in file missing.so in " + program.string() + ", " +
                                    (program.parent_path() / "lib").string() +
                                    ", " HOST_LIBRARY_FOLDER "/zel3");
}

TEST_F(BrickPlugins, NamesTheFileThatWouldBeLoaded) {
  EXPECT_EQ(brick_plugins::FileFor(kSample), SamplePath());
  EXPECT_FALSE(IsLoaded(SamplePath()));
  EXPECT_THROW(brick_plugins::FileFor(FourCc("Nope")), std::runtime_error);
}

TEST_F(BrickPlugins, KnowsTheFilesOfTheReaderAndTheParserFromTheStart) {
  brick_plugins::ResetRegistrations();
  EXPECT_THAT(brick_plugins::KnownFiles(),
              UnorderedElementsAre(Pair(FourCc("Zel3"), "zel3reader.so"),
                                   Pair(FourCc("Pars"), "zel3parser.so")));
}

TEST_F(BrickPlugins, LoadsAFileWithoutMakingABrick) {
  brick_plugins::Load(kSample);
  EXPECT_TRUE(IsLoaded(SamplePath()));
  brick_plugins::RegisterFile(kSample, "no_entry.so");
  EXPECT_THROW(brick_plugins::Load(kSample), std::runtime_error);
}

TEST_F(BrickPlugins, TellsAnObserverWhichBricksAreAskedFor) {
  std::vector<Tag> asked;
  brick_plugins::SetObserver([&asked](Tag signature) { asked.push_back(signature); });
  MakeBrick(kSample);
  MakeBrick(FourCc("Nope"));
  brick_plugins::SetObserver({});
  MakeBrick(kSample);
  EXPECT_THAT(asked, ElementsAre(kSample, FourCc("Nope")));
}

TEST_F(BrickPlugins, SaysThatNoPlugInIsKnown) {
  EXPECT_EQ(FailureOf(FourCc("Nope")), "no plug-in is known for 'Nope'");
  EXPECT_EQ(FailureOf(0x01020304), "no plug-in is known for 16909060");
}

TEST_F(BrickPlugins, SaysWhichFileItDidNotFindAndWhere) {
  brick_plugins::RegisterFile(kSample, "missing.so");
  EXPECT_THAT(FailureOf(kSample), HasSubstr("no plug-in file missing.so in " PLUGIN_FOLDER));
}

TEST_F(BrickPlugins, SaysWhyAFileCannotBeLoaded) {
  const TempFolder folder;
  WriteFile(folder / kSampleFile, std::string(100, 'x'));
  const PlugInFolder elsewhere(folder.Path());
  EXPECT_THAT(FailureOf(kSample), AllOf(HasSubstr("cannot load " + (folder / kSampleFile) + ": "),
                                        HasSubstr("invalid ELF header")));
}

TEST_F(BrickPlugins, SaysThatALibraryIsNotAPlugIn) {
  brick_plugins::RegisterFile(kSample, "no_entry.so");
  EXPECT_EQ(FailureOf(kSample),
            PLUGIN_FOLDER "/no_entry.so is not a plug-in: it has no CreateBrick");
}

TEST_F(BrickPlugins, PassesOverFoldersAndPipesOfTheName) {
  const TempFolder folder;
  const TempFolder pipe;
  std::filesystem::create_directory(folder / kSampleFile);
  ASSERT_EQ(mkfifo((pipe / kSampleFile).c_str(), 0600), 0);
  const EnvironmentValue variable("ZEL3_PLUGIN_FOLDER", pipe.Path().c_str());
  const PlugInFolder elsewhere(folder.Path());
  EXPECT_THAT(FailureOf(kSample), HasSubstr("no plug-in file sample_plugin.so in "));
}

struct Failure {
  const char* name;
  const char* reason;
};

class BrickPluginsFailure : public BrickPlugins, public testing::WithParamInterface<Failure> {};

TEST_P(BrickPluginsFailure, GivesNullAndTheReason) {
  EXPECT_THAT(FailureOf(kSample, GetParam().name), HasSubstr(GetParam().reason));
  EXPECT_NE(MakeBrick(kSample), nullptr);
  EXPECT_THAT(brick_plugins::LastError(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    OfThePlugIn, BrickPluginsFailure,
    testing::Values(Failure{"refuse", "the plug-in for 'Smpl' refused the configuration"},
                    Failure{"fail", "the plug-in for 'Smpl' failed: the lens is dirty"},
                    Failure{"no memory", "the plug-in for 'Smpl' failed: std::bad_alloc"},
                    Failure{"fail oddly", "the plug-in failed without a reason"}));

TEST_F(BrickPlugins, ComeFromTheFolderOfTheirPipeline) {
  const TempFolder one;
  const TempFolder other;
  for (const TempFolder* const folder : {&one, &other}) CopySampleTo(*folder / kSampleFile);
  for (const TempFolder* const folder : {&one, &other}) {
    const Pipeline pipeline(HostSettings{"", folder->Path()});
    TBrickConfig config = {};
    config.ownerContext = pipeline.Id();
    EXPECT_FALSE(IsLoaded(*folder / kSampleFile));
    EXPECT_NE(Brick(CBrickLoader::CreateBrick(kSample, config)), nullptr);
    EXPECT_TRUE(IsLoaded(*folder / kSampleFile));
  }
  EXPECT_FALSE(IsLoaded(SamplePath()));
}

TEST_F(BrickPlugins, TellEachThreadItsOwnFailure) {
  EXPECT_EQ(FailureOf(FourCc("Nope")), "no plug-in is known for 'Nope'");
  OnThreads(1, [](int) {
    EXPECT_THAT(brick_plugins::LastError(), IsEmpty());
    FailureOf(FourCc("None"));
    EXPECT_EQ(brick_plugins::LastError(), "no plug-in is known for 'None'");
  });
  EXPECT_EQ(brick_plugins::LastError(), "no plug-in is known for 'Nope'");
}

TEST_F(BrickPlugins, AreLoadedOnceByManyThreads) {
  OnThreads(8, [](int) {
    const PlugInFolder folder(PLUGIN_FOLDER);
    for (int round = 0; round < 50; ++round) EXPECT_NE(MakeBrick(kSample), nullptr);
  });
  brick_plugins::UnloadAll();
  EXPECT_FALSE(IsLoaded(SamplePath()));
}

TEST_F(BrickPlugins, MayBeRegisteredByManyThreads) {
  std::atomic<int> observed{0};
  brick_plugins::SetObserver([&observed](Tag) { ++observed; });
  OnThreads(8, [](int number) {
    const PlugInFolder folder(PLUGIN_FOLDER);
    for (Tag round = 0; round < 50; ++round) {
      const Tag signature = round * 8 + static_cast<Tag>(number);
      brick_plugins::RegisterFactory(signature, [](TBrickConfig*) { return new CBrick; });
      EXPECT_NE(MakeBrick(signature), nullptr);
      const Tag other = signature + 1000;
      brick_plugins::RegisterFile(other, kSampleFile);
      EXPECT_EQ(brick_plugins::KnownFiles().count(other), 1u);
      EXPECT_NE(MakeBrick(other), nullptr);
    }
  });
  brick_plugins::SetObserver({});
  EXPECT_EQ(observed, 800);
}

// A source asks for its parser while it is being made itself.
TEST_F(BrickPlugins, MayBeAskedWhileABrickIsBeingMade) {
  brick_plugins::RegisterFactory(FourCc("Outr"), [](TBrickConfig*) {
    EXPECT_NE(MakeBrick(kSample), nullptr);
    return new CBrick;
  });
  EXPECT_NE(MakeBrick(FourCc("Outr")), nullptr);
}

}  // namespace
