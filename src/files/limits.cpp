#include <algorithm>
#include <cstdint>
#include <ctime>

#include "cmdline/parameters.h"
#include "files/naming.h"
#include "files/output_files.h"
#include "files/writer.h"

namespace {

// What a message may take in the file: at least its hex digits and a descriptor, whatever the layout.
std::int64_t RoomNeeded(const Parameters& run, MQLONG length) {
  constexpr std::int64_t kDescriptorRoom = 1024;
  return std::max(2 * std::int64_t{length} + kDescriptorRoom, WorstCaseSize(run.Asked.Layout, length));
}

bool LacksRoom(const Parameters& run, MQLONG length) {
  return run.Asked.Limits.Size > 0 && run.Writer.MsgsInFile > 0 &&
         run.Asked.Limits.Size - run.Writer.Out.position() < RoomNeeded(run, length);
}

bool ReachedLimit(const Parameters& run) {
  if (run.Asked.Limits.Msgs > 0 && run.Writer.MsgsInFile >= run.Asked.Limits.Msgs) return true;
  if (run.Asked.Limits.Age > 0 && std::time(nullptr) - run.Naming.OpenTime >= run.Asked.Limits.Age) return true;
  return run.Asked.Limits.Size > 0 && run.Writer.Out.position() >= run.Asked.Limits.Size;
}

}  // namespace

MQLONG CheckFileLimits(Parameters& run, MQLONG length, const QueueElement* source, bool mayAsk) {
  if (run.Asked.Display.Count || run.Asked.Output.FileName.empty()) return 0;
  if (run.Writer.Out.is_open() && LacksRoom(run, length)) {
    if (const MQLONG reason = CloseOutputFile(run); reason != 0) return reason;
  }
  if (run.Writer.Out.is_open() || run.NullOutput) return 0;
  if (const MQLONG reason = OpenFiles(run, {.MayAsk = mayAsk, .Output = true}); reason != 0) return reason;
  return run.NullOutput ? 0 : WriteFileHeader(run, source);
}

MQLONG RollOverAfterMessage(Parameters& run) {
  if (!run.Asked.Output.FileInserts || !run.Writer.Out.is_open() || !ReachedLimit(run)) return 0;
  return CloseOutputFile(run);
}
