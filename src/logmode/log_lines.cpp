#include "logmode/log_lines.h"

#include <cstring>

int LogLines::OpenFile(const char* name) { return file_.Open(name, "r"); }

ChildProcess::Failure LogLines::StartFormatter(const std::string& program, const std::string& commandLine) {
  return formatter_.Start(program, commandLine);
}

std::size_t LogLines::Read(char* buffer, std::size_t bytes) {
  return file_.is_open() ? file_.Read(buffer, bytes) : formatter_.Read(buffer, bytes);
}

// Keeps what was not given out and reads behind it. False when the block is full or the input has ended.
bool LogLines::Fill() {
  std::memmove(block_.get(), block_.get() + begin_, end_ - begin_);
  end_ -= begin_;
  begin_ = 0;
  if (end_ == kStreamBlock) return false;
  const std::size_t bytes = Read(block_.get() + end_, kStreamBlock - end_);
  end_ += bytes;
  return bytes != 0;
}

bool LogLines::Next(std::string_view& line) {
  std::size_t looked = 0;  // bytes from begin_ on that hold no line end
  const char* lineEnd = nullptr;
  do {
    const char* const from = block_.get() + begin_ + looked;
    const std::size_t held = end_ - begin_ - looked;
    lineEnd = held != 0 ? static_cast<const char*>(std::memchr(from, '\n', held)) : nullptr;
    looked += held;
  } while (lineEnd == nullptr && Fill());
  if (begin_ == end_) return false;
  const char* const text = block_.get() + begin_;
  std::size_t length = lineEnd != nullptr ? static_cast<std::size_t>(lineEnd - text) : end_ - begin_;
  lineBegin_ = begin_;
  begin_ += length + (lineEnd != nullptr ? 1 : 0);
  if (length != 0 && text[length - 1] == '\r') --length;
  line = {text, length};
  return true;
}
