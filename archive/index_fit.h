#pragma once

#include <string>

#include "archive/kept_index.h"
#include "blocks/units.h"
#include "indexer/plain_file.h"

// Whether an index is that of an archive as the archive is now. A cache is found only by its name,
// and an archive may have grown since, or another one may have taken its name.
struct IndexFit {
  enum class Verdict {
    kFits,
    kGrown,  // what it says is true, but the archive goes on after it
    kOther,  // it is the index of something else
  };

  Verdict verdict = Verdict::kFits;
  std::string why;  // unless it fits: a clause that follows the name of the archive
};

// Looks at up to 256 of the entries and 16 of the headers, chosen evenly, and follows the framing
// before the first entry and after the last: a parser must find no other index record there. A few
// hundred short reads. Throws Failure when the user interrupts.
IndexFit FitOf(const KeptIndex& index, const PlainFile& archive);
