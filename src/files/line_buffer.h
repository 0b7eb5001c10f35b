#pragma once

// The current line of a text input: read by blocks, kept until it is consumed, counted for error messages.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "common/memory_trace.h"
#include "common/result.h"
#include "files/input_files.h"

// Lines are looked at where they stand in the read block of the file, which is given back when the reader goes.
class LineReader {
 public:
  LineReader(InputFiles& files, MemoryTrace memory) : files_(files), in_(files.File()), memory_(memory) {}
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  // Takes the read block. Returns 0, or MQRC_STORAGE_NOT_AVAILABLE with its text.
  Result Allocate();
  // The next line is the first one of a file that has just been opened.
  void StartFile();
  // A line that begins with an asterisk is passed over, unless it counts as a line.
  void CountComments(bool count) { commentsCount_ = count; }

  // Makes the next significant line current, or none at the end of the file. A line without a line end is no line but
  // the end of a file that was cut off. Returns 0; MQRC_FILE_SYSTEM_ERROR or MQRC_STORAGE_NOT_AVAILABLE with its text.
  Result Next();
  // The same when no line is current.
  Result Need() { return Line.empty() ? Next() : Result(); }
  // Passes over bytes that stand in the block behind the current line and are one line with its line end.
  void SkipLine(std::size_t bytes) {
    in_.Skip(bytes);
    ++number_;
  }
  std::string_view Ahead() const { return in_.Ahead(); }

  // The current line without its line end; empty: none. Valid until the next read.
  std::string_view Line;

  bool ended() const { return Line.empty(); }
  // The file ends inside this line, which is never made current. Valid until the file is closed.
  std::string_view cut_line() const { return cutLine_; }
  void ForgetCutLine() { cutLine_ = {}; }
  // Whoever reads has noted that the file ends inside a message, though not inside a line.
  void NoteCut() { cutNoted_ = true; }
  bool cut_noted() const { return cutNoted_; }
  std::int64_t number() const { return number_; }  // of the line read last, the first line of the file being 1
  const char* file_name() const { return files_.Name(); }
  std::int64_t position() const { return in_.consumed(); }  // bytes of the file read
  // Whether the last read went over an empty line, which ends a message.
  bool passed_empty_line() const { return passedEmptyLine_; }
  // The last read began at this byte, or behind the first empty line that it went over.
  std::int64_t behind_line() const { return behindLine_; }

  // "<what> line <number of the current line> of file '<name>'", and MQRC_FILE_SYSTEM_ERROR.
  Result Refuse(const char* what) const;

 private:
  void PassEmptyLine() {
    if (!passedEmptyLine_) behindLine_ = in_.consumed();
    passedEmptyLine_ = true;
  }
  void Grant(std::string_view line);
  Result NoStorage(std::size_t bytes) const;
  Result ReadFailed() const;

  InputFiles& files_;
  InputFile& in_;
  MemoryTrace memory_;
  std::size_t capacity_ = 0;  // the room granted to a line: starts at 1024, doubles when a line does not fit
  bool commentsCount_ = false;
  bool passedEmptyLine_ = false;
  std::int64_t number_ = 0;
  std::int64_t behindLine_ = 0;
  std::string_view cutLine_;
  bool cutNoted_ = false;
};
