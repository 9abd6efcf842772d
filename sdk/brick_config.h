#pragma once

#include <cstdint>

#pragma pack(push, 1)

// What a brick consumes or produces: two four-character tags.
struct TContentDescriptor {
  std::uint32_t format;
  std::uint32_t kind;
};

// The record that a brick is created from. Host and plug-ins agree on it byte for byte.
struct TBrickConfig {
  std::uint32_t ownerContext;  // names the pipeline that the brick belongs to
  std::uint32_t signature;     // four-character tag of the brick type asked for
  TContentDescriptor input;
  TContentDescriptor output;
  std::uint32_t param;    // for the host's own use; 0 when unused
  char name[261];         // NUL-terminated
  char sourcePath[261];   // NUL-terminated, local 8-bit encoding: the archive file or folder
  char cacheFolder[261];  // NUL-terminated, Latin-1: folder of the index cache; empty: beside the
                          // archive
};

#pragma pack(pop)

static_assert(sizeof(TBrickConfig) == 811, "hosts and plug-ins exchange this record as bytes");
