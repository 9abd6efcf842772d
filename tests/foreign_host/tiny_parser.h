#pragma once

#include <string>

#include "sdk/brick.h"

// Parses small archives for a reader that indexes them: one video stream, and events.
class TinyParser : public CBrick {
 protected:
  int onCtrl(cMemBlock& block) override;
  int onData(const cMemBlock& block) override;
  int onNotify(const cMemBlock& block) override;

 private:
  // The length of the record at the front of what has come; 0 when it is not all there.
  std::size_t RecordLength() const;
  void Report();
  void SendPosition();
  void SendHeader();

  std::string mBytes;
  unsigned long long mPosition = 0;
};
