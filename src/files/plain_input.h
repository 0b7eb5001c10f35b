#pragma once

// The read buffer of plain files: what is held of the current input file, and scanning that reads on as needed.

#include <cstddef>
#include <cstdint>

#include "files/plain_scan.h"
#include "mq/mqi.h"

struct Parameters;

// A block from the tracked allocator that is given back when the object goes.
class TrackedBlock {
 public:
  TrackedBlock() = default;
  ~TrackedBlock() { Release(); }
  TrackedBlock(const TrackedBlock&) = delete;
  TrackedBlock& operator=(const TrackedBlock&) = delete;
  char* data() { return data_; }
  const char* data() const { return data_; }
  std::size_t size() const { return size_; }
  // Makes the block at least `bytes` large and keeps its first `keep` bytes. False, with the block as it was, when
  // memory cannot be had.
  bool Grow(std::size_t bytes, std::size_t keep);
  void Release();

 private:
  char* data_ = nullptr;
  std::size_t size_ = 0;
};

// Places are offsets from the start of the file, so that they stay true when the bytes move to the start of the block.
struct PlainInput {
  TrackedBlock Block;
  std::size_t Held = 0;          // bytes in the block
  std::int64_t Base = 0;         // offset of the first of them
  std::int64_t Position = 0;     // offset behind the last message
  std::int64_t LinesBefore = 0;  // line ends before Base
  bool Ended = false;            // the file has no byte behind the ones held
  std::int64_t TailAt = -1;      // the first byte behind the last message that is no blank, once it was looked for
  std::int64_t TailLine = 0;     // its line

  std::int64_t End() const { return Base + static_cast<std::int64_t>(Held); }
  // The place of a byte that is held; valid until more is read.
  char* At(std::int64_t offset) { return Block.data() + (offset - Base); }
  const char* At(std::int64_t offset) const { return Block.data() + (offset - Base); }
};

// Forgets what is held: the next byte read is the first of a file.
void ResetPlainInput(PlainInput& input);

// Reads more, giving up the bytes before `keep`; at the end of the file sets Ended. Returns 0, MQRC_FILE_SYSTEM_ERROR
// or MQRC_STORAGE_NOT_AVAILABLE with MessageText.
MQLONG FillPlainInput(Parameters& run, std::int64_t keep);

// Goes on with a scan until it has a result; NeedsData then means the end of the file. Keeps the bytes from `keep` on,
// or, when that is negative, from the scan's place on. Returns as above.
MQLONG RunScan(Parameters& run, DelimiterScan& scan, std::int64_t keep, ScanResult& result);

// Ends the current file, in which no further message was found: what is left of it, unless it is blank, is told (once:
// not again after a preliminary count) and sets Parameters::Loss. Sets Finished. Returns as above.
MQLONG DropTail(Parameters& run);

// White space.
bool IsBlank(char c);

// MessageText and the reason for memory that cannot be had, and for a failed read of the input file.
MQLONG NoMessageStorage(Parameters& run, std::int64_t bytes);
MQLONG ReadError(Parameters& run);
