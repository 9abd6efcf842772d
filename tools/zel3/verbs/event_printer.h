#pragma once

#include <optional>

#include "archive/recorded_event.h"
#include "output/output_style.h"
#include "output/tables.h"
#include "verbs/asked_source.h"

// Prints the events of a source as they come, in any format. The output is well-formed even when
// there are none.
class EventPrinter {
 public:
  // Borrows the source.
  EventPrinter(const OutputStyle& style, AskedSource* asked);

  // Throws Failure when it cannot be written.
  void Print(const RecordedEvent& event);
  // Ends the output.
  void Finish();

  bool HasPrinted() const { return mHasPrinted; }

 private:
  void Begin();

  AskedSource& mAsked;
  const OutputFormat mFormat;
  const TimeFormat mTimes;
  LongTable mTable;
  bool mHasPrinted = false;
};
