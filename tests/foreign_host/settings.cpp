#include <cstdlib>

#include "sdk/brick_loader.h"
#include "sdk/ini_file.h"
#include "tiny_parser.h"

// Settings without a file, and the only brick that others may ask for.

CIniFile::CIniFile(const std::string& name) : mName(name), mAsked(0) {
  for (void*& self : mSelf) self = this;
}
CIniFile::~CIniFile() {
  Check();
}
void CIniFile::EnableDefValsCreation(bool) {
  Check();
}
int CIniFile::GetInt(const std::string& key, int defaultValue) {
  Check();
  ++mAsked;
  return key == "ID3_HDR_EVT_total_MB" ? 50 : defaultValue;
}

// Moving the object, or writing into it, ends the process.
void CIniFile::Check() const {
  for (void* self : mSelf) {
    if (self != this) std::abort();
  }
}

CBrick* CBrickLoader::CreateBrick(unsigned long signature, TBrickConfig& config) {
  if (signature != kParser) return nullptr;
  CBrick* const parser = new TinyParser();
  parser->Create(config);
  return parser;
}
