#include "files/line_buffer.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>

#include "mq/mqi.h"

namespace {

constexpr std::size_t kFirstCapacity = 1024;

std::string_view WithoutLineEnd(std::string_view line) {
  line.remove_suffix(1);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

}  // namespace

LineReader::~LineReader() {
  if (in_.HoldsBytes()) return;  // they go with the file
  memory_.Freeing(in_.AllocateBlock());
  in_.ReleaseBlock();
}

Result LineReader::Allocate() {
  memory_.Allocating(kFirstCapacity);
  const void* const block = in_.AllocateBlock();
  if (block == nullptr) return NoStorage(kFirstCapacity);
  memory_.Allocated(block);
  capacity_ = kFirstCapacity;
  return {};
}

void LineReader::StartFile() {
  in_.KeepCarriageReturns();  // lines are read with either line end, and places are told in the file's own bytes
  Line = {};
  cutLine_ = {};
  cutNoted_ = false;
  number_ = 0;
}

Result LineReader::NoStorage(std::size_t bytes) const {
  memory_.Failed("Allocation failed\n");
  return {MQRC_STORAGE_NOT_AVAILABLE,
          FormatText("Unable to allocate %d bytes line storage", MemoryTrace::Shown(bytes))};
}

// Lines are looked at in the read block, which grows by itself; the capacity tells what a line needs.
void LineReader::Grant(std::string_view line) {
  const bool ended = line.back() == '\n';
  // One place is kept for a terminator, and a line without a line end that fills the rest may go on.
  const std::size_t needed = line.size() + (ended ? 1 : 2);
  while (capacity_ < needed) {
    capacity_ = std::max(2 * capacity_, kFirstCapacity);
    memory_.Allocating(capacity_);
    memory_.Allocated(line.data());
  }
}

Result LineReader::ReadFailed() const {
  const int error = in_.error();
  if (error == ENOMEM) return NoStorage(2 * std::max(capacity_, kStreamBlock));
  return {MQRC_FILE_SYSTEM_ERROR, FormatText("Error reading from file '%s' RC(%d)", file_name(), error)};
}

Result LineReader::Refuse(const char* what) const {
  return {MQRC_FILE_SYSTEM_ERROR, FormatText("%s line %" PRId64 " of file '%s'", what, number_, file_name())};
}

Result LineReader::Next() {
  passedEmptyLine_ = false;
  behindLine_ = in_.consumed();
  for (;;) {
    std::string_view line = in_.NextLine();
    Line = {};
    if (line.empty()) return in_.error() != 0 ? ReadFailed() : Result();
    ++number_;
    if (line.size() + 2 > capacity_) Grant(line);
    if (line.back() != '\n') {
      cutLine_ = line;
      return {};
    }
    line = WithoutLineEnd(line);
    if (line.empty()) {
      PassEmptyLine();
      continue;
    }
    if (line.front() == '*' && !commentsCount_) continue;
    Line = line;
    return {};
  }
}
