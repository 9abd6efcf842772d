#include "verbs/console.h"

#include <iostream>
#include <memory>

#include "client/archive_session.h"
#include "client/plug_ins.h"
#include "json/block_json.h"
#include "json/command_json.h"
#include "json/json_line.h"
#include "output/standard_output.h"
#include "system/failure.h"
#include "system/interruption.h"
#include "verbs/console_lines.h"

namespace {

void PrintIdle() {
  Json line;
  line["idle"] = true;
  PrintPlainJsonLine(line);
  std::cout.flush();
  CheckStandardOutput();
}

void PrintError(std::uint64_t lineNumber, const char* why) {
  Json line;
  line["error"] = "line " + std::to_string(lineNumber) + ": " + why;
  PrintPlainJsonLine(line);
}

bool IsBlank(const std::string& line) {
  return line.find_first_not_of(" \t\r") == std::string::npos;
}

}  // namespace

int RunConsole(const HostOptions& host, const ConsoleOptions& options) {
  const PlugIns plugIns(host);
  ArchiveSession session(plugIns, host, options.source, [&options](const cMemBlock& block) {
    if (options.showAll || IsAnswer(block)) PrintBlock(block, options.byteLimit, std::cout);
  });
  session.RunUntilIdle();
  PrintIdle();

  const std::unique_ptr<ConsoleLines> lines = MakeConsoleLines();
  int exitCode = kExitDone;
  std::string line;
  for (std::uint64_t lineNumber = 1; lines->Next(&line); ++lineNumber) {
    if (IsBlank(line)) continue;
    try {
      for (const cMemBlock& command : CommandsFromJson(line)) session.Send(command);
    } catch (const CommandError& error) {
      PrintError(lineNumber, error.what());
      exitCode = kExitUsage;
    }
    session.RunUntilIdle();
    PrintIdle();
  }
  interruption::Check();
  return exitCode;
}
