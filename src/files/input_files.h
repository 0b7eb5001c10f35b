#pragma once

// The files that a run reads, one after the other. Readers ask for the next one and know neither template nor list.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "common/result.h"
#include "common/text.h"
#include "files/run_files.h"
#include "files/streams.h"
#include "options/options.h"

class InputFiles {
 public:
  // Which files these are. The default is none at all.
  struct Plan {
    std::function<std::string(int number)> NameOf =
        {};                     // of the file with this number, from 1 on; empty: there is none
    bool Set = false;           // others follow the first one
    bool Listed = false;        // the set is known: each of its files is there, and its progress is that of them all
    std::string Mode = "r";     // of the streams
    bool ShowsMode = false;     // the mode is the user's, who is told of it
    RunFiles* Files = nullptr;  // the files of the run, which these join; no output may be one of them
    std::function<void()> Opened = {};  // called when a file has been opened
  };

  InputFiles() = default;
  explicit InputFiles(Plan plan) : plan_(std::move(plan)) {}
  // One file, whatever its name looks like.
  explicit InputFiles(const std::string& name);

  // Opens the next file; the one before must be closed. Returns 0, or MQRC_FILE_SYSTEM_ERROR with its text; without a
  // text at the end of the set.
  Result OpenNext();
  // Opens the first one for a caller who tells a failure himself. Returns 0, or errno.
  int OpenFirst();
  // Closes the file in hand, if there is one, and counts its bytes as finished.
  void Close();

  bool IsSet() const { return plan_.Set; }
  InputFile& File() { return file_; }
  // The name of the file in hand, or of the last one that was tried.
  const char* Name() const { return name_.c_str(); }
  int FilesRead() const { return filesRead_; }

  // How much of the file in hand has been read, as its reader tells it.
  void Reached(std::int64_t byte) { reached_ = byte; }
  // Bytes read so far: of all files of a list, else of the file in hand.
  std::int64_t BytesRead() const { return finished_ + reached_; }

 private:
  int Open(const std::string& name);

  Plan plan_;
  InputFile file_;
  Text<255> name_;
  int filesRead_ = 0;
  std::int64_t reached_ = 0;
  std::int64_t finished_ = 0;  // bytes of the files of a list that are closed
};

// How the input files of a run are opened, whatever they are called.
InputFiles::Plan PlanInput(const OutputOptions& output, RunFiles& files);
