#pragma once

// Whole queue managers by wildcard: every matching queue into a file of its own, and a set of such files back onto
// their queues. Each queue's messages are moved by a transfer of its own, one queue after the other; a failure with one
// queue is written on its line and never touches the next one's unit of work.

#include <cstdint>
#include <string>
#include <vector>

#include "engine/async_puts.h"
#include "engine/delivery.h"
#include "files/input_files.h"
#include "files/output_files.h"
#include "files/progress.h"
#include "files/run_files.h"
#include "generic/queue_files.h"
#include "generic/queue_run.h"
#include "options/options.h"

class GenericUnload {
 public:
  // All that is handed in outlives the object. `now`: the instant from which ages are counted, seconds since 1970.
  GenericUnload(const Options& asked, const RunStations& run, RunFiles& files, ProgressLine& progress,
                std::int64_t now);

  // To be called once. Returns 0, the reason of a check that ended the run before its first queue, or the reason of the
  // first queue that failed.
  MQLONG Run();

 private:
  enum class ForeignFiles { Keep, Delete, Quit };
  struct Totals {
    int Queues = 0;
    std::int64_t Messages = 0;
  };

  MQLONG Prepare();
  MQLONG FindExistingFiles();
  MQLONG CheckNames() const;
  bool ShowExisting(bool listed) const;
  ForeignFiles AskAboutForeignFiles() const;
  bool CheckAccess() const;
  void UnloadQueues();
  void UnloadQueue(const GenericQueueEntry& queue);
  Result TransferQueue(const GenericQueueEntry& queue, MQHOBJ hobj, OutputFiles& out, bool& cutShort);
  std::vector<std::string> OldFiles(const GenericQueueEntry& queue) const;
  MQLONG DeleteForeignFiles() const;
  void SyncDirectory();

  const Options& asked_;
  const RunStations run_;
  RunFiles& files_;
  ProgressLine& progress_;
  const std::int64_t now_;
  Console& screen_;
  QueueFileNames names_;       // their directory and type
  GenericQueueList queues_;    // to unload
  GenericQueueList existing_;  // queue files that the directory holds already
  ForeignFiles foreign_ = ForeignFiles::Keep;
  Totals users_, systems_;
  QueueFailures failures_;
};

class GenericLoad {
 public:
  // All that is handed in outlives the object.
  GenericLoad(const Options& asked, const RunStations& run, RunFiles& files, ProgressLine& progress);

  // As with the unload. A file that was left out is a failure, too.
  MQLONG Run();

 private:
  MQLONG FindFiles();
  bool CheckIndexes() const;
  bool CheckReadable() const;
  MQLONG CheckQueues() const;
  void LoadQueues();
  InputFiles::Plan PlanOf(const std::vector<std::string>& paths, bool set) const;
  void LoadQueue(const GenericQueueEntry& start, const std::vector<std::string>& paths);

  const Options& asked_;
  const RunStations run_;
  RunFiles& files_;
  ProgressLine& progress_;
  Console& screen_;
  AsyncPuts async_;
  QueueFileNames names_;   // their directory and type
  GenericQueueList list_;  // files to load
  int queues_ = 0;
  std::int64_t messages_ = 0;
  QueueFailures failures_;
};
