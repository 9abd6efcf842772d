#include "sqlite_times.h"

#include <sqlite3.h>

#include <stdexcept>

namespace {

void Check(bool right) {
  if (!right) throw std::runtime_error("cannot use the table of times");
}

}  // namespace

SqliteTimes::SqliteTimes(const std::string& path, std::int64_t firstTime, int count) {
  Check(sqlite3_open(path.c_str(), &mFile) == SQLITE_OK);
  Run("CREATE TABLE entries (t INTEGER PRIMARY KEY, position INTEGER); BEGIN");
  sqlite3_stmt* insertion = nullptr;
  Check(sqlite3_prepare_v2(mFile, "INSERT INTO entries VALUES (?, ?)", -1, &insertion, nullptr) ==
        SQLITE_OK);
  for (int i = 0; i < count; ++i) {
    sqlite3_bind_int64(insertion, 1, firstTime + i);
    sqlite3_bind_int64(insertion, 2, std::int64_t(i) * 400);
    Check(sqlite3_step(insertion) == SQLITE_DONE);
    sqlite3_reset(insertion);
  }
  sqlite3_finalize(insertion);
  Run("COMMIT");
  constexpr char kQuestion[] =
      "SELECT t, position FROM entries WHERE t <= ? ORDER BY t DESC LIMIT 1";
  Check(sqlite3_prepare_v2(mFile, kQuestion, -1, &mQuestion, nullptr) == SQLITE_OK);
}

SqliteTimes::~SqliteTimes() {
  sqlite3_finalize(mQuestion);
  sqlite3_close(mFile);
}

std::int64_t SqliteTimes::AtOrBefore(std::int64_t time) {
  sqlite3_bind_int64(mQuestion, 1, time);
  const bool isFound = sqlite3_step(mQuestion) == SQLITE_ROW;
  const std::int64_t found = isFound ? sqlite3_column_int64(mQuestion, 0) : 0;
  sqlite3_reset(mQuestion);
  return found;
}

void SqliteTimes::Run(const char* statement) {
  Check(sqlite3_exec(mFile, statement, nullptr, nullptr, nullptr) == SQLITE_OK);
}
