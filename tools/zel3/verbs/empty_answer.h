#pragma once

#include "system/failure.h"

// Runs a verb. When it ends because nothing is recorded or known there, `printEmpty` prints before
// that what programs get, so that they need not tell an empty answer from none.
template <class Verb, class PrintEmpty>
int RunOrPrintEmpty(Verb verb, PrintEmpty printEmpty) {
  try {
    return verb();
  } catch (const Failure& failure) {
    if (failure.Code() == kExitNothing || failure.Code() == kExitDamaged) printEmpty();
    throw;
  }
}
