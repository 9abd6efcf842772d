#pragma once

#include <cstdint>
#include <memory>

#include "sdk/brick_config.h"
#include "sdk/mem_block.h"
#include "sdk/sdk_export.h"

// A processing node of a pipeline: the base of all bricks.
//
// A brick has neighbours before it (it was connected after them) and after it. Blocks travel
// through queues: in this host nothing is delivered from inside a send, a connection call, Create
// or a destructor. The pipeline delivers all blocks on one thread, in the order in which they were
// sent, and calls onNotify for a notification ('ntfy'), whichever queue it waited in, onCtrl for
// other blocks of the control queue and onData for other blocks of the data queue.
//
// A brick that gets the control block 'Kill' is unlinked and destroyed by the pipeline; onCtrl
// never sees it.
//
// The table of virtual functions has this order, and the size is fixed: the members of plug-ins'
// bricks follow. The one pointer leads to what a host keeps for a brick.
class BRICK_SDK_API CBrick {
 public:
  // The brick is scheduled once Create has named its pipeline.
  CBrick();
  CBrick(const CBrick&) = delete;
  CBrick& operator=(const CBrick&) = delete;
  // Unlinks the brick and drops its waiting blocks. The application destroys only bricks that it
  // made itself.
  virtual ~CBrick();

  // Hands the oldest waiting control or data block to its callback; the callback's result. Called
  // by the pipeline.
  virtual int DoCtrl();
  virtual int DoData();

  // Links this brick after `before`: what `before` sends as data comes here. Null, itself and a
  // known neighbour change nothing.
  virtual void ConnectAfter(CBrick* before);
  // This host has no owned bricks and stops none: this, SetStopped and DisconnectOwned do nothing.
  virtual void ConnectOwned(CBrick* owned);
  // Removes the link to `neighbour` in both directions and drops the blocks from it that still wait
  // here.
  virtual void DisconnectFrom(CBrick* neighbour);
  virtual void DisconnectFromAll();

  // Keeps `ownerContext` and `signature`, calls onCreate and returns its result. A result of 0 has
  // no effect on the brick: a source that is not ready yet may return it.
  virtual int Create(const TBrickConfig& config);

  virtual void SetStopped(bool stopped);
  virtual bool HasNextBrick();
  virtual bool HasPreviousBrick();
  // The signature kept by Create; 0 before.
  virtual std::uint32_t GetSignature();
  // Whether the brick takes, or gives, content of this kind; false unless overridden.
  virtual bool IsKnownInput(const TContentDescriptor& input);
  virtual bool IsKnownOutput(const TContentDescriptor& output);

  // Puts a block into this brick's own queue. May be called from any brick.
  virtual void enqueueControl(const cMemBlock& block);
  virtual void enqueueData(const cMemBlock& block);
  virtual void DisconnectOwned(CBrick* owned);

 protected:
  // The brick's own work. The results mean nothing to this host. No exception may leave these
  // functions.
  virtual int onCtrl(cMemBlock& block);
  virtual int onData(const cMemBlock& block);
  virtual int onNotify(const cMemBlock& block);
  virtual int onCreate(const TBrickConfig& config);

  // Sends to every brick after this one, in the order of connection; with none the block is
  // dropped.
  virtual void SendData(const cMemBlock& block);
  // Sends to every neighbour, those before first, into their control queues.
  virtual void SendCmd(const cMemBlock& block);

  // From which side the block at hand came. Valid inside onCtrl, onData and onNotify.
  enum class Side { kNone, kUpstream, kDownstream };
  Side CameFrom() const;
  // Sends to the bricks before this one only, into their control queues.
  void SendUp(const cMemBlock& block);
  // The value kept by Create; 0 before.
  std::uint32_t OwnerContext() const;

 private:
  friend class Pipeline;
  class State;
  std::unique_ptr<State> mState;
};

static_assert(sizeof(CBrick) == 2 * sizeof(void*), "the members of a plug-in's brick follow here");
