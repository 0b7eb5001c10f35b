#include <algorithm>
#include <cstdint>
#include <ctime>

#include "cmdline/parameters.h"
#include "files/naming.h"
#include "files/writer.h"

namespace {

// What a message may take in the file: at least its hex digits and a descriptor, whatever the layout.
std::int64_t RoomNeeded(const Parameters& run, MQLONG length) {
  constexpr std::int64_t kDescriptorRoom = 1024;
  return std::max(2 * std::int64_t{length} + kDescriptorRoom, WorstCaseSize(run, length));
}

bool LacksRoom(const Parameters& run, MQLONG length) {
  return run.LimitSize > 0 && run.Writer.MsgsInFile > 0 &&
         run.LimitSize - run.Writer.Out.position() < RoomNeeded(run, length);
}

bool ReachedLimit(const Parameters& run) {
  if (run.LimitMsgs > 0 && run.Writer.MsgsInFile >= run.LimitMsgs) return true;
  if (run.LimitAge > 0 && std::time(nullptr) - run.Naming.OpenTime >= run.LimitAge) return true;
  return run.LimitSize > 0 && run.Writer.Out.position() >= run.LimitSize;
}

}  // namespace

MQLONG CheckFileLimits(Parameters& run, MQLONG length, const QueueElement* source, bool mayAsk) {
  if (run.Has2(FLAG2_COUNT) || run.OutputFileName.empty()) return 0;
  if (run.Writer.Out.is_open() && LacksRoom(run, length)) {
    if (const MQLONG reason = CloseOutputFile(run); reason != 0) return reason;
  }
  if (run.Writer.Out.is_open() || run.NullOutput) return 0;
  if (const MQLONG reason = OpenFiles(run, {.MayAsk = mayAsk, .Output = true}); reason != 0) return reason;
  return run.NullOutput ? 0 : WriteFileHeader(run, source);
}

MQLONG RollOverAfterMessage(Parameters& run) {
  if (!run.Has(FLAG_OUTPUT_INSERTS) || !run.Writer.Out.is_open() || !ReachedLimit(run)) return 0;
  return CloseOutputFile(run);
}
