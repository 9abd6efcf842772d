#include <blocks/four_cc.h>
#include <dlfcn.h>
#include <sdk/brick.h>

#include <cstdio>
#include <memory>

// A program that loads the host's library with local symbols, as something larger does that is
// itself a plug-in. Ends with 1 when that library cannot load the reader.
//   local_host LIBRARY
int main(int argumentCount, char** arguments) {
  if (argumentCount != 2) return 2;
  void* const library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::puts(dlerror());
    return 2;
  }
  using Loader = CBrick* (*)(unsigned long, TBrickConfig&);
  const auto createBrick =
      reinterpret_cast<Loader>(dlsym(library, "_ZN12CBrickLoader11CreateBrickEmR12TBrickConfig"));
  TBrickConfig config = {};
  config.signature = FourCc("Zel3");
  config.input = {FourCc("zel3"), FourCc("Fold")};
  config.output = {FourCc("zel3"), FourCc("RDat")};
  const std::unique_ptr<CBrick> reader(createBrick(config.signature, config));
  return reader != nullptr ? 0 : 1;
}
