#include "files/writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cinttypes>
#include <cstring>
#include <string>

#include "common/console.h"
#include "common/units.h"
#include "common/version.h"
#include "files/current_message.h"
#include "files/descriptor_fields.h"
#include "files/hex.h"
#include "mq/put_time.h"

namespace {

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

// A message that leaves its queue must be in the file byte for byte.
Result LosesBytes(const OutgoingMessage& message) {
  const MQMD& descriptor = message.Descriptor;
  std::string id(2 * sizeof descriptor.MsgId, '0');
  EncodeHex(id.data(), descriptor.MsgId, sizeof descriptor.MsgId);
  return {MQRC_FILE_SYSTEM_ERROR,
          FormatText("Message %d (MsgId %s) can not be written as text without loss", message.Position, id.c_str())};
}

constexpr std::size_t kLongestIndexLine = 24;
constexpr std::int64_t kLongestTimeOnQueue = 256;

}  // namespace

Result MessageWriter::CanNotWrite() const { return Failed(FormatText("Can not write to file '%s'", name_.c_str())); }

Result MessageWriter::CanNotWriteWithCode() const {
  return Failed(FormatText("Can not write to file '%s' RC(%d)", name_.c_str(), out_.error()));
}

Result MessageWriter::Failed(const std::string& text) const {
  return {WriteFailure(name_), WithCause(text, out_.error())};
}

Result MessageWriter::WriteIndexLine(int ordinal) {
  char* const room = out_.Reserve(kLongestIndexLine);
  if (room == nullptr) return CanNotWrite();
  constexpr std::string_view kStart = "* Index ";
  char* out = PutInteger(std::copy(kStart.begin(), kStart.end(), room), ordinal);
  *out++ = '\n';
  out_.Advance(static_cast<std::size_t>(out - room));
  return {};
}

Result MessageWriter::WriteDescriptor(const MQMD& descriptor) {
  if (layout_.NoDescriptor) return layout_.Raw || out_.Append("N\n") ? Result() : CanNotWrite();
  char* const room = out_.Reserve(LongestDescriptor());
  if (room == nullptr) return CanNotWrite();
  const FieldCondition left = layout_.ApplDataAsText ? FieldCondition::OnlyAsHex : FieldCondition::OnlyAsCharacters;
  char* out = room;
  for (const DescriptorField* field = DescriptorFields; field->Kind != FieldKind::End; ++field) {
    // The lines of a descriptor also end the message before it: some are written whatever its version says.
    const bool newer = field->MinVersion > 0 && field->MinVersion > descriptor.Version;
    if (field->Tag[0] == '\0' || newer || field->Condition == left) continue;
    out = PutField(out, *field, reinterpret_cast<const MQBYTE*>(&descriptor) + field->Offset);
  }
  out_.Advance(static_cast<std::size_t>(out - room));
  return {};
}

Result MessageWriter::WriteText(const OutgoingMessage& message) {
  bool exact = false;
  if (!WriteTextLines(out_, message.Data, FormOf(layout_), exact)) return CanNotWriteWithCode();
  return exact || !message.LeavesQueue ? Result() : LosesBytes(message);
}

Result MessageWriter::WriteData(const OutgoingMessage& message) {
  const DataBytes data = message.Data;
  const auto there = static_cast<MQLONG>(data.size());
  if (there < message.Length) {
    return {MQRC_UNEXPECTED_ERROR,
            FormatText("Only %d of %d bytes of message data are there to be written", there, message.Length)};
  }
  switch (const DataLayout layout = LayoutOf(layout_)) {
    case DataLayout::Hex:
      return WriteHexLines(out_, data, FormOf(layout_)) ? Result() : CanNotWrite();
    case DataLayout::Raw:
      return out_.Append({reinterpret_cast<const char*>(data.data()), data.size()}) ? Result() : CanNotWriteWithCode();
    case DataLayout::Text:
      return WriteText(message);
    default:
      return WriteRuns(out_, data, layout, FormOf(layout_)) ? Result() : CanNotWriteWithCode();
  }
}

Result MessageWriter::WriteBlock(const OutgoingMessage& message) {
  Result result = layout_.Index ? WriteIndexLine(message.Ordinal) : Result();
  if (!result.failed()) result = WriteDescriptor(message.Descriptor);
  if (!result.failed()) result = WriteData(message);
  if (!result.failed() && !out_.Append("\n")) result = CanNotWrite();
  return result;
}

// Two lines and an empty one: the message's position and identifier, and below it how long the message has been there.
Result MessageWriter::WriteTimeOnQueue(const OutgoingMessage& message) {
  const MQMD& descriptor = message.Descriptor;
  std::array<char, 128> line;
  constexpr std::string_view kLabel = ". MsgId:";
  char* end = PutInteger(line.data(), message.Position, 5);
  end = std::copy(kLabel.begin(), kLabel.end(), end);
  const auto indent = static_cast<std::size_t>(end - line.data());
  end = EncodeHex(end, descriptor.MsgId, sizeof descriptor.MsgId);
  *end++ = '\n';

  const std::int64_t putTime = PutTimeUtc(descriptor.PutDate, descriptor.PutTime);
  const std::string age = putTime > 0 ? FormatDuration(message.Now - putTime) : "Unknown";
  const std::string second = std::string(indent, ' ') + age + "\n\n";
  if (out_.Append({line.data(), static_cast<std::size_t>(end - line.data())}) && out_.Append(second)) return {};
  PrintOutput("Error writing to file '%s'\n", name_.c_str());
  return MQRC_FILE_SYSTEM_ERROR;
}

Result MessageWriter::WriteHeader(std::string_view created, const HeaderNames& names) {
  if (layout_.NoHeader) return {};
  constexpr std::size_t kNameLength = 48;
  std::string header = FormatText("* TARVO Version:%s Created:", kVersion);
  header += created;
  if (!names.QMgr.empty()) header.append("* Qmgr  = ").append(names.QMgr.substr(0, kNameLength)) += '\n';
  if (!names.Queue.empty()) header.append("* Queue = ").append(names.Queue.substr(0, kNameLength)) += '\n';
  header += '\n';
  return out_.Append(header) ? Result() : CanNotWrite();
}

Result MessageWriter::Write(const OutgoingMessage& message) {
  return layout_.TimeOnQueue ? WriteTimeOnQueue(message) : WriteBlock(message);
}

bool MayLoseBytes(const LayoutOptions& layout) { return LayoutOf(layout) == DataLayout::Text; }

bool WritesMessageFile(const LayoutOptions& layout) {
  if (MayLoseBytes(layout) || layout.Raw || layout.TimeOnQueue) return false;
  return !layout.NoDescriptor || !layout.NoHeader;
}

std::int64_t WorstCaseSize(const LayoutOptions& layout, MQLONG messageLength) {
  if (layout.TimeOnQueue) return kLongestTimeOnQueue;
  constexpr std::int64_t kEmptyLine = 1;
  return static_cast<std::int64_t>(kLongestIndexLine + LongestDescriptor()) +
         LongestData(LayoutOf(layout), messageLength, FormOf(layout)) + kEmptyLine;
}

MQLONG WriteFailure(std::string_view name) { return name == "stdout" ? MQRC_FILE_SYSTEM_ERROR : MQRC_RESOURCE_PROBLEM; }
