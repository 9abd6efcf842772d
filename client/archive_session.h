#pragma once

#include <functional>
#include <memory>
#include <string>

#include "client/client_brick.h"
#include "client/plug_ins.h"
#include "host/pipeline.h"
#include "sources/host_options.h"

// A reader on one source with one client after it, as a host would run them. A session belongs to
// one thread; sessions of other threads may run at the same time, with the same plug-ins.
class ArchiveSession {
 public:
  using OnBlock = std::function<void(const cMemBlock&)>;

  // Makes the reader, then the client; nothing is delivered yet. `onBlock` gets each block that
  // reaches the client, as it arrives; it must not keep a block beyond the session. The plug-ins
  // are those of `plugIns`. Throws Failure when they give no reader, and a usage error for a path
  // that is too long.
  ArchiveSession(const PlugIns& plugIns, const HostOptions& host, const std::string& source,
                 OnBlock onBlock);
  // Ends the reader, lets its own bricks end and ends the client.
  ~ArchiveSession();
  ArchiveSession(const ArchiveSession&) = delete;
  ArchiveSession& operator=(const ArchiveSession&) = delete;

  // Puts a command into the reader's control queue; nothing runs.
  void Send(const cMemBlock& command);

  // Runs until no brick has anything left to do. Throws Failure when the user interrupts, and what
  // `onBlock` throws.
  void RunUntilIdle();

 private:
  void HandOver();

  Pipeline mPipeline;
  OnBlock mOnBlock;
  std::unique_ptr<ClientBrick> mClient;
  std::unique_ptr<CBrick> mReader;
};
