#include "files/plain_input.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>

#include "cmdline/parameters.h"
#include "common/console.h"
#include "files/streams.h"

namespace {

constexpr std::size_t kFirstBlock = kStreamBlock;

// Counts in bytes, chunk by chunk, which the compiler turns into vector instructions.
std::int64_t CountLines(const PlainInput& input, std::int64_t from, std::int64_t to) {
  constexpr std::int64_t kChunk = 255;
  std::int64_t lines = 0;
  while (from < to) {
    const char* p = input.At(from);
    const std::int64_t n = std::min(kChunk, to - from);
    std::uint8_t inChunk = 0;
    for (std::int64_t i = 0; i < n; ++i) inChunk = static_cast<std::uint8_t>(inChunk + (p[i] == '\n' ? 1 : 0));
    lines += inChunk;
    from += n;
  }
  return lines;
}

// Looks among the bytes held before `to` for the first one behind the last message that is no blank.
void LookForTail(PlainInput& input, std::int64_t to) {
  if (input.TailAt >= 0) return;
  std::int64_t at = std::max(input.Base, input.Position);
  while (at < to && IsBlank(*input.At(at))) ++at;
  if (at >= to) return;
  input.TailAt = at;
  input.TailLine = input.LinesBefore + CountLines(input, input.Base, at) + 1;
}

// Gives up the bytes before `keep`.
void Discard(PlainInput& input, std::int64_t keep) {
  if (keep <= input.Base) return;
  LookForTail(input, keep);
  input.LinesBefore += CountLines(input, input.Base, keep);
  const auto kept = static_cast<std::size_t>(input.End() - keep);
  std::memmove(input.Block.data(), input.At(keep), kept);
  input.Base = keep;
  input.Held = kept;
}

}  // namespace

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

void TrackedBlock::Release() {
  CSFreeMem(data_);
  data_ = nullptr;
  size_ = 0;
}

bool IsBlank(char c) { return c == '\t' || c == '\n' || c == '\r' || c == ' '; }

MQLONG NoMessageStorage(Parameters& run, std::int64_t bytes) {
  run.MessageText.Format("Unable to allocate %" PRId64 " bytes message storage", bytes);
  return MQRC_STORAGE_NOT_AVAILABLE;
}

MQLONG ReadError(Parameters& run) {
  run.MessageText.Format("Error reading from input file RC(%d)\n", run.In->File().error());
  return MQRC_FILE_SYSTEM_ERROR;
}

MQLONG FillPlainInput(Parameters& run, std::int64_t keep) {
  PlainInput& input = run.Plain.Input;
  Discard(input, keep);
  if (input.Held > static_cast<std::size_t>(INT32_MAX)) {
    return NoMessageStorage(run, static_cast<std::int64_t>(input.Held));  // no message is that long
  }
  // Twice the room as soon as half of it is taken keeps the copying of a long message linear.
  if (input.Held >= input.Block.size() / 2) {
    const std::size_t wanted = std::max(kFirstBlock, 2 * input.Block.size());
    if (!input.Block.Grow(wanted, input.Held)) return NoMessageStorage(run, static_cast<std::int64_t>(wanted));
  }
  const std::size_t read = run.In->File().Read(input.Block.data() + input.Held, input.Block.size() - input.Held);
  if (read == 0) {
    if (run.In->File().error() != 0) return ReadError(run);
    input.Ended = true;
  }
  input.Held += read;
  return 0;
}

MQLONG RunScan(Parameters& run, DelimiterScan& scan, std::int64_t keep, ScanResult& result) {
  PlainInput& input = run.Plain.Input;
  for (;;) {
    result = scan.Continue({input.Block.data(), input.Held}, input.Base, input.Ended);
    if (result == ScanResult::NoMemory) return NoMessageStorage(run, static_cast<std::int64_t>(scan.Brackets.size()));
    if (result != ScanResult::NeedsData || input.Ended) return 0;
    if (const MQLONG reason = FillPlainInput(run, keep >= 0 ? keep : scan.At); reason != 0) return reason;
  }
}

MQLONG DropTail(Parameters& run) {
  PlainInput& input = run.Plain.Input;
  while (!input.Ended) {
    if (const MQLONG reason = FillPlainInput(run, input.End()); reason != 0) return reason;
  }
  LookForTail(input, input.End());
  if (input.TailAt >= 0) run.Loss = MQRC_FILE_SYSTEM_ERROR;
  const bool told = run.Plain.Pass == CountingPass::Done;
  if (input.TailAt >= 0 && !told) {
    const std::int64_t lost = input.End() - input.TailAt;
    run.Screen.Print("%" PRId64 " byte%s at the end of file '%s', from line %" PRId64
                     " on, not taken: no end of message found\n",
                     lost, lost == 1 ? "" : "s", run.In->Name(), input.TailLine);
  }
  input.TailAt = -1;
  input.Position = input.End();
  run.Finished = true;
  return 0;
}

void ResetPlainInput(PlainInput& input) {
  input.Held = 0;
  input.Base = 0;
  input.Position = 0;
  input.LinesBefore = 0;
  input.Ended = false;
  input.TailAt = -1;
}
