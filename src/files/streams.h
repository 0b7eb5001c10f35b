#pragma once

// Buffered streams of the file formats: blocks of 256 KiB over the C library's streams, in text mode on Windows unless
// the mode says "b". Formatters write straight into the block and line readers see lines in place, so that nothing is
// copied twice and no call is made per byte.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "platform/files.h"

inline constexpr std::size_t kStreamBlock = 256 * 1024;

class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Opens with a C library mode ("w", "wb", "ab"...). Returns 0, or errno.
  int Open(const char* name, const char* mode);
  // Takes over an open stream that stands where it is to be written, and looks after the directory entry of `name` when
  // one is given. Returns 0, or ENOMEM with the stream closed.
  int Adopt(std::FILE* file, const char* name = nullptr);
  // Writes to standard output, which Close leaves open. A terminal shows no character whole that is torn between two
  // pieces of Reserve or Append.
  void UseStandardOutput();
  bool is_open() const { return file_ != nullptr; }

  // Room for `bytes` (at most kStreamBlock) contiguous bytes; what was filled is kept by Advance. Null when the block
  // had to be written out for it and that failed (error() tells).
  char* Reserve(std::size_t bytes) {
    if (block_ != nullptr && used_ + bytes <= kStreamBlock && error_ == 0) return block_.get() + used_;
    return WriteBlock() ? block_.get() : nullptr;
  }
  void Advance(std::size_t bytes) { used_ += bytes; }
  // Appends any number of bytes. False when a write failed.
  bool Append(std::string_view bytes);

  // Bytes in the file as the program counts them: what stood there before (append mode) plus what was written since.
  std::int64_t position() const { return written_ + static_cast<std::int64_t>(used_); }
  // The part of position() that the system has taken.
  std::int64_t written() const { return written_; }
  // What the system was given since the stream was opened, also what it has not taken, or not known to.
  std::int64_t offered() const { return offered_; }
  // Size of the file in bytes, -1 when it has none (a pipe).
  std::int64_t Size() const { return file_ != nullptr ? FileSize(file_) : -1; }

  // Hands everything to the operating system; with `toDisk` also forces it onto the disk, the file's directory entry
  // included. Returns 0, or errno. An error stays: every later call fails with it too.
  int Flush(bool toDisk);
  // Flushes and closes. Returns 0, or errno of the first failure since the file was opened.
  int Close(bool toDisk);
  int error() const { return error_; }
  // For a file that is given up: forgets what is not written yet, and any failure.
  void Drop();
  // Cuts the file, which is to be closed then. Returns 0, or errno.
  int CutBack(std::int64_t bytes) { return SetFileSize(file_, bytes); }

 private:
  bool WriteBlock();
  bool Write(const char* data, std::size_t bytes);
  void Begin(std::FILE* file);

  std::FILE* file_ = nullptr;
  std::unique_ptr<char[]> block_;
  std::size_t used_ = 0;
  std::int64_t written_ = 0;
  std::int64_t offered_ = 0;
  int error_ = 0;
  std::string newEntryIn_;  // the directory whose entry for this file may not be on the disk yet
  bool entryOnDisk_ = true;
};

// Forces the entries of a directory onto the disk. Returns 0, or errno.
int SyncEntries(const std::string& directory);

class InputFile {
 public:
  InputFile() = default;
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // Returns 0, or errno; a directory is refused with EISDIR. A read that waits (for a pipe, a terminal) and is
  // interrupted ends with the error EINTR.
  int Open(const char* name, const char* mode);
  void Close();
  bool is_open() const { return file_ != nullptr; }
  std::FILE* stream() { return file_; }
  // From here on every byte is handed out as it stands, also where Open's mode would translate line ends.
  void KeepCarriageReturns() { translates_ = false; }

  // Size in bytes, -1 when it has none (a pipe).
  std::int64_t Size() const;
  // Goes on reading at a byte. Returns 0, or errno.
  int Seek(std::int64_t position);
  int Rewind() { return Seek(0); }

  // Takes the read block, which otherwise the first read does. Null when memory cannot be had, else its address.
  const void* AllocateBlock();
  // Whether the read block holds bytes that are not consumed yet.
  bool HoldsBytes() const { return begin_ < end_; }
  // Gives the read block, which must hold no bytes, back.
  void ReleaseBlock();

  // The next line including its line end, as a view that stays valid until the next call; empty at the end of the file
  // or after a read error (error() tells which). A line of any length is returned whole: one that does not fit the
  // block makes the block grow. Throws nothing; a lack of memory is ENOMEM in error().
  std::string_view NextLine() {
    if (HoldsBytes()) {
      const char* const from = block_.get() + begin_;
      if (const void* const lf = std::memchr(from, '\n', end_ - begin_); lf != nullptr) {
        return Take(static_cast<std::size_t>(static_cast<const char*>(lf) - from) + 1);
      }
    }
    return NextLineBeyondBlock();
  }
  // What stands in the block behind the last line, and taking a part of it: for readers that know what the next line
  // must look like.
  std::string_view Ahead() const { return {block_.get() + begin_, end_ - begin_}; }
  void Skip(std::size_t bytes) { Take(bytes); }
  // Reads raw bytes, at most `bytes`. 0 at the end or after an error.
  std::size_t Read(void* buffer, std::size_t bytes);
  int error() const { return error_; }
  // Bytes consumed from this file so far, as they are delivered.
  std::int64_t consumed() const { return consumed_; }

 private:
  std::string_view Take(std::size_t bytes) {
    const std::string_view taken(block_.get() + begin_, bytes);
    begin_ += bytes;
    consumed_ += static_cast<std::int64_t>(bytes);
    return taken;
  }
  std::string_view NextLineBeyondBlock();
  bool Fill();
  std::size_t ReadFrom(void* buffer, std::size_t bytes);
  std::size_t ReadRaw(void* buffer, std::size_t bytes);

  std::FILE* file_ = nullptr;
  std::unique_ptr<char[]> block_;
  std::size_t capacity_ = 0;
  std::size_t begin_ = 0;  // first byte not consumed
  std::size_t end_ = 0;    // end of the bytes held
  bool waits_ = false;     // what is read is no file: reads take what is there, and an interrupt ends them
  int putBack_ = EOF;      // a byte that was read to look at it
  bool ended_ = false;
  bool translates_ = false;  // carriage returns in front of line feeds are dropped
  std::int64_t consumed_ = 0;
  int error_ = 0;
};
