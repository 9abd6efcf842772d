#pragma once

#include "system/failure.h"

// Runs a verb. When it ends because nothing is recorded or known there, `printEmpty` first prints
// the empty answer for programs, so that they always get one.
template <class Verb, class PrintEmpty>
int RunOrPrintEmpty(Verb verb, PrintEmpty printEmpty) {
  try {
    return verb();
  } catch (const Failure& failure) {
    if (failure.Code() == kExitNothing || failure.Code() == kExitDamaged) printEmpty();
    throw;
  }
}
