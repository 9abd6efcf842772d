// The reference parser finds the same records in any bytes, however the stream is divided.

#include "fuzz_input.h"
#include "support/found_records.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzInput input(bytes, size);
  const std::size_t oddSize = input.Byte() + 2;
  const Bytes stream = input.Rest();
  const Lines whole = FoundInPieces(stream, std::max<std::size_t>(stream.size(), 1));
  FUZZ_REQUIRE(FoundInPieces(stream, 1) == whole);
  FUZZ_REQUIRE(FoundInPieces(stream, oddSize) == whole);
  return 0;
}
