#include <QCoreApplication>
#include <exception>
#include <iostream>
#include <string>

#include "command_line/command_line.h"
#include "output/notice.h"
#include "output/standard_output.h"
#include "system/failure.h"
#include "system/interruption.h"

namespace {

int Fail(const std::string& message, int exitCode) {
  std::cout.flush();
  PrintNotice(message);
  return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  QCoreApplication::setApplicationName(QLatin1String("zel3"));
  interruption::Watch();
  try {
    const int exitCode = ParseCommandLine(argc, argv)();
    std::cout.flush();
    CheckStandardOutput();
    return exitCode;
  } catch (const Failure& error) {
    return Fail(error.what(), error.Code());
  } catch (const std::bad_alloc&) {
    return Fail("not enough memory", kExitFailed);
  } catch (const std::exception& error) {
    return Fail(error.what(), kExitFailed);
  }
}
