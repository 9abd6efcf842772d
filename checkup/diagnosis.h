#pragma once

#include <vector>

#include "checkup/archive_checkup.h"
#include "checkup/finding.h"
#include "system/progress.h"

// What is known of the archives of a source after going through all of them once.
struct Diagnosis {
  std::vector<ArchiveFacts> archives;  // by name
  std::vector<Finding> findings;       // file by file, then how the files follow each other
};

// Goes through the files of a source, each by itself and how they follow each other in time. When
// there are very many findings, those of later files are summed up, except one of each kind and
// file. Nothing is changed. Throws Failure when the source holds no file or the user interrupts.
Diagnosis Diagnose(const SourceFacts& source, Progress* progress);
