#pragma once

#include <cstdint>
#include <string>

#include "archive/archive_scan.h"

// What an index cannot hold of an archive. Numbers of bytes.
struct Damage {
  std::uint64_t damaged = 0;  // make no sense, or cannot be read
  std::uint64_t cutOff = 0;   // of a last record that is not whole

  bool IsNone() const { return damaged == 0 && cutOff == 0; }
};

// Reads the whole archive. Throws what ScanArchive throws.
Damage DamageOf(
    const std::string& archive, const OnBytesRead& onBytesRead = [](std::uint64_t) {});
