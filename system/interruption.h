#pragma once

// The user's wish to stop (SIGINT). A verb that hears it cleans up and ends with kExitInterrupted.
namespace interruption {

// From now on SIGINT is noted instead of ending the process; a read that waits for input returns
// early.
void Watch();

// From now on what else ends a process (SIGTERM, SIGHUP) is such a wish, too, and writing to a pipe
// that nobody reads is an error: for verbs that leave something to clean up.
void WatchAllEndings();

// Throws Failure(kExitInterrupted) when the user has asked to stop.
void Check();

}  // namespace interruption
