#pragma once

#include <algorithm>
#include <string>

#include "fuzz_input.h"

// Where the archive begins in the input of a target, which archive_mutator.cpp must know, too.
#ifndef ARCHIVE_OFFSET
#error "zel3_add_fuzzer(... ARCHIVE_AT n) says where the archive begins"
#endif

// The input of a target that takes an archive: choices, then any bytes as the archive, so that a
// file from elsewhere becomes an input by a few bytes before it.
struct ArchiveInput {
  ArchiveInput(const std::uint8_t* bytes, std::size_t size)
      : choices(bytes, std::min<std::size_t>(size, ARCHIVE_OFFSET)),
        archive(bytes + std::min<std::size_t>(size, ARCHIVE_OFFSET), bytes + size) {}

  FuzzInput choices;
  const Bytes archive;
};
