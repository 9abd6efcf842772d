#include <dlfcn.h>

#include <fstream>

#include "command_output.h"
#include "host/brick_plugins.h"
#include "support/reader_test.h"

namespace {

using testing::AnyOf;
using testing::Each;
using testing::StartsWith;
using testing::UnorderedElementsAre;

bool IsMapped(const std::string& fileName) {
  std::ifstream maps("/proc/self/maps");
  const std::string text((std::istreambuf_iterator<char>(maps)), {});
  return text.find(fileName) != std::string::npos;
}

std::string LastWord(const std::string& line) {
  return line.substr(line.find_last_of(' ') + 1);
}

// The names of the module's dynamic symbols that `choice` of the symbol lister shows.
Lines SymbolNames(const std::string& choice) {
  Lines names;
  for (const std::string& line : CommandOutput(SYMBOL_LISTER " -D " + choice + " " PLUGIN_FILE)) {
    names.push_back(LastWord(line));
  }
  return names;
}

// The library or program that holds the code at an address.
std::string FileOf(void* address) {
  Dl_info info = {};
  return dladdr(address, &info) != 0 ? info.dli_fname : "";
}

using Module = ReaderTest;

TEST_F(Module, OffersTheFactoryAndTheLoadHookAndNothingElse) {
  EXPECT_THAT(SymbolNames("--defined-only"), UnorderedElementsAre("CreateBrick", "DllMain"));
}

TEST_F(Module, NeedsOnlyTheHostQtAndTheCAndCppLibraries) {
  Lines needed;
  for (const std::string& line : CommandOutput(ELF_READER " -d " PLUGIN_FILE)) {
    if (line.find("(NEEDED)") != std::string::npos) {
      needed.push_back(line.substr(line.find('[') + 1));
    }
  }
  ASSERT_FALSE(needed.empty());
  EXPECT_THAT(needed,
              Each(AnyOf(StartsWith("libbrickhost."), StartsWith("libQt5Core."),
                         StartsWith("libstdc++."), StartsWith("libgcc_s."), StartsWith("libc."),
                         StartsWith("libm."), StartsWith("ld-linux"),
                         // only in builds that check themselves
                         StartsWith("libasan."), StartsWith("libubsan."), StartsWith("libtsan."))));
}

TEST_F(Module, AsksOnlyTheHostForWhatNoVersionedLibraryOffers) {
  void* const host = dlopen(HOST_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(host, nullptr);
  int asked = 0;
  for (const std::string& line : CommandOutput(SYMBOL_LISTER " -D -u " PLUGIN_FILE)) {
    const std::string name = LastWord(line);
    const bool isWeak = line.find(" w ") != std::string::npos;
    const bool isVersioned = name.find('@') != std::string::npos;
    const bool isOfASanitizer = name.find("san_") != std::string::npos;
    if (isWeak || isVersioned || isOfASanitizer) continue;
    EXPECT_NE(dlsym(host, name.c_str()), nullptr) << name;
    ++asked;
  }
  EXPECT_GT(asked, 0);
  dlclose(host);
}

TEST_F(Module, LoadHookDoesNothingAndReturnsOne) {
  void* const module = dlopen(PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr) << dlerror();
  using LoadHook = int (*)(void*, unsigned long, void*);
  const auto hook = reinterpret_cast<LoadHook>(dlsym(module, "DllMain"));
  ASSERT_NE(hook, nullptr);
  for (const unsigned long reason : {0ul, 1ul, 2ul, 77ul}) {
    EXPECT_EQ(hook(nullptr, reason, nullptr), 1) << reason;
  }
  dlclose(module);
}

TEST_F(Module, LeavesTheProcessWhenItIsUnloaded) {
  Open(Place("cam.zel3", ArchiveOf("cam", {10, 20})));
  Settle();
  EXPECT_TRUE(IsMapped("zel3reader.so"));
  EndReader();
  brick_plugins::UnloadAll();
  EXPECT_FALSE(IsMapped("zel3reader.so"));
}

TEST_F(Module, WorksAgainAfterItWasUnloaded) {
  const std::string path = Place("cam.zel3", ArchiveOf("cam", {10, 20}));
  Open(path);
  Settle();
  EndReader();
  brick_plugins::UnloadAll();
  Open(path);
  EXPECT_THAT(Ask(ArchivesRequest()), ElementsAre("ArcA 1 " + path));
}

// The host calls the reader by the places in the table of virtual functions.
TEST_F(Module, OverridesTheDestructorsAndTheFourCallbacksOnly) {
  Open(Place("cam.zel3", ArchiveOf("cam", {10, 20})));
  void* const* const table = *reinterpret_cast<void* const* const*>(reader.get());
  for (const int slot : {0, 1, 18, 19, 20, 21}) {
    EXPECT_THAT(FileOf(table[slot]), testing::EndsWith("zel3reader.so")) << "slot " << slot;
  }
  for (const int slot : {2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 22, 23}) {
    EXPECT_THAT(FileOf(table[slot]), testing::EndsWith("/" HOST_LIBRARY)) << "slot " << slot;
  }
}

}  // namespace
