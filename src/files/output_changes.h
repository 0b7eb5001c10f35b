#pragma once

// What a run has done to its output files and may still have to undo. A file that is there already is never written
// over: the new one grows beside it, under a name of its own ("orders.tvo.tarvo-new1"), and takes its place when its
// content is sure: with the commit of the unit of work that removes its messages, or at the good end of a copy. A unit
// that is backed out takes with it what it has written: files are as long again as the last commit left them, and
// those that were opened since are gone. Only files on a disk are looked after; what went into a pipe has gone.
//
// The second name of an old file ("orders.tvo.tarvo-old1") exists while the commit is under way that decides which of
// the two stays. A process that is killed may leave either name behind.

#include <cstdint>
#include <string>
#include <vector>

#include "common/console.h"
#include "common/result.h"
#include "files/counted_output.h"
#include "files/run_files.h"
#include "options/options.h"

inline constexpr std::int64_t kNewFile = -1;

struct ChangedFile {
  std::string Path;                // where it belongs
  std::string Temporary;           // where it stands until it takes that place; empty: it is there
  RunFiles::Identity Identity;     // of the file itself
  RunFiles::Identity Old;          // of the file whose place it takes
  std::int64_t Length = kNewFile;  // bytes that the last commit left in it; kNewFile: it was opened since
  std::int64_t OfferedBefore = 0;  // what the stream had been given for it then
  WrittenCounts Before;            // what was counted as written then
  bool Shared = false;             // appended to: others may do the same
};

class OutputChanges {
 public:
  OutputChanges(CountedOutput& out, const InputOptions& input, const OutputOptions& output, const UnitOptions& units,
                RunFiles& files, Console& screen)
      : out_(out), input_(input), output_(output), units_(units), files_(files), screen_(screen) {}

  // Makes a new file beside `path`, with the permissions of the one that is there, and makes it the current output
  // file. Until it takes its place `old` counts as written. The reason of a failure is that of the system (errno).
  Result OpenBeside(const std::string& path, const RunFiles::Identity& old, bool binary);
  // Looks after the current output file, which stands in its place. `append`: it held something before.
  void Watch(const std::string& path, const RunFiles::Identity& identity, bool append);
  // Gives the last file another place to take.
  void Redirect(const std::string& path) { changed_.back().Path = path; }
  // In the order in which they were opened.
  const std::vector<ChangedFile>& files() const { return changed_; }

  // Flushes and closes the output file, if one is open; what a run removes from its queues is on the disk then.
  Result Close();
  // Gives an old file another name, until Keep removes it or it gets its own back.
  Result SetAside(const std::string& path);
  // Moves every file that was written beside an old one into its place. What is to be sure then is on the disk already.
  Result Place();
  // The unit of work is committed: what was written stays, and old files go.
  void Keep();
  // Without units of work a message has left its queue with the get: hands what is written to the system, and a file
  // that holds a message to its place.
  Result HandOver();
  // Closes the output file and removes what has not taken its place.
  void GiveUp();
  // Lets what is written beside an old file stay there: it holds the only copy of a message. Returns its name, or
  // nothing.
  std::string Leave();
  // The end of a run, or of a queue in a generic one: closes the output file and lets what was written take its place.
  // Of a run that has failed everything since the last Keep is undone when it works in units of work; what it has
  // copied stays, unless some of it was to replace old files, which no part of a new set may stand beside. Returns
  // `result`, or what failed here when that is 0.
  Result Finish(Result result);

 private:
  struct OldFile {
    std::string Path;
    std::string Aside;
  };
  class Uncounting;

  void Add(ChangedFile file);
  bool ReplacesAny() const;  // by a file that has not taken its place yet
  bool Replaces() const { return lastIsOpen_ && !changed_.back().Temporary.empty(); }
  int TakePlace(const ChangedFile& file);
  void RestoreOldFiles();
  bool NotCut(const ChangedFile& file, int error);
  bool CutOpenFile(const ChangedFile& file);
  bool CutClosedFile(const ChangedFile& file);
  void DropUnplaced();
  void TakeBack();

  CountedOutput& out_;
  const InputOptions& input_;
  const OutputOptions& output_;
  const UnitOptions& units_;
  RunFiles& files_;
  Console& screen_;
  std::vector<ChangedFile> changed_;
  bool lastIsOpen_ = false;  // the last one is the current output file
  std::vector<OldFile> setAside_;
};
