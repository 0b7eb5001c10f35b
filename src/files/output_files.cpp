#include "files/output_files.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include "cmdline/parameters.h"
#include "files/writer.h"

namespace {

// The messages that the block still held have not reached the file.
void NotWritten(Parameters& run) {
  WriterState& writer = run.Writer;
  run.MsgsWritten -= writer.HeldMsgs;
  run.BytesWritten -= writer.HeldBytes;
  writer.HeldMsgs = writer.HeldBytes = 0;
}

MessageWriter WriterOf(Parameters& run) { return MessageWriter(run.Asked.Layout, run.Writer.Out, run.Writer.FileName); }

MQLONG Tell(Parameters& run, const Result& result) {
  if (!result.text().empty()) run.MessageText.Assign(result.text());
  if (result.failed() && run.Writer.Out.error() != 0) NotWritten(run);
  return result.reason();
}

// Counts a message that is in the block, or further. When a block has left meanwhile, so have all messages before.
void CountWritten(Parameters& run) {
  WriterState& writer = run.Writer;
  const std::int64_t length = run.Message.Length;
  if (writer.HeldFrom != writer.Out.written()) {
    writer.HeldFrom = writer.Out.written();
    writer.HeldMsgs = writer.HeldBytes = 0;
  }
  if (writer.Out.is_open()) {
    ++writer.MsgsSinceFlush;
    ++writer.HeldMsgs;
    writer.HeldBytes += length;
  }
  ++run.MsgsWritten;
  run.BytesWritten += length;
}

MQLONG FlushFailed(Parameters& run, int error) {
  NotWritten(run);
  if (run.MessageText.empty()) {
    const std::string text = FormatText("Error flushing data to file '%s'RC(%d)", run.Writer.FileName.c_str(), error);
    run.MessageText.Assign(WithCause(text, error));
  }
  return WriteFailure(run.Writer.FileName);
}

void NothingHeld(WriterState& writer) {
  writer.HeldMsgs = writer.HeldBytes = 0;
  writer.MsgsSinceFlush = 0;
}

// The creation time as every file of the run shows it: the classic date text, its own line end included.
const char* CreationTime(Parameters& run) {
  if (run.Writer.CreationTime.empty()) {
    const std::time_t now = std::time(nullptr);
    const std::tm* const local = std::localtime(&now);
    run.Writer.CreationTime.Assign(local != nullptr ? std::asctime(local) : "\n");
  }
  return run.Writer.CreationTime.c_str();
}

}  // namespace

MQLONG WriteFileHeader(Parameters& run, const QueueElement* source) {
  if (run.NullOutput) return 0;
  HeaderNames names;
  if (source != nullptr && source->Hobj != MQHO_UNUSABLE_HOBJ) {
    names = {run.QMgrs[run.Asked.Input.QMgr].QMgrName, source->QueueName};
  }
  return Tell(run, WriterOf(run).WriteHeader(CreationTime(run), names));
}

MQLONG WriteFileMessage(Parameters& run) {
  if (!run.NullOutput && !run.Asked.Display.Count) {
    const CurrentMessage& message = run.Message;
    const auto there = static_cast<std::size_t>(std::min(message.Delivered, message.Length));
    const Result result = WriterOf(run).Write({.Descriptor = message.Descriptor,
                                               .Data = DataBytes(message.Data, there),
                                               .Length = message.Length,
                                               .Position = run.MessageIndex,
                                               .Ordinal = run.SelectedCount,
                                               .Now = run.StartTime,
                                               .LeavesQueue = run.Asked.Input.Remove});
    if (result.failed()) return Tell(run, result);
    if (!run.Asked.Layout.TimeOnQueue) ++run.Writer.MsgsInFile;
  }
  CountWritten(run);
  return 0;
}

MQLONG FlushOutputFile(Parameters& run, bool toDisk) {
  WriterState& writer = run.Writer;
  if (!writer.Out.is_open()) return 0;
  if (const int error = writer.Out.Flush(toDisk); error != 0) return FlushFailed(run, error);
  NothingHeld(writer);
  return 0;
}

MQLONG CloseOutputFile(Parameters& run) {
  WriterState& writer = run.Writer;
  if (!writer.Out.is_open()) return 0;
  const bool known = std::exchange(writer.Changes.LastIsOpen, false);
  const bool replaces = known && !writer.Changes.Files.back().Temporary.empty();
  // Messages of a queue are reported as written once they are on the disk, and an old file goes only when the new one
  // is; a file that is rewritten under another name still stands as it was.
  const bool toDisk = run.Asked.Input.FileName.empty() || replaces;
  if (const int error = writer.Out.Close(toDisk); error != 0) return FlushFailed(run, error);
  NothingHeld(writer);
  return 0;
}
