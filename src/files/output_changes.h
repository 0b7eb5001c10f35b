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
#include <cstdio>
#include <string>
#include <vector>

#include "files/run_files.h"
#include "mq/mqi.h"

struct Parameters;

inline constexpr std::int64_t kNewFile = -1;

struct ChangedFile {
  std::string Path;                // where it belongs
  std::string Temporary;           // where it stands until it takes that place; empty: it is there
  RunFiles::Identity Identity;     // of the file itself
  RunFiles::Identity Old;          // of the file whose place it takes
  std::int64_t Length = kNewFile;  // bytes that the last commit left in it; kNewFile: it was opened since
  std::int64_t OfferedBefore = 0;  // what the stream had been given for it then
  std::int64_t MsgsBefore = 0;     // the run's counts then
  std::int64_t BytesBefore = 0;
  bool Shared = false;  // appended to: others may do the same
};

struct OutputChanges {
  std::vector<ChangedFile> Files;  // in the order in which they were opened
  bool LastIsOpen = false;         // the last one is the current output file
  struct OldFile {
    std::string Path;
    std::string Aside;
  };
  std::vector<OldFile> SetAside;
};

// Makes a new file beside `path`, with the permissions of the one that is there, and makes it the current output file.
// Until it takes its place `old` counts as written. Returns 0, or errno, then with MessageText.
int OpenBeside(Parameters& run, const std::string& path, const RunFiles::Identity& old, bool binary);
// Looks after the current output file, which stands in its place. `append`: it held something before.
void WatchOutput(Parameters& run, const std::string& path, const RunFiles::Identity& identity, bool append);

// Gives an old file another name, until KeepOutput removes it or it gets its own back. Returns 0, or
// MQRC_FILE_SYSTEM_ERROR with MessageText.
MQLONG SetAside(Parameters& run, const std::string& path);
// Moves every file that was written beside an old one into its place. What is to be sure then is on the disk already.
// Returns 0, or MQRC_FILE_SYSTEM_ERROR with MessageText.
MQLONG PlaceOutput(Parameters& run);
// The unit of work is committed: what was written stays, and old files go.
void KeepOutput(Parameters& run);
// Without units of work a message has left its queue with the get: hands what is written to the system, and a file that
// holds a message to its place. Returns 0, or a reason with MessageText.
MQLONG HandOverOutput(Parameters& run);
// Lets what is written beside an old file stay there: it holds the only copy of a message. Returns its name, or
// nothing.
std::string LeaveOutput(Parameters& run);

// The end of a run, or of a queue in a generic one: closes the output file and lets what was written take its place. Of
// a run that has failed everything since the last KeepOutput is undone when it works in units of work; what it has
// copied stays, but for files that were to replace old ones. Returns `result`, or what failed here when that is 0.
MQLONG FinishOutput(Parameters& run, MQLONG result);
