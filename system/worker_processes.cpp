#include "system/worker_processes.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <list>
#include <optional>
#include <utility>
#include <vector>

#include "system/failure.h"
#include "system/file_handle.h"
#include "system/interruption.h"

namespace {

constexpr std::size_t kLongestMessage = 60000;
// An interruption that comes just before waiting is noticed only after it.
constexpr int kLongestWaitMilliseconds = 200;

// What a worker sends begins with one of these.
constexpr char kTold = 't';
constexpr char kDone = 'd';
constexpr char kFailed = 'f';
constexpr char kEndAll = 'e';  // the exit code and the message of a Failure follow

bool Send(const FileHandle& socket, const void* bytes, std::size_t size) {
  while (send(socket.Get(), bytes, size, MSG_NOSIGNAL) < 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

// The next message; nothing when the other side has ended. Throws Failure when the user interrupts.
std::optional<std::string> Receive(const FileHandle& socket) {
  std::string message(1 + kLongestMessage, '\0');
  for (;;) {
    const ssize_t size = recv(socket.Get(), message.data(), message.size(), 0);
    if (size < 0 && errno == EINTR) {
      interruption::Check();
      continue;
    }
    if (size <= 0) return std::nullopt;
    message.resize(static_cast<std::size_t>(size));
    return message;
  }
}

// The worker's side.
class Worker {
 public:
  Worker(FileHandle socket, const WorkerCalls& calls) : mSocket(std::move(socket)), mCalls(calls) {}

  ExitCode Serve() const {
    ExitCode exitCode = kExitDone;
    try {
      while (const auto order = Receive(mSocket)) {
        std::size_t piece = 0;
        std::memcpy(&piece, order->data(), std::min(order->size(), sizeof(piece)));
        Do(piece);
      }
    } catch (const std::exception&) {
      exitCode = kExitInterrupted;
    }
    mCalls.endWorker();
    return exitCode;
  }

 private:
  void Do(std::size_t piece) const {
    try {
      Answer(kDone,
             mCalls.work(piece, [this](const std::string& message) { Answer(kTold, message); }));
    } catch (const Failure& failure) {
      if (failure.Code() == kExitInterrupted) throw;
      Answer(kEndAll, static_cast<char>(failure.Code()) + std::string(failure.what()));
    } catch (const std::bad_alloc&) {
      Answer(kFailed, "not enough memory");
    } catch (const std::exception& failure) {
      Answer(kFailed, failure.what());
    }
  }

  void Answer(char kind, const std::string& text) const {
    const std::string message = kind + text.substr(0, kLongestMessage);
    if (!Send(mSocket, message.data(), message.size()))
      throw Failure("nobody waits for the work", kExitInterrupted);
  }

  const FileHandle mSocket;
  const WorkerCalls& mCalls;
};

std::string HowItEnded(int status) {
  const std::string process = "the process at work on it ";
  if (WIFSIGNALED(status))
    return process + "was ended by signal " + std::to_string(WTERMSIG(status));
  return process + "has ended";
}

// This process's side.
class Workers {
 public:
  Workers(std::size_t pieces, const WorkerCalls& calls) : mPieces(pieces), mCalls(calls) {}
  ~Workers() {
    for (const Running& worker : mRunning) {
      kill(worker.process, SIGINT);
      // One that was stopped would not notice.
      kill(worker.process, SIGCONT);
    }
    while (!mRunning.empty()) End(mRunning.begin());
  }
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  void Run(std::size_t count) {
    mWanted = std::min(count, mPieces);
    for (;;) {
      while (mRunning.size() < mWanted && mNext < mPieces && Start()) HandOut(&mRunning.back());
      if (mRunning.empty()) break;
      WaitForMessages();
    }
  }

 private:
  struct Running {
    pid_t process;
    FileHandle socket;
    std::optional<std::size_t> piece;  // at work on it
  };
  using Place = std::list<Running>::iterator;

  // False when it must do with fewer workers.
  bool Start() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return MustBeFewer();
    FileHandle ours(ends[0]);
    FileHandle theirs(ends[1]);
    const pid_t starter = getpid();
    const pid_t process = fork();
    if (process < 0) return MustBeFewer();
    if (process == 0) {
      prctl(PR_SET_PDEATHSIG, SIGINT);
      // A worker that kept the sockets of others open would hide the end of this process from them.
      ours = FileHandle();
      for (Running& other : mRunning) other.socket = FileHandle();
      _exit(getppid() == starter ? Worker(std::move(theirs), mCalls).Serve() : kExitInterrupted);
    }
    mRunning.push_back({process, std::move(ours), std::nullopt});
    return true;
  }

  bool MustBeFewer() {
    const int error = errno;
    if (mRunning.empty())
      throw Failure(std::string("cannot start a process for the work: ") + std::strerror(error));
    mWanted = mRunning.size();
    return false;
  }

  // A worker for which nothing is left ends.
  void HandOut(Running* worker) {
    worker->piece.reset();
    if (mNext < mPieces) {
      worker->piece = mNext++;
      // One that has ended is noticed when its socket is read.
      static_cast<void>(Send(worker->socket, &*worker->piece, sizeof(std::size_t)));
    } else {
      shutdown(worker->socket.Get(), SHUT_WR);
    }
  }

  void WaitForMessages() {
    std::vector<pollfd> sockets;
    for (const Running& worker : mRunning) sockets.push_back({worker.socket.Get(), POLLIN, 0});
    const int ready = poll(sockets.data(), sockets.size(), kLongestWaitMilliseconds);
    interruption::Check();
    if (ready <= 0) return;
    auto socket = sockets.begin();
    for (Place worker = mRunning.begin(); worker != mRunning.end(); ++socket) {
      const Place current = worker++;
      if (socket->revents != 0) Take(current);
    }
  }

  void Take(Place worker) {
    const std::optional<std::string> message = Receive(worker->socket);
    if (!message) return Lose(worker);
    const std::size_t piece = worker->piece.value_or(0);
    const std::string text = message->substr(1);
    if (message->front() == kTold) return mCalls.onTold(piece, text);
    if (message->front() == kEndAll)
      throw Failure(text.substr(1), static_cast<ExitCode>(text.front()));
    HandOut(&*worker);
    (message->front() == kDone ? mCalls.onDone : mCalls.onFailed)(piece, text);
  }

  void Lose(Place worker) {
    const std::optional<std::size_t> piece = worker->piece;
    const int status = End(worker);
    if (piece) mCalls.onFailed(*piece, HowItEnded(status));
  }

  // Waits for it to end; returns its status.
  int End(Place worker) {
    const pid_t process = worker->process;
    mRunning.erase(worker);
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
  }

  const std::size_t mPieces;
  const WorkerCalls& mCalls;
  std::size_t mWanted = 0;  // workers
  std::size_t mNext = 0;    // the piece to be handed out next
  std::list<Running> mRunning;
};

}  // namespace

void RunInWorkers(std::size_t workers, std::size_t pieces, const WorkerCalls& calls) {
  Workers(pieces, calls).Run(workers);
}
