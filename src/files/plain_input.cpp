#include "files/plain_input.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>

#include "common/console.h"
#include "files/streams.h"
#include "mq/mqi.h"

namespace {

constexpr std::size_t kFirstBlock = kStreamBlock;

}  // namespace

TrackedBlock::~TrackedBlock() {
  if (data_ == nullptr) return;
  memory_.Freeing(data_);
  CSFreeMem(data_);
}

bool TrackedBlock::Grow(std::size_t bytes, std::size_t keep) {
  if (bytes <= size_) return true;
  auto* grown = static_cast<char*>(CSGetMem(bytes));
  if (grown == nullptr) return false;
  if (keep > 0) std::memcpy(grown, data_, keep);
  CSFreeMem(data_);
  data_ = grown;
  size_ = bytes;
  return true;
}

bool IsBlank(char c) { return c == '\t' || c == '\n' || c == '\r' || c == ' '; }

Result NoMessageStorage(std::int64_t bytes) {
  return {MQRC_STORAGE_NOT_AVAILABLE, FormatText("Unable to allocate %" PRId64 " bytes message storage", bytes)};
}

Result ReadFailed(const InputFile& file) {
  return {MQRC_FILE_SYSTEM_ERROR, FormatText("Error reading from input file RC(%d)\n", file.error())};
}

// Counts in bytes, chunk by chunk, which the compiler turns into vector instructions.
std::int64_t PlainInput::CountLines(std::int64_t from, std::int64_t to) const {
  constexpr std::int64_t kChunk = 255;
  std::int64_t lines = 0;
  while (from < to) {
    const char* p = At(from);
    const std::int64_t n = std::min(kChunk, to - from);
    std::uint8_t inChunk = 0;
    for (std::int64_t i = 0; i < n; ++i) inChunk = static_cast<std::uint8_t>(inChunk + (p[i] == '\n' ? 1 : 0));
    lines += inChunk;
    from += n;
  }
  return lines;
}

// Looks among the bytes held before `to` for the first one behind the last message that is no blank.
void PlainInput::LookForTail(std::int64_t to) {
  if (at_.TailAt >= 0) return;
  std::int64_t at = std::max(at_.Base, at_.Position);
  while (at < to && IsBlank(*At(at))) ++at;
  if (at >= to) return;
  at_.TailAt = at;
  at_.TailLine = at_.LinesBefore + CountLines(at_.Base, at) + 1;
}

// Gives up the bytes before `keep`.
void PlainInput::Discard(std::int64_t keep) {
  if (keep <= at_.Base) return;
  LookForTail(keep);
  at_.LinesBefore += CountLines(at_.Base, keep);
  const auto kept = static_cast<std::size_t>(end() - keep);
  std::memmove(block_.data(), At(keep), kept);
  at_.Base = keep;
  at_.Held = kept;
}

Result PlainInput::Fill(std::int64_t keep) {
  Discard(keep);
  if (at_.Held > static_cast<std::size_t>(INT32_MAX)) {
    return NoMessageStorage(static_cast<std::int64_t>(at_.Held));  // no message is that long
  }
  // Twice the room as soon as half of it is taken keeps the copying of a long message linear.
  if (at_.Held >= block_.size() / 2) {
    const std::size_t wanted = std::max(kFirstBlock, 2 * block_.size());
    if (!block_.Grow(wanted, at_.Held)) return NoMessageStorage(static_cast<std::int64_t>(wanted));
  }
  const std::size_t read = files_.File().Read(block_.data() + at_.Held, block_.size() - at_.Held);
  if (read == 0) {
    if (files_.File().error() != 0) return ReadFailed(files_.File());
    at_.Ended = true;
  }
  at_.Held += read;
  return {};
}

Result PlainInput::Run(DelimiterScan& scan, std::int64_t keep, ScanResult& result) {
  for (;;) {
    result = scan.Continue({block_.data(), at_.Held}, at_.Base, at_.Ended);
    if (result == ScanResult::NoMemory) return NoMessageStorage(static_cast<std::int64_t>(scan.Brackets.size()));
    if (result != ScanResult::NeedsData || at_.Ended) return {};
    if (Result filled = Fill(keep >= 0 ? keep : scan.At); filled.failed()) return filled;
  }
}

Result PlainInput::TakeRest(PlainTail& tail) {
  while (!at_.Ended) {
    if (Result filled = Fill(end()); filled.failed()) return filled;
  }
  LookForTail(end());
  tail = at_.TailAt < 0 ? PlainTail() : PlainTail{end() - at_.TailAt, at_.TailLine};
  TakeTo(end());
  return {};
}
