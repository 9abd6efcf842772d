#pragma once

#pragma pack(push)
#pragma pack(1)
struct TContentDescriptor {
  unsigned format;
  unsigned kind;
};

struct TBrickConfig {
  unsigned ownerContext;
  unsigned signature;
  TContentDescriptor input;
  TContentDescriptor output;
  unsigned param;
  char name[261];
  char sourcePath[261];
  char cacheFolder[261];
};
#pragma pack(pop)
