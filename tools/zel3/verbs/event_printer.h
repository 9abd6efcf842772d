#pragma once

#include <optional>

#include "archive/recorded_event.h"
#include "output/output_style.h"
#include "output/tables.h"

// Prints events as they come, in any format. What is printed is whole also when there are none.
class EventPrinter {
 public:
  explicit EventPrinter(const OutputStyle& style);

  // Throws Failure when it cannot be written.
  void Print(const RecordedEvent& event);
  // Ends what has been printed.
  void Finish();

  bool HasPrinted() const { return mHasPrinted; }

 private:
  void Begin();

  const OutputFormat mFormat;
  const TimeFormat mTimes;
  LongTable mTable;
  bool mHasPrinted = false;
};
