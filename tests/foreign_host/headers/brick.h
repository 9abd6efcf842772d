#pragma once

#include "brick_config.h"
#include "mem_block.h"

// What this host keeps for a brick.
struct BrickLinks;

class CBrick {
 public:
  virtual ~CBrick();
  virtual int DoCtrl();
  virtual int DoData();
  virtual void ConnectAfter(CBrick* before);
  virtual void ConnectOwned(CBrick* owned);
  virtual void DisconnectFrom(CBrick* neighbour);
  virtual void DisconnectFromAll();
  virtual int Create(const TBrickConfig& config);
  virtual void SetStopped(bool stopped);
  virtual bool HasNextBrick();
  virtual bool HasPreviousBrick();
  virtual unsigned GetSignature();
  virtual bool IsKnownInput(const TContentDescriptor& input);
  virtual bool IsKnownOutput(const TContentDescriptor& output);
  virtual void enqueueControl(const cMemBlock& block);
  virtual void enqueueData(const cMemBlock& block);
  virtual void DisconnectOwned(CBrick* owned);

 protected:
  virtual int onCtrl(cMemBlock& block) { return 0; }
  virtual int onData(const cMemBlock& block) { return 0; }
  virtual int onNotify(const cMemBlock& block) { return 0; }
  virtual int onCreate(const TBrickConfig& config) { return 0; }
  virtual void SendData(const cMemBlock& block);
  virtual void SendCmd(const cMemBlock& block);

  // Sends to the bricks before this one. For this host's own bricks.
  void SendBack(const cMemBlock& block);
  CBrick();

 private:
  friend struct Scheduler;
  static void Hand(CBrick* receiver, const cMemBlock& block, bool isControl);
  int Handle(cMemBlock block, bool isControl);

  BrickLinks* mLinks;
};
