#pragma once

#include <string>
#include <vector>

#include "blocks/four_cc.h"
#include "sdk/brick_config.h"

// What a plug-in is like, found by loading and asking it as a host would.

struct BlockReaction {
  std::string block;              // what it was sent; empty: nothing, it was just created
  std::vector<std::string> up;    // what it sent to the brick before it
  std::vector<std::string> down;  // and to the one after it
};

struct MadeFor {
  TContentDescriptor input;
  TContentDescriptor output;
};

struct PlugInFacts {
  std::string file;
  std::string signature;                 // by which the host knows it; empty: not known
  std::vector<std::string> entryPoints;  // CreateBrick, DllMain
  std::vector<std::string> libraries;    // that it needs
  std::vector<std::string> asksFor;      // signatures of the bricks that it asks the host for
  std::vector<MadeFor> madeFor;          // what the factory makes bricks for
  std::vector<TContentDescriptor> knownInputs;  // of a brick, as it says itself
  std::vector<TContentDescriptor> knownOutputs;
  std::vector<BlockReaction> reactions;  // of one brick, to one block after the other
};

// Tries the plug-in that the host knows by `signature` with every content descriptor and, on a
// small archive written for this, with every block that a brick may be sent. REQUIRES: no plug-in
// is in use. Throws std::runtime_error when the file cannot be loaded or is not a plug-in.
PlugInFacts TryPlugIn(Tag signature);
