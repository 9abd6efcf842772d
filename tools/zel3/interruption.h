#pragma once

// The user's wish to stop (SIGINT). A verb that hears it cleans up and ends with kExitInterrupted.
namespace interruption {

// From now on SIGINT is noted instead of ending the process; a read that waits for input returns
// early.
void Watch();

// Throws ToolError(kExitInterrupted) when the user has asked to stop.
void Check();

}  // namespace interruption
