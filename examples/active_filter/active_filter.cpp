#include <blocks/contain.h>
#include <blocks/stream_records.h>
#include <blocks/tags.h>
#include <sdk/brick.h>

#include <memory>

namespace {

// Goes after a parser and passes on what it sends, except data blocks of streams that are not
// active enough: those below the level, 0 to 31, that `param` of the configuration says.
class ActiveFilter final : public CBrick {
 public:
  bool IsKnownInput(const TContentDescriptor& input) override {
    return input.format == tag::kFormatMany && input.kind == tag::kKindMany;
  }
  bool IsKnownOutput(const TContentDescriptor& output) override { return IsKnownInput(output); }

 private:
  int onCreate(const TBrickConfig& config) override {
    mLeastLevel = config.param;
    return 1;
  }

  int onData(const cMemBlock& block) override {
    if (!IsQuiet(block)) Pass([&] { SendData(block); });
    return 1;
  }

  // Notifications keep their place among the data blocks.
  int onNotify(const cMemBlock& block) override {
    Pass([&] { SendData(block); });
    return 1;
  }

  // The host does not forward commands: those of clients go up, to the reader; those from there go
  // down. SendCmd reaches both sides; the parser ignores what it has sent itself.
  int onCtrl(cMemBlock& block) override {
    Pass([&] { CameFrom() == Side::kDownstream ? SendUp(block) : SendCmd(block); });
    return 1;
  }

  // No exception may leave a brick. A block that cannot be sent for lack of memory is dropped.
  template <class Send>
  void Pass(const Send& send) {
    Contain(send);
  }

  bool IsQuiet(const cMemBlock& block) const {
    switch (block.GetType()) {
      case tag::kVideo:
      case tag::kSound:
      case tag::kImage:
      case tag::kText:
      case tag::kBinary:
      case tag::kUnknownKind: {
        // All kinds of data are laid out alike.
        const DataBlock data = DataBlock::View(block);
        return data.HoldsRecord() && (data.Record().flags & kLevelBits) < mLeastLevel;
      }
      default:
        return false;
    }
  }

  static constexpr std::uint32_t kLevelBits = 0x1F;

  std::uint32_t mLeastLevel = 0;
};

}  // namespace

// The only name that the module exports; all others are hidden, so that the module can be unloaded.
// The caller owns the brick. Null for a configuration that does not fit this brick.
extern "C" __attribute__((visibility("default"))) CBrick* CreateBrick(TBrickConfig* config) {
  if (config == nullptr) return nullptr;
  auto filter = std::make_unique<ActiveFilter>();
  if (!filter->IsKnownInput(config->input) || !filter->IsKnownOutput(config->output))
    return nullptr;
  filter->Create(*config);
  return filter.release();
}
