#pragma once

// The read buffer of plain files: what is held of the current input file, and scanning that reads on as needed.

#include <cstddef>
#include <cstdint>

#include "common/memory_trace.h"
#include "common/result.h"
#include "files/input_files.h"
#include "files/plain_scan.h"

// A block from the tracked allocator that is given back when the object goes.
class TrackedBlock {
 public:
  explicit TrackedBlock(MemoryTrace memory) : memory_(memory) {}
  ~TrackedBlock();
  TrackedBlock(const TrackedBlock&) = delete;
  TrackedBlock& operator=(const TrackedBlock&) = delete;
  char* data() const { return data_; }
  std::size_t size() const { return size_; }
  // Makes the block at least `bytes` large and keeps its first `keep` bytes. False, with the block as it was, when
  // memory cannot be had.
  bool Grow(std::size_t bytes, std::size_t keep);

 private:
  MemoryTrace memory_;
  char* data_ = nullptr;
  std::size_t size_ = 0;
};

// What stands behind the last message of a file; nothing when it is blank.
struct PlainTail {
  std::int64_t Bytes = 0;
  std::int64_t Line = 0;  // where it begins
};

// Places are offsets from the start of the file, so that they stay true when the bytes move to the start of the block.
class PlainInput {
 public:
  PlainInput(InputFiles& files, MemoryTrace memory) : files_(files), block_(memory) {}

  // The next byte read is the first one of a file.
  void StartFile() { at_ = {}; }
  // Reads more, giving up the bytes before `keep`; at the end of the file it has ended. Returns 0,
  // MQRC_FILE_SYSTEM_ERROR or MQRC_STORAGE_NOT_AVAILABLE with its text.
  Result Fill(std::int64_t keep);
  // Goes on with a scan until it has a result; NeedsData then means the end of the file. Keeps the bytes from `keep`
  // on, or, when that is negative, from the scan's place on. Returns as above.
  Result Run(DelimiterScan& scan, std::int64_t keep, ScanResult& result);
  // The last message ends here.
  void TakeTo(std::int64_t offset) {
    at_.TailAt = -1;
    at_.Position = offset;
  }
  // Goes to the end of the file, in which no further message was found. Returns as above.
  Result TakeRest(PlainTail& tail);

  std::int64_t position() const { return at_.Position; }  // behind the last message
  std::int64_t end() const { return at_.Base + static_cast<std::int64_t>(at_.Held); }
  bool ended() const { return at_.Ended; }  // the file has no byte behind the ones held
  // The place of a byte that is held; valid until more is read.
  char* At(std::int64_t offset) const { return block_.data() + (offset - at_.Base); }

 private:
  // Where in the file in hand this stands.
  struct Place {
    std::size_t Held = 0;          // bytes in the block
    std::int64_t Base = 0;         // offset of the first of them
    std::int64_t Position = 0;     // offset behind the last message
    std::int64_t LinesBefore = 0;  // line ends before Base
    bool Ended = false;
    std::int64_t TailAt = -1;   // the first byte behind the last message that is no blank, once it was looked for
    std::int64_t TailLine = 0;  // its line
  };

  std::int64_t CountLines(std::int64_t from, std::int64_t to) const;
  void LookForTail(std::int64_t to);
  void Discard(std::int64_t keep);

  InputFiles& files_;
  TrackedBlock block_;
  Place at_;
};

// White space.
bool IsBlank(char c);

// The failures of memory that cannot be had, and of reading the input file.
Result NoMessageStorage(std::int64_t bytes);
Result ReadFailed(const InputFile& file);
