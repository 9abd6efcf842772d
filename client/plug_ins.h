#pragma once

#include "sources/host_options.h"

// The plug-ins of this process, loaded when readers ask for them and unloaded at the end. One at a
// time, for all threads. No brick and no block of a plug-in may live longer.
class PlugIns {
 public:
  explicit PlugIns(const HostOptions& host);
  ~PlugIns();
  PlugIns(const PlugIns&) = delete;
  PlugIns& operator=(const PlugIns&) = delete;
};
