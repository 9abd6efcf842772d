#pragma once

#include "support/reader_test.h"

// A reader over files that are not what they should be is asked everything there is to ask.
class EveryRequest : public ReaderTest {
 protected:
  // Makes every kind of request, and checks what must hold for their answers: one each, of a known
  // kind. Only the list and previews may get none, and a run may come before the answer that it
  // serves.
  void AskEverything();

  void OpenAndAskEverything(const std::string& source);
};
