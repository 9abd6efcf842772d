#pragma once

#include <cstddef>
#include <functional>
#include <string>

// Pieces of work for processes that are copies of this one. A piece is handed out when a process is
// free for it, so that a long one does not hold up the others.
struct WorkerCalls {
  using Tell = std::function<void(const std::string& message)>;

  // In a worker: does a piece of work; what it returns is its result. A message that it tells
  // reaches this process before the result. A Failure that it throws ends all of the work; any
  // other exception fails only the piece. Messages and results have at most 60,000 bytes.
  std::function<std::string(std::size_t piece, const Tell& tell)> work;
  // In a worker, when nothing is left for it, or the user interrupts.
  std::function<void()> endWorker;

  // In this process, while it waits. A piece either is done or fails; `why` is a sentence, as when
  // its worker has ended or was killed.
  std::function<void(std::size_t piece, const std::string& message)> onTold;
  std::function<void(std::size_t piece, const std::string& result)> onDone;
  std::function<void(std::size_t piece, const std::string& why)> onFailed;
};

// Does the pieces 0 to `pieces` - 1 in `workers` processes, but no more than there are pieces. A
// worker that is lost is replaced. REQUIRES: this process has no other threads, and nothing that a
// copy must not share. Throws Failure when the user interrupts or no worker can be started, and the
// Failure that a worker threw; the workers are interrupted first and have ended by then. They are
// also interrupted when this process ends.
void RunInWorkers(std::size_t workers, std::size_t pieces, const WorkerCalls& calls);
