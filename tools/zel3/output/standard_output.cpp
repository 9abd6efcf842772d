#include "output/standard_output.h"

#include <iostream>

#include "system/failure.h"

void CheckStandardOutput() {
  if (!std::cout) throw Failure("cannot write to the standard output");
}
