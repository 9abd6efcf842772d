#include <dlfcn.h>

#include <cstring>

#include "host/brick_plugins.h"
#include "sdk/brick_loader.h"
#include "support/reader_test.h"

namespace {

struct Refusal {
  const char* name;
  void (*spoil)(TBrickConfig*);
};

class Factory : public ReaderTest {
 protected:
  static CBrick* Make(TBrickConfig config) {
    return CBrickLoader::CreateBrick(tag::kSignatureReader, config);
  }
};

TEST_F(Factory, RefusesWhatIsNotForAReader) {
  const Refusal refusals[] = {
      {"a single-file kind", [](TBrickConfig* config) { config->input.kind = FourCc("File"); }},
      {"raw data as the kind of input",
       [](TBrickConfig* config) { config->input.kind = tag::kRawData; }},
      {"a kind in other case", [](TBrickConfig* config) { config->input.kind = FourCc("fold"); }},
      {"older archives", [](TBrickConfig* config) { config->input.format = tag::kFormatZel1; }},
      {"older archives out",
       [](TBrickConfig* config) { config->output.format = tag::kFormatZel1; }},
      {"another kind of output",
       [](TBrickConfig* config) { config->output.kind = tag::kKindMany; }},
      {"parsers",
       [](TBrickConfig* config) {
         config->output = {tag::kFormatMany, tag::kKindMany};
       }},
      {"nothing",
       [](TBrickConfig* config) {
         config->input = config->output = {0, 0};
       }},
  };
  Open(folder.Path());
  for (const Refusal& refusal : refusals) {
    TBrickConfig config = Config(folder.Path());
    refusal.spoil(&config);
    EXPECT_EQ(Make(config), nullptr) << refusal.name;
    EXPECT_EQ(brick_plugins::LastError(), "the plug-in for 'Zel3' refused the configuration")
        << "it does not throw";
  }
  EXPECT_EQ(pipeline.BrickCount(), 2u) << "the reader that was not spoilt, and its client";
}

TEST_F(Factory, AcceptsAnySignatureParameterAndName) {
  TBrickConfig config = Config(folder.Path());
  config.signature = FourCc("Many");
  config.param = 0xFFFFFFFF;
  std::memset(config.name, 'n', sizeof(config.name));
  Open(config);
  EXPECT_EQ(reader->GetSignature(), FourCc("Many"));
}

TEST_F(Factory, RefusesAMissingConfiguration) {
  void* const module = dlopen(PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr) << dlerror();
  const auto create = reinterpret_cast<CBrick* (*)(TBrickConfig*)>(dlsym(module, "CreateBrick"));
  ASSERT_NE(create, nullptr);
  EXPECT_EQ(create(nullptr), nullptr);
  dlclose(module);
}

TEST_F(Factory, GivesAReaderEvenWhenNothingExistsAtTheSource) {
  Open(folder / "nothing here");
  EXPECT_THAT(Told(), IsEmpty());
  EXPECT_EQ(pipeline.BrickCount(), 2u);
}

}  // namespace
