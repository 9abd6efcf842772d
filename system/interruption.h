#pragma once

#include <poll.h>

#include <chrono>
#include <cstddef>
#include <optional>

// The user's wish to stop (SIGINT). A verb that notices it cleans up and ends with
// kExitInterrupted.
namespace interruption {

// From now on SIGINT is noted instead of ending the process; a read that waits for input returns
// early.
void Watch();

// From now on SIGTERM and SIGHUP, unless ignored before, count as such a wish, too, and writing to
// a pipe that nobody reads is an error: for verbs that have something to clean up.
void WatchAllEndings();

// The same, but writing to a pipe that nobody reads still ends the process: for verbs that go on
// until they are stopped, and leave nothing.
void WatchTermination();

// Throws Failure(kExitInterrupted) when the user has asked to stop.
void Check();

// The wish is answered for: what is left to do can be done, and a further wish is heard.
void Forget();

// Waits until one of these is ready, or until the time is over, by poll(2). A wish is never missed.
// Throws as Check does, and Failure when it cannot wait.
void WaitFor(pollfd* ready, std::size_t count, std::optional<std::chrono::milliseconds> longest);

}  // namespace interruption
