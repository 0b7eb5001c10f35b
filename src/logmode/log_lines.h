#pragma once

// The lines of a log dump, read by blocks from a file or, as they are produced, from the log formatter's pipe.

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "files/streams.h"
#include "platform/child_process.h"

class LogLines {
 public:
  // Returns 0, or errno.
  int OpenFile(const char* name);
  ChildProcess::Failure StartFormatter(const std::string& program, const std::string& commandLine);

  // The next line without its line end, valid until the next call; false at the end. A line longer than a block comes
  // in pieces.
  bool Next(std::string_view& line);
  // Lets the next call return the same line again. Once a line.
  void Unread() { begin_ = lineBegin_; }
  // How the formatter ended, at the end of its lines; 0 for a file.
  int FormatterExitCode() { return formatter_.ExitCode(); }
  // Not 0: the file ended with a read error.
  int error() const { return file_.error(); }

 private:
  bool Fill();
  std::size_t Read(char* buffer, std::size_t bytes);

  InputFile file_;
  ChildProcess formatter_;
  std::unique_ptr<char[]> block_ = std::make_unique<char[]>(kStreamBlock);
  std::size_t lineBegin_ = 0;  // where the line given out last begins
  std::size_t begin_ = 0;      // first byte not given out
  std::size_t end_ = 0;        // end of the bytes held
};
