#pragma once

// The output files of a run, or of one queue in a generic unload: what the next one is called, whether it may be
// written, when it is full, and what is written into it. One is open at a time. The names "stdout" and "null" are
// special outputs.

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

#include "common/console.h"
#include "common/result.h"
#include "files/counted_output.h"
#include "files/naming.h"
#include "files/output_changes.h"
#include "files/run_files.h"
#include "files/writer.h"
#include "options/options.h"

// Where the message stands for which a file is opened: the file's name may show it.
struct MessagePlace {
  int Position = 1;  // in its source
  int Ordinal = 1;   // among the selected messages
};

// How an output file is opened.
struct OutputRequest {
  bool MayAsk = false;     // whether an old file may be overwritten
  bool OnlyCheck = false;  // it is checked and asked about, but nothing is touched
  MessagePlace Place;
};

class OutputFiles {
 public:
  // All that is handed in outlives the object.
  OutputFiles(const InputOptions& input, const OutputOptions& output, const LayoutOptions& layout,
              const LimitOptions& limits, const UnitOptions& units, RunFiles& files, Console& screen);

  // Opens the next file, if there is a template and none is open. Returns MQRC_FILE_SYSTEM_ERROR with a text for one
  // that can not be had.
  Result Open(const OutputRequest& request);
  // The first file of a queue in a generic unload; the next ones are called after it. It gets its name when the queue's
  // set is complete; whatever stands there was given up by the user. The reason of a failure is that of the system
  // (errno).
  Result OpenForQueue(const std::string& path, const QueueFileNames& names);
  // The header of the file that is open.
  Result WriteHeader(const HeaderNames& names);

  // Whether a message of that length goes into the file that is open. One without any message has room for it, whatever
  // its limit. The null output has room for all.
  bool HasRoom(MQLONG length) const;
  // Closes a file that has no room and opens the next one.
  Result OpenNext(const OutputRequest& request);
  Result Write(const OutgoingMessage& message);
  // Counts a message as written without writing it.
  void Count(MQLONG length) { out_.Count(length); }
  // After a message was written: closes a file that has reached a limit.
  Result RollOver();
  // Hands the output to the system and, when `toDisk`, onto the disk, before a unit of work is committed. Nothing to do
  // without an open file.
  Result Flush(bool toDisk) { return out_.Flush(toDisk); }
  Result Close() { return changes_.Close(); }

  bool is_open() const { return out_.Stream.is_open(); }
  bool IsNull() const { return null_ || output_.FileName == "null"; }
  // Whether messages wait that the system does not have yet.
  bool Pending() const { return out_.Pending(); }
  // Whether the file is open and has a message, so that its age counts.
  bool HoldsMessages() const { return is_open() && out_.MsgsInFile > 0; }
  // Milliseconds until the file reaches its age; none is left when the result is not positive.
  std::int64_t AgeLeft() const;
  // What is to be kept of the files, or undone.
  OutputChanges& changes() { return changes_; }
  // What is in files, as far as is known.
  const WrittenCounts& written() const { return out_.Written; }

 private:
  Result CanNotOpen(const std::string& name, const std::string& mode, int error) const;
  bool MayOverwrite(const std::string& name);
  Result CheckFile(const std::string& name, const RunFiles::Identity& file);
  Result CheckName(const std::string& name, bool append, bool mayAsk);
  Result OpenStandardOutput();
  Result OpenNamed(const std::string& name, const std::string& mode);
  Result OpenQueueFile(const std::string& path);
  Result OpenNextOfQueue();
  void Start(const std::string& name);
  bool ReachedLimit() const;

  const OutputOptions& output_;
  const LayoutOptions& layout_;
  const LimitOptions& limits_;
  RunFiles& files_;
  Console& screen_;
  CountedOutput out_;
  OutputChanges changes_;
  MessageWriter writer_{layout_, out_.Stream, out_.Name};
  std::optional<QueueFileNames> queue_;    // of a generic unload
  bool null_ = false;                      // a name has turned out to be the null output's
  bool overwriteAll_ = false;              // the user has agreed to overwrite every file
  std::string approved_;                   // the existing file that the user has agreed to overwrite
  std::atomic<std::int64_t> openTime_{0};  // seconds
};
