#pragma once

#include <cstdint>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

// Times in a table of an SQLite file, found as `IndexInfoFromTime` finds entries. Errors throw
// std::runtime_error.
class SqliteTimes {
 public:
  // Makes the file, with times one unit apart.
  SqliteTimes(const std::string& path, std::int64_t firstTime, int count);
  ~SqliteTimes();
  SqliteTimes(const SqliteTimes&) = delete;
  SqliteTimes& operator=(const SqliteTimes&) = delete;

  // The last time at or before this one; 0 when there is none.
  std::int64_t AtOrBefore(std::int64_t time);

 private:
  void Run(const char* statement);

  sqlite3* mFile = nullptr;
  sqlite3_stmt* mQuestion = nullptr;
};
