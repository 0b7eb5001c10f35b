#include "files/writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <ctime>
#include <utility>

#include "cmdline/parameters.h"
#include "common/units.h"
#include "files/data_layouts.h"
#include "files/descriptor_fields.h"
#include "files/hex.h"
#include "mq/put_time.h"

namespace {

DataLayout LayoutOf(const Parameters& run) {
  if (run.Asked.Layout.Raw) return DataLayout::Raw;
  if (run.Asked.Layout.AsciiLines) return DataLayout::AsciiLines;
  if (run.Asked.Layout.Printable) return DataLayout::Printable;
  return run.Asked.Layout.TextLines ? DataLayout::Text : DataLayout::Hex;
}

LineForm FormOf(const Parameters& run) {
  constexpr int kLeastWidth = 2;
  return {.Width = static_cast<std::size_t>(std::max(run.Asked.Layout.DataWidth, kLeastWidth)),
          .Columns = run.Asked.Layout.AsciiColumns};
}

// The messages that the block still held have not reached the file. Returns the reason of the run's failure.
MQLONG NotWritten(Parameters& run) {
  WriterState& writer = run.Writer;
  run.MsgsWritten -= writer.HeldMsgs;
  run.BytesWritten -= writer.HeldBytes;
  writer.HeldMsgs = writer.HeldBytes = 0;
  return writer.FileName == "stdout" ? MQRC_FILE_SYSTEM_ERROR : MQRC_RESOURCE_PROBLEM;
}

MQLONG CanNotWrite(Parameters& run) {
  const std::string text = FormatText("Can not write to file '%s'", run.Writer.FileName.c_str());
  run.MessageText.Assign(WithCause(text, run.Writer.Out.error()));
  return NotWritten(run);
}

MQLONG CanNotWriteWithCode(Parameters& run) {
  const int error = run.Writer.Out.error();
  const std::string text = FormatText("Can not write to file '%s' RC(%d)", run.Writer.FileName.c_str(), error);
  run.MessageText.Assign(WithCause(text, error));
  return NotWritten(run);
}

// A number, with blanks before it up to `width` characters; returns the place behind it.
char* PutInteger(char* out, std::int64_t value, std::ptrdiff_t width = 0) {
  char digits[20];
  const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value);
  const std::ptrdiff_t count = end.ptr - digits;
  if (count < width) {
    std::memset(out, ' ', static_cast<std::size_t>(width - count));
    out += width - count;
  }
  return std::copy(digits, end.ptr, out);
}

char* PutTag(char* out, const char (&tag)[4]) {
  *out++ = 'A';
  *out++ = ' ';
  out = std::copy(tag, tag + 3, out);
  *out++ = ' ';
  return out;
}

bool IsControl(MQBYTE byte) { return byte < 0x20 || byte == 0x7F; }

// The characters of a string field that stand in its plain line: those before the first NUL or other control byte.
std::size_t PlainLength(const MQBYTE* value, std::size_t length) {
  return static_cast<std::size_t>(std::find_if(value, value + length, IsControl) - value);
}

// Whether the reader takes the plain line of a string field back to the same bytes. A line without a value leaves the
// field as it is in the default descriptor.
bool PlainLineIsExact(const DescriptorField& field, const MQBYTE* value, std::size_t plain) {
  if (plain == field.Length) return true;
  if (plain != 0) return false;
  static const MQMD defaults = DefaultDescriptor();
  return std::memcmp(reinterpret_cast<const char*>(&defaults) + field.Offset, value, field.Length) == 0;
}

char* PutHexLine(char* out, const char (&tag)[4], const MQBYTE* value, std::size_t length) {
  out = EncodeHex(PutTag(out, tag), value, length);
  *out++ = '\n';
  return out;
}

char* PutStringLines(char* out, const DescriptorField& field, const MQBYTE* value) {
  const std::size_t plain = PlainLength(value, field.Length);
  out = PutTag(out, field.Tag);
  std::memcpy(out, value, plain);
  out += plain;
  *out++ = '\n';
  return PlainLineIsExact(field, value, plain) ? out : PutHexLine(out, field.ExactTag, value, field.Length);
}

char* PutField(char* out, const DescriptorField& field, const MQBYTE* value) {
  if (field.Kind == FieldKind::String) return PutStringLines(out, field, value);
  if (field.Kind == FieldKind::Hex) return PutHexLine(out, field.Tag, value, field.Length);
  MQLONG number;
  std::memcpy(&number, value, sizeof number);
  out = PutInteger(PutTag(out, field.Tag), number);
  *out++ = '\n';
  return out;
}

MQLONG WriteDescriptor(Parameters& run) {
  OutputFile& file = run.Writer.Out;
  if (run.Asked.Layout.NoDescriptor) return run.Asked.Layout.Raw || file.Append("N\n") ? 0 : CanNotWrite(run);
  char* const room = file.Reserve(LongestDescriptor());
  if (room == nullptr) return CanNotWrite(run);
  const MQMD& descriptor = run.Message.Descriptor;
  const FieldCondition left =
      run.Asked.Layout.ApplDataAsText ? FieldCondition::OnlyAsHex : FieldCondition::OnlyAsCharacters;
  char* out = room;
  for (const DescriptorField* field = DescriptorFields; field->Kind != FieldKind::End; ++field) {
    // The lines of a descriptor also end the message before it: some are written whatever its version says.
    const bool newer = field->MinVersion > 0 && field->MinVersion > descriptor.Version;
    if (field->Tag[0] == '\0' || newer || field->Condition == left) continue;
    out = PutField(out, *field, reinterpret_cast<const MQBYTE*>(&descriptor) + field->Offset);
  }
  file.Advance(static_cast<std::size_t>(out - room));
  return 0;
}

// A message that leaves its queue must be in the file byte for byte.
MQLONG LosesBytes(Parameters& run) {
  const MQMD& descriptor = run.Message.Descriptor;
  std::string id(2 * sizeof descriptor.MsgId, '0');
  EncodeHex(id.data(), descriptor.MsgId, sizeof descriptor.MsgId);
  run.MessageText.Format("Message %d (MsgId %s) can not be written as text without loss", run.MessageIndex, id.c_str());
  return MQRC_FILE_SYSTEM_ERROR;
}

MQLONG WriteText(Parameters& run, DataBytes data, LineForm form) {
  bool exact = false;
  if (!WriteTextLines(run.Writer.Out, data, form, exact)) return CanNotWriteWithCode(run);
  return exact || !run.Asked.Input.Remove ? 0 : LosesBytes(run);
}

MQLONG WriteMessageData(Parameters& run) {
  OutputFile& file = run.Writer.Out;
  const CurrentMessage& message = run.Message;
  if (message.Delivered < message.Length) {
    run.MessageText.Format("Only %d of %d bytes of message data are there to be written", message.Delivered,
                           message.Length);
    return MQRC_UNEXPECTED_ERROR;
  }
  const DataBytes data(message.Data, static_cast<std::size_t>(message.Length));
  const LineForm form = FormOf(run);
  switch (const DataLayout layout = LayoutOf(run)) {
    case DataLayout::Hex:
      return WriteHexLines(file, data, form) ? 0 : CanNotWrite(run);
    case DataLayout::Raw:
      return file.Append({reinterpret_cast<const char*>(data.data()), data.size()}) ? 0 : CanNotWriteWithCode(run);
    case DataLayout::Text:
      return WriteText(run, data, form);
    default:
      return WriteRuns(file, data, layout, form) ? 0 : CanNotWriteWithCode(run);
  }
}

constexpr std::size_t kLongestIndexLine = 24;

MQLONG WriteIndexLine(Parameters& run) {
  char* const room = run.Writer.Out.Reserve(kLongestIndexLine);
  if (room == nullptr) return CanNotWrite(run);
  constexpr std::string_view kStart = "* Index ";
  char* out = PutInteger(std::copy(kStart.begin(), kStart.end(), room), run.SelectedCount);
  *out++ = '\n';
  run.Writer.Out.Advance(static_cast<std::size_t>(out - room));
  return 0;
}

MQLONG WriteMessageBlock(Parameters& run) {
  MQLONG reason = run.Asked.Layout.Index ? WriteIndexLine(run) : 0;
  if (reason == 0) reason = WriteDescriptor(run);
  if (reason == 0) reason = WriteMessageData(run);
  if (reason == 0 && !run.Writer.Out.Append("\n")) reason = CanNotWrite(run);
  if (reason == 0) ++run.Writer.MsgsInFile;
  return reason;
}

constexpr std::int64_t kLongestTimeOnQueue = 256;

// Two lines and an empty one: the message's position and identifier, and below it how long the message has been there.
MQLONG WriteTimeOnQueue(Parameters& run) {
  const MQMD& descriptor = run.Message.Descriptor;
  std::array<char, 128> line;
  constexpr std::string_view kLabel = ". MsgId:";
  char* end = PutInteger(line.data(), run.MessageIndex, 5);
  end = std::copy(kLabel.begin(), kLabel.end(), end);
  const auto indent = static_cast<std::size_t>(end - line.data());
  end = EncodeHex(end, descriptor.MsgId, sizeof descriptor.MsgId);
  *end++ = '\n';

  const std::int64_t putTime = PutTimeUtc(descriptor.PutDate, descriptor.PutTime);
  const std::string age = putTime > 0 ? FormatDuration(run.StartTime - putTime) : "Unknown";
  const std::string second = std::string(indent, ' ') + age + "\n\n";
  if (run.Writer.Out.Append({line.data(), static_cast<std::size_t>(end - line.data())}) &&
      run.Writer.Out.Append(second)) {
    return 0;
  }
  PrintOutput("Error writing to file '%s'\n", run.Writer.FileName.c_str());
  NotWritten(run);
  return MQRC_FILE_SYSTEM_ERROR;
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
  const MQLONG reason = NotWritten(run);
  if (run.MessageText.empty()) {
    const std::string text = FormatText("Error flushing data to file '%s'RC(%d)", run.Writer.FileName.c_str(), error);
    run.MessageText.Assign(WithCause(text, error));
  }
  return reason;
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
  if (run.Asked.Layout.NoHeader || run.NullOutput) return 0;
  std::string header = FormatText("* TARVO Version:%s Created:%s", kVersion, CreationTime(run));
  if (source != nullptr && source->Hobj != MQHO_UNUSABLE_HOBJ) {
    const char* const qmgr = run.QMgrs[run.Asked.Input.QMgr].QMgrName.c_str();
    if (*qmgr != '\0') header += FormatText("* Qmgr  = %.48s\n", qmgr);
    if (!source->QueueName.empty()) header += FormatText("* Queue = %.48s\n", source->QueueName.c_str());
  }
  header += '\n';
  return run.Writer.Out.Append(header) ? 0 : CanNotWrite(run);
}

MQLONG WriteFileMessage(Parameters& run) {
  WriterState& writer = run.Writer;
  MQLONG reason = 0;
  if (!run.NullOutput && !run.Asked.Display.Count) {
    reason = run.Asked.Layout.TimeOnQueue ? WriteTimeOnQueue(run) : WriteMessageBlock(run);
  }
  writer.LastLength = run.Message.Length;
  writer.LastWritten = true;
  if (reason == 0) CountWritten(run);
  return reason;
}

bool MayLoseBytes(const Parameters& run) { return LayoutOf(run) == DataLayout::Text; }

bool WritesMessageFile(const Parameters& run) {
  if (MayLoseBytes(run) || run.Asked.Layout.Raw || run.Asked.Layout.TimeOnQueue) return false;
  return !run.Asked.Layout.NoDescriptor || !run.Asked.Layout.NoHeader;
}

std::int64_t WorstCaseSize(const Parameters& run, MQLONG messageLength) {
  if (run.NullOutput || run.Asked.Display.Count) return 0;
  if (run.Asked.Layout.TimeOnQueue) return kLongestTimeOnQueue;
  constexpr std::int64_t kEmptyLine = 1;
  return static_cast<std::int64_t>(kLongestIndexLine + LongestDescriptor()) +
         LongestData(LayoutOf(run), messageLength, FormOf(run)) + kEmptyLine;
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
