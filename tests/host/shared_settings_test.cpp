#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <sstream>
#include <thread>

#include "host/host_settings.h"
#include "on_threads.h"
#include "sdk/ini_file.h"
#include "support/process_limit.h"
#include "support/sanitized.h"
#include "support/temp_folder.h"
#include "support/unprivileged.h"

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAreArray;

constexpr int kWorkers = 8;
constexpr int kKeys = 20;
// Reading them takes a while, and nobody may have to wait too long for it.
constexpr std::size_t kManyLines = kIsSanitized ? 500 : 3000;

// A settings file that threads and processes use at the same time.
class SharedSettings : public testing::Test {
 protected:
  void Place(const std::string& text) const { WriteFile(mFolder / "host", text); }
  std::string Text() const {
    const Bytes bytes = ReadFile(mFolder / "host");
    return std::string(bytes.begin(), bytes.end());
  }
  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    std::istringstream text(Text());
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
  }

  // The value of `key` for a caller with this default.
  int Get(const std::string& key, int defaultValue) const {
    const SettingsInForce inForce(mSettings);
    CIniFile file("host");
    file.EnableDefValsCreation(true);
    return file.GetInt(key, defaultValue);
  }

  // Adds keys of this worker's own, and keys that all workers add, each with a different default.
  void AddKeys(int worker) const {
    for (int key = 0; key < kKeys; ++key) {
      const std::string number = std::to_string(key);
      Get("own" + std::to_string(worker) + "." + number, worker);
      Get("common." + number, worker);
    }
  }

  void ExpectEachKeyOnce(std::vector<std::string> linesBefore) const {
    std::vector<std::string> keys;
    std::vector<std::string> expected;
    const std::vector<std::string> lines = Lines();
    ASSERT_GE(lines.size(), linesBefore.size());
    const auto added = lines.begin() + static_cast<std::ptrdiff_t>(linesBefore.size());
    EXPECT_TRUE(std::equal(lines.begin(), added, linesBefore.begin()));
    for (auto line = added; line != lines.end(); ++line) {
      const std::string key = line->substr(0, line->find('='));
      keys.push_back(key);
      const std::string value = line->substr(key.size());
      if (key.compare(0, 3, "own") == 0) {
        EXPECT_EQ(value, "=" + key.substr(3, 1)) << *line;
      } else {
        EXPECT_THAT(value, testing::MatchesRegex("=[0-7]")) << *line;
      }
    }
    for (int key = 0; key < kKeys; ++key) {
      const std::string number = std::to_string(key);
      expected.push_back("common." + number);
      for (int worker = 0; worker < kWorkers; ++worker) {
        expected.push_back("own" + std::to_string(worker) + "." + number);
      }
    }
    EXPECT_THAT(keys, UnorderedElementsAreArray(expected));
    EXPECT_EQ(Text().back(), '\n');
  }

  const TempFolder mFolder;
  const HostSettings mSettings{mFolder.Path(), ""};
};

void InProcesses(const std::function<void(int)>& work) {
  std::vector<pid_t> children;
  for (int number = 0; number < kWorkers; ++number) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      work(number);
      _exit(0);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
}

TEST_F(SharedSettings, LoseNothingThatThreadsAdd) {
  OnThreads(kWorkers, [this](int thread) { AddKeys(thread); });
  ExpectEachKeyOnce({});
}

TEST_F(SharedSettings, LoseNothingThatProcessesAdd) {
  InProcesses([this](int process) { AddKeys(process); });
  ExpectEachKeyOnce({});
}

// The longer the file, the longer it takes to see that a key is missing.
TEST_F(SharedSettings, KeepWhatIsThereHoweverLong) {
  const std::vector<std::string> before(kManyLines, "; by hand");
  std::string text;
  for (const std::string& line : before) text += (text.empty() ? "" : "\n") + line;
  Place(text);
  InProcesses([this](int process) { AddKeys(process); });
  ExpectEachKeyOnce(before);
}

TEST_F(SharedSettings, HaveTheValueOfWhoeverCameFirst) {
  const SettingsInForce inForce(mSettings);
  CIniFile late("host");
  late.EnableDefValsCreation(true);
  EXPECT_EQ(Get("size", 100), 100);
  EXPECT_EQ(Get("depth", 1), 1);
  Place("size=5\ndepth=deep\n");
  EXPECT_EQ(late.GetInt("size", 7), 5);
  EXPECT_EQ(late.GetInt("depth", 7), 7);
  EXPECT_EQ(Text(), "size=5\ndepth=deep\n");
}

// The lock of somebody who is in the middle of appending.
class Holder {
 public:
  explicit Holder(const std::string& path) : mHandle(open(path.c_str(), O_RDWR | O_APPEND)) {
    EXPECT_EQ(flock(mHandle, LOCK_EX | LOCK_NB), 0);
  }
  ~Holder() { close(mHandle); }
  Holder(const Holder&) = delete;
  Holder& operator=(const Holder&) = delete;

  void Append(const std::string& text) const {
    EXPECT_EQ(write(mHandle, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

 private:
  const int mHandle;
};

TEST_F(SharedSettings, AreNotReadInTheMiddleOfALine) {
  Place("other=1\n");
  int size = 0;
  std::atomic<bool> hasStarted{false};
  std::thread reader;
  {
    const Holder writer(mFolder / "host");
    writer.Append("size=1");
    reader = std::thread([&] {
      hasStarted = true;
      size = Get("size", 7);
    });
    while (!hasStarted) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    writer.Append("00\n");
  }
  reader.join();
  EXPECT_EQ(size, 100);
}

TEST_F(SharedSettings, AreGoneWithoutWhileAStoppedProcessHoldsThem) {
  Place("other=1");
  {
    const Holder stopped(mFolder / "host");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Get("size", 100), 100);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(Text(), "other=1");
  }
  EXPECT_EQ(Get("size", 100), 100);
  EXPECT_EQ(Text(), "other=1\nsize=100\n");
}

TEST_F(SharedSettings, StayAsTheyAreWhenTheDiskIsFull) {
  const std::string before = "other=1";
  const std::string line = "\nsize=100\n";
  for (std::size_t room = 0; room <= line.size(); ++room) {
    Place(before);
    {
      const ProcessLimit limit(RLIMIT_FSIZE, before.size() + room);
      EXPECT_EQ(Get("size", 100), 100);
    }
    EXPECT_EQ(Text(), room < line.size() ? before : before + line) << room << " bytes of room";
  }
}

TEST_F(SharedSettings, StayAsTheyAreWhereTheyMayNotBeWritten) {
  Place("other=1\n");
  ASSERT_EQ(chmod((mFolder / "host").c_str(), 0444), 0);
  const Unprivileged user;
  OnThreads(kWorkers, [this](int thread) { EXPECT_EQ(Get("size", thread), thread); });
  EXPECT_EQ(Get("other", 5), 1);
  EXPECT_THAT(Lines(), ElementsAre("other=1"));
}

TEST_F(SharedSettings, DoNotWaitForAPipe) {
  ASSERT_EQ(mkfifo((mFolder / "host").c_str(), 0600), 0);
  OnThreads(kWorkers, [this](int thread) { EXPECT_EQ(Get("size", thread), thread); });
}

}  // namespace
