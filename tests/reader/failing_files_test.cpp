#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>

#include "every_request.h"
#include "host/brick_plugins.h"
#include "support/figure.h"
#include "support/file_faults.h"

namespace {

namespace fs = std::filesystem;

constexpr FileOperation kChangesAndReads[] = {FileOperation::kRead,   FileOperation::kWrite,
                                              FileOperation::kSync,   FileOperation::kRename,
                                              FileOperation::kRemove, FileOperation::kLock};

struct Fault {
  FileFaults::Repeats repeats;
  int error;
};

constexpr Fault kFaults[] = {{FileFaults::Repeats::kOnce, EIO},
                             {FileFaults::Repeats::kFromThenOn, EIO},
                             {FileFaults::Repeats::kOnce, ENOSPC},
                             {FileFaults::Repeats::kFromThenOn, ENOSPC}};

// File operations fail: the first, the second, … until nothing is left to fail.
class FailingFiles : public EveryRequest {
 protected:
  void SetUp() override {
    brick_plugins::ResetRegistrations();
    ArchiveBuilder builder("cam");
    builder.Header({{1}});
    for (std::uint32_t time = 10; time < 40; ++time) {
      if (time == 21) entryStart = builder.Size();
      builder.Index(time).Data(1, 3, std::string(3000, 'v'), tag::kVideo);
      if (time % 10 == 0) builder.Data(0x80, 0, "event");
    }
    content = builder.Content();
    path = Place("cam.zel3", content);
    Start();
    EndReader();
    cache = Caches();
  }

  std::vector<Bytes> Caches() const {
    std::vector<Bytes> contents;
    for (const char* const extension : {"id3", "hdr", "evt"})
      contents.push_back(ReadFile(CachePath(path, extension)));
    return contents;
  }
  void RemoveCaches() const {
    for (const char* const extension : {"id3", "hdr", "evt"})
      fs::remove(CachePath(path, extension));
  }

  // Removes what could not be removed at the time.
  void RemoveUnfinished() const {
    for (const char* const extension : {"id3", "hdr", "evt"})
      fs::remove(CachePath(path, extension) + ".unfinished." + extension);
  }

  // Opens the archive, indexing it where that is needed, finds an entry and asks for its bytes.
  Lines Start() {
    Open(path);
    Settle();
    const Lines told = Ask(ChunkRequest(20000));
    Ask(BytesRequest(MakeIndexId(0, 10), 20000));
    return told;
  }

  // What a fault has left behind does not harm a later start: the archive is as it was, and the
  // index is the right one, from the cache or made again.
  void ExpectTheNextStartToBeRight() {
    EXPECT_EQ(ReadFile(path), content);
    EXPECT_THAT(Start(), ElementsAre("IRN3 0/10 at 20000"));
    EndReader();
    EXPECT_EQ(Caches(), cache);
    EXPECT_EQ(EntryNames(folder.Path()), (Lines{"cam.evt", "cam.hdr", "cam.id3", "cam.zel3"}));
  }

  Bytes content;
  std::size_t entryStart = 0;  // of entry 11
  std::string path;
  std::vector<Bytes> cache;
};

TEST_F(FailingFiles, LeaveTheNextStartRight) {
  int injected = 0;
  for (const bool cached : {false, true}) {
    for (const FileOperation kind : kChangesAndReads) {
      for (const Fault& fault : kFaults) {
        int struck = 1;
        for (int first = 0; struck > 0; ++first) {
          SCOPED_TRACE(testing::Message() << "operation " << first << " of kind "
                                          << static_cast<int>(kind) << ", cached " << cached);
          if (!cached) RemoveCaches();
          {
            const FileFaults faults(kind, first, fault.repeats, fault.error);
            Start();
            struck = faults.Struck();
          }
          injected += struck;
          AskEverything();
          EndReader();
          if (kind == FileOperation::kRemove) RemoveUnfinished();
          ExpectTheNextStartToBeRight();
        }
      }
    }
  }
  ReportFigure("injected file faults", injected);
}

TEST_F(FailingFiles, ThatDoNotOpenLeaveTheArchiveAndTheReaderUsable) {
  for (const bool cached : {false, true}) {
    for (const Fault& fault : kFaults) {
      int struck = 1;
      for (int first = 0; struck > 0; ++first) {
        SCOPED_TRACE(testing::Message() << "opening " << first << ", cached " << cached);
        if (!cached) RemoveCaches();
        {
          const FileFaults faults(FileOperation::kOpen, first, fault.repeats, fault.error);
          Start();
          struck = faults.Struck();
        }
        AskEverything();
        EndReader();
        ExpectTheNextStartToBeRight();
      }
    }
  }
}

TEST_F(FailingFiles, AreTriedAgainWhenTheyWereOnlyInterrupted) {
  for (const bool cached : {false, true}) {
    for (const FileOperation kind : {FileOperation::kRead, FileOperation::kWrite}) {
      int struck = 1;
      for (int first = 0; struck > 0; ++first) {
        SCOPED_TRACE(testing::Message() << "operation " << first << ", cached " << cached);
        if (!cached) RemoveCaches();
        {
          const FileFaults faults(kind, first, FileFaults::Repeats::kOnce, EINTR);
          EXPECT_THAT(Start(), ElementsAre("IRN3 0/10 at 20000"));
          struck = faults.Struck();
        }
        EndReader();
        EXPECT_EQ(Caches(), cache);
      }
    }
  }
}

TEST_F(FailingFiles, GiveAllTheirBytesHoweverFewAReadGives) {
  for (const int most : {1, 7, 4096, 65534}) {
    SCOPED_TRACE(most);
    RemoveCaches();
    const ShortReads shortReads(most);
    EXPECT_THAT(Start(), ElementsAre("IRN3 0/10 at 20000"));
    EXPECT_EQ(Caches(), cache);
    EXPECT_EQ(BytesFor(BytesRequest(MakeIndexId(0, 11), 21000)),
              Joined(Part(content, entryStart, 13 + 4 + 3000), EndMarker()));
    EndReader();
  }
}

TEST_F(FailingFiles, GiveTheirBytesAgainOnceTheyCanBeRead) {
  Start();
  const Bytes before = BytesFor(BytesRequest(MakeIndexId(0, 11), 21000));
  for (const Fault& fault : kFaults) {
    const FileFaults faults(FileOperation::kRead, 0, fault.repeats, fault.error);
    const Bytes answer = BytesFor(BytesRequest(MakeIndexId(0, 12), 22000));
    EXPECT_EQ(faults.Struck() > 0, true);
    EXPECT_EQ(Part(answer, 0, 13), EndMarker()) << "nothing of the entry could be read";
  }
  EXPECT_EQ(BytesFor(BytesRequest(MakeIndexId(0, 11), 21000)), before);
}

// A process is killed right before each of its file operations.
TEST_F(FailingFiles, NeverHalfSaveAnIndexWhenTheProcessIsKilled) {
  int kills = 0;
  for (bool killed = true; killed; ++kills) {
    SCOPED_TRACE(testing::Message() << "before operation " << kills);
    RemoveCaches();
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      const FileFaults faults(kills, [] { kill(getpid(), SIGKILL); });
      Start();
      _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    EXPECT_TRUE(killed || (WIFEXITED(status) && WEXITSTATUS(status) == 0));
    ExpectTheNextStartToBeRight();
  }
  EXPECT_GT(kills, 10);
  ReportFigure("kills before a file operation", kills - 1);
}

}  // namespace
