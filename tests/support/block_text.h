#pragma once

#include <string>

#include "sdk/mem_block.h"

// A block as one line, so that a test compares what was sent with readable text:
//   "IRN3 0/2 at 30000"           entry 2 of file 0; " preview" and " reached" when set
//   "IRN3 none at 3000"           no entry
//   "Warn W008 37% cam.zel3"      level, code, text and detail of a message
//   "Cewg"                        a message without code and texts
//   "RDat 113"                    the size of raw data
//   "ArcA 2 /archives"            the count of archives and their source
//   "Gist 128", "rset 25"         bytes of the payload
//   "Evt 3"                       events
//   "CRq3 0 type 2"               a chunk request
//   "Kill 0"                      the bytes of the command
std::string BlockText(const cMemBlock& block);
