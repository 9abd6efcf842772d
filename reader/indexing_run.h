#pragma once

#include <QString>
#include <cstdint>

// The state of a reader's indexing run, fresh for every run.
//
//   it is     from       by
//   idle                 construction
//   running   idle       Send_start_indexing, when its chain of bricks stands
//   running   running    BeginAnew, when bytes that could not be read can be read at the end
//   idle      running    Send_finish_indexing, at the end of the file
//   idle      running    Start_make_index, when another run takes its place
//
// While it is running, both children exist and feed the reader.
class IndexingRun {
 public:
  // Begins a run over `file`.
  void Begin(const QString& file);
  // Ends the run, if one is on; returns what it was.
  IndexingRun End();

  bool IsOn() const { return indexing; }
  // The file being indexed.
  const QString& File() const { return mFile; }

  // Whether no record has been lost so far. Otherwise the run goes on, but its index is not kept.
  bool IsWhole() const { return mWhole; }
  void SetWhole(bool whole) { mWhole = whole; }

  // The run may read its file from the front once more; it does so once at most.
  bool MayBeginAnew() const { return !mBegunAnew; }
  void BeginAnew() { mBegunAnew = true; }

  // The next block has not been asked for, without which nothing moves on.
  bool IsPullMissed() const { return indexing && mPullMissed; }
  void SetPullMissed(bool missed) { mPullMissed = missed; }

  // The percentage told last. A new run continues from that of the run before.
  std::uint32_t Percent() const { return lastProgressPercent; }
  // False when it is the percentage told last.
  bool SetPercent(std::uint32_t percent);

 private:
  // What a run begins as, and what is left when one ends.
  IndexingRun Fresh() const;

  QString mFile;
  std::uint32_t lastProgressPercent = 0;
  bool indexing = false;
  bool mWhole = true;
  bool mBegunAnew = false;
  bool mPullMissed = false;
};
