#pragma once

#include <QFile>
#include <string>

#include "archive/archive_scan.h"
#include "archive/index_collector.h"
#include "fuzz_input.h"
#include "indexer/zel3_indexer.h"

// Writes the index of an archive beside it, as an indexing run does.
inline void WriteExactCache(const std::string& archive) {
  cZel3Indexer indexer;
  indexer.Open_file_draft(QFile::decodeName(archive.c_str()));
  IndexCollector collector(&indexer);
  ScanArchive(archive, collector);
  indexer.Save_files();
}
