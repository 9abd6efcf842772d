#include "plugin.h"

#include <dlfcn.h>

#include <cstring>
#include <stdexcept>

#include "messages.h"

Plugin::Plugin(const char* file) : mHandle(dlopen(file, RTLD_NOW | RTLD_LOCAL)) {
  if (mHandle == nullptr) throw std::runtime_error(dlerror());
  void* const entryPoint = dlsym(mHandle, "CreateBrick");
  if (entryPoint == nullptr) throw std::runtime_error(dlerror());
  mCreateBrick = reinterpret_cast<CBrick* (*)(TBrickConfig*)>(entryPoint);
}

Plugin::~Plugin() {
  dlclose(mHandle);
}

CBrick* Plugin::MakeReader(const std::string& source, const std::string& cacheFolder,
                           const char (&kind)[5]) const {
  TBrickConfig config;
  std::memset(&config, 0, sizeof(config));
  config.signature = Code("Rdr7");
  config.input.format = config.output.format = Code("zel3");
  config.input.kind = Code(kind);
  config.output.kind = Code("RDat");
  std::strncpy(config.sourcePath, source.c_str(), sizeof(config.sourcePath) - 1);
  std::strncpy(config.cacheFolder, cacheFolder.c_str(), sizeof(config.cacheFolder) - 1);
  return mCreateBrick(&config);
}

bool Plugin::IsLoaded(const char* file) {
  void* const handle = dlopen(file, RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return handle != nullptr;
}
