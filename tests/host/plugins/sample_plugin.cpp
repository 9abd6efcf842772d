#include <cstring>
#include <new>
#include <stdexcept>

#include "blocks/struct_block.h"
#include "sdk/brick.h"

// A plug-in whose brick uses a pool of its own, and whose factory does what the configuration's
// name says.

namespace {

using SampleBlock = cStructBlock<int, FourCc("smpl")>;

class SampleBrick : public CBrick {
 protected:
  int onCreate(const TBrickConfig&) override {
    SendData(SampleBlock::New());
    return 1;
  }
};

}  // namespace

extern "C" __attribute__((visibility("default"))) CBrick* CreateBrick(TBrickConfig* config) {
  if (std::strcmp(config->name, "refuse") == 0) return nullptr;
  if (std::strcmp(config->name, "fail") == 0) throw std::runtime_error("the lens is dirty");
  if (std::strcmp(config->name, "no memory") == 0) throw std::bad_alloc();
  if (std::strcmp(config->name, "fail oddly") == 0) throw 17;
  CBrick* const brick = new SampleBrick;
  brick->Create(*config);
  return brick;
}
