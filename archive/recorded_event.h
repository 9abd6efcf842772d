#pragma once

#include <cstdint>
#include <string>

#include "blocks/units.h"

struct RecordedEvent {
  ArchiveTime time = 0;
  std::uint8_t type = 0;
  std::string text;  // as recorded: any bytes
};
