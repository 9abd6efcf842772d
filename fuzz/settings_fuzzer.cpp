// Any bytes in a settings file: a key has the same value when it is read again, and writing the
// default of a missing key changes no other key.

#include "fuzz_folder.h"
#include "fuzz_input.h"
#include "sdk/ini_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const FuzzFolder folder;
  static const std::string path = [] {
    CIniFile made("fuzz");
    made.EnableDefValsCreation(true);
    made.GetInt("made", 1);
    for (const std::string& name : EntryNames(folder.Path())) return folder / name;
    std::abort();
  }();
  WriteFile(path, Bytes(bytes, bytes + size));
  const int limit = CIniFile("fuzz").GetInt("ID3_HDR_EVT_total_MB", 100);
  const int other = CIniFile("fuzz").GetInt("a", -1);
  CIniFile creating("fuzz");
  creating.EnableDefValsCreation(true);
  FUZZ_REQUIRE(creating.GetInt("ID3_HDR_EVT_total_MB", 100) == limit);
  FUZZ_REQUIRE(CIniFile("fuzz").GetInt("ID3_HDR_EVT_total_MB", 7) == limit || limit == 100);
  FUZZ_REQUIRE(CIniFile("fuzz").GetInt("a", -1) == other);
  return 0;
}
