#include "files/plain_file.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstring>

#include "cmdline/parameters.h"
#include "common/console.h"
#include "files/naming.h"
#include "files/progress.h"
#include "platform/interrupt.h"

namespace {

constexpr std::int64_t kLargestWholeFile = 999999999;
constexpr std::size_t kPropertiesUnit = 1024;
// The MQRFH2 header up to the properties: its fixed part and the length of the properties.
constexpr std::size_t kPropertiesHeader = sizeof(MQRFH2) + sizeof(MQLONG);
static_assert(kPropertiesHeader == 36 + 4);

// Part of the input, as offsets in the file.
struct Span {
  std::int64_t From = 0;
  std::int64_t To = 0;
  std::size_t Length() const { return static_cast<std::size_t>(To - From); }
};

// A message as it lies in the file: with its delimiters and without.
struct MessageCut {
  Span Outer, Inner;
  bool HasProperties = false;
  Span OuterProperties, InnerProperties;
};

std::int64_t LengthOf(const DelimiterRule& rule) { return static_cast<std::int64_t>(rule.Bytes.size()); }

bool Counting(const Parameters& run) { return run.Plain.Pass == CountingPass::Running; }

// Makes the bytes the message in hand, with the default descriptor.
void HandOver(Parameters& run, const char (&format)[9], char* data, std::size_t length) {
  CurrentMessage& message = run.Message;
  message.Descriptor = MQMD{};
  std::memcpy(message.Descriptor.Format, format, sizeof message.Descriptor.Format);
  message.Data = reinterpret_cast<MQBYTE*>(data);
  message.Length = static_cast<MQLONG>(length);
  message.Delivered = message.Length;
}

// Where the next message starts; sets Finished when none does. Text in front of it is skipped without a word.
MQLONG FindStart(Parameters& run, MessageCut& cut) {
  PlainFileState& plain = run.Plain;
  PlainInput& input = plain.Input;
  const DelimiterRule& rule = plain.Delimiters.StartMessage;
  if (rule.Bytes.empty()) {
    while (input.Position == input.End() && !input.Ended) {
      if (const MQLONG reason = FillPlainInput(run, input.Position); reason != 0) return reason;
    }
    if (input.Position == input.End()) run.Finished = true;
    cut.Outer.From = cut.Inner.From = input.Position;
    return 0;
  }
  DelimiterScan scan(rule, ScanMode::Start, input.Position, plain.Brackets);
  // Properties stand before the message.
  const std::int64_t keep = plain.Delimiters.StartProperty.Bytes.empty() ? -1 : input.Position;
  ScanResult result;
  if (const MQLONG reason = RunScan(run, scan, keep, result); reason != 0) return reason;
  if (result != ScanResult::Found) return DropTail(run);
  cut.Outer.From = scan.Found;
  cut.Inner.From = scan.Found + LengthOf(rule);
  return 0;
}

// The block of properties between the last message and the start of this one, if there is one.
MQLONG FindProperties(Parameters& run, MessageCut& cut) {
  PlainFileState& plain = run.Plain;
  const DelimiterRule& startRule = plain.Delimiters.StartProperty;
  const DelimiterRule& endRule = plain.Delimiters.EndProperty;
  if (startRule.Bytes.empty()) return 0;
  const std::int64_t keep = plain.Input.Position;
  ScanResult result;
  DelimiterScan start(startRule, ScanMode::Start, keep, plain.Brackets);
  start.Limit = cut.Outer.From;
  if (const MQLONG reason = RunScan(run, start, keep, result); reason != 0) return reason;
  if (result != ScanResult::Found) return 0;

  // The brackets of the start delimiter may be closed by the end delimiter.
  DelimiterScan end(endRule, ScanMode::End, start.Found, plain.Brackets);
  end.CandidatesFrom = start.Found + LengthOf(startRule);
  end.Limit = cut.Outer.From;
  if (const MQLONG reason = RunScan(run, end, keep, result); reason != 0) return reason;
  if (result != ScanResult::Found) {
    run.MessageText.Format("Missing end property delimiter '%.*s' .\n", static_cast<int>(endRule.Bytes.size()),
                           endRule.Bytes.c_str());
    return MQRC_FILE_SYSTEM_ERROR;
  }
  cut.HasProperties = true;
  cut.OuterProperties = {start.Found, end.Found + LengthOf(endRule)};
  cut.InnerProperties = {start.Found + LengthOf(startRule), end.Found};
  return 0;
}

// Where the message ends; sets Finished when it has no end and is dropped.
MQLONG FindEnd(Parameters& run, MessageCut& cut) {
  PlainFileState& plain = run.Plain;
  PlainInput& input = plain.Input;
  const DelimiterRule& rule = plain.Delimiters.EndMessage;
  const std::int64_t from = cut.HasProperties ? cut.OuterProperties.From : cut.Outer.From;
  DelimiterScan scan(rule, ScanMode::End, cut.Inner.From, plain.Brackets);
  ScanResult result;
  if (const MQLONG reason = RunScan(run, scan, from, result); reason != 0) return reason;
  if (result == ScanResult::Found) {
    cut.Inner.To = scan.Found;
    cut.Outer.To = scan.Found + LengthOf(rule);
  } else if (result == ScanResult::NeedsData && rule.Bytes == "\n" && scan.Balanced() && cut.Inner.From < input.End()) {
    cut.Inner.To = cut.Outer.To = input.End();  // a last line needs no line end
  } else {
    return DropTail(run);
  }
  input.TailAt = -1;
  input.Position = cut.Outer.To;
  return 0;
}

// Copies property text without the white space around tags; quoted text and what is inside a tag stay as they are.
// Returns the end of the copy.
char* CompactProperties(std::string_view text, char* out) {
  char* const first = out;
  bool skipping = true;
  while (!text.empty()) {
    const char c = text[0];
    std::size_t taken = 1;
    if (skipping && IsBlank(c)) {
      text.remove_prefix(1);
      continue;
    }
    skipping = false;
    if (c == '<') {
      while (out != first && IsBlank(out[-1])) --out;
      taken = text.find('>');
      skipping = taken != std::string_view::npos;
      taken = skipping ? taken + 1 : text.size();
    } else if (c == '"' || c == '\'') {
      taken = text.find(c, 1);
      taken = taken == std::string_view::npos ? text.size() : taken + 1;
    }
    std::memcpy(out, text.data(), taken);
    out += taken;
    text.remove_prefix(taken);
  }
  return out;
}

std::size_t RoundUp(std::size_t value, std::size_t unit) { return (value + unit - 1) / unit * unit; }

// The message with its properties in an MQRFH2 header before the data.
MQLONG BuildWithProperties(Parameters& run, Span properties, Span data) {
  PlainInput& input = run.Plain.Input;
  TrackedBlock& block = run.Plain.Properties;
  const std::size_t size = kPropertiesHeader + RoundUp(properties.Length(), sizeof(MQLONG)) + data.Length();
  if (size > INT32_MAX || !block.Grow(RoundUp(size, kPropertiesUnit), 0)) {
    run.Screen.Print("Can not allocate buffer for message and properties (%" PRId64 ")\n",
                     static_cast<std::int64_t>(size));
    return MQRC_STORAGE_NOT_AVAILABLE;
  }
  const std::string_view text(input.At(properties.From), properties.Length());
  char* const first = block.data() + kPropertiesHeader;
  char* last;
  if (run.Asked.Plain.KeepPropWhitespace) {
    std::memcpy(first, text.data(), text.size());
    last = first + text.size();
  } else {
    last = CompactProperties(text, first);
  }
  const std::size_t length = RoundUp(static_cast<std::size_t>(last - first), sizeof(MQLONG));
  std::memset(last, ' ', static_cast<std::size_t>(first + length - last));

  MQRFH2 header;
  header.StrucLength = static_cast<MQLONG>(kPropertiesHeader + length);
  std::memcpy(header.Format, MQFMT_STRING, sizeof header.Format);
  std::memcpy(block.data(), &header, sizeof header);
  const auto nameValueLength = static_cast<MQLONG>(length);
  std::memcpy(block.data() + sizeof header, &nameValueLength, sizeof nameValueLength);
  std::memcpy(first + length, input.At(data.From), data.Length());
  HandOver(run, MQFMT_RF_HEADER_2, block.data(), kPropertiesHeader + length + data.Length());
  return 0;
}

}  // namespace

MQLONG ReadDelimitedMessage(Parameters& run) {
  PlainInput& input = run.Plain.Input;
  if (!run.In->File().is_open()) {
    run.Finished = true;
    return 0;
  }
  MessageCut cut;
  for (const auto step : {FindStart, FindProperties, FindEnd}) {
    const MQLONG reason = step(run, cut);
    run.In->Reached(input.Position);
    if (reason != 0 || run.Finished) return reason;
  }
  if (Counting(run)) {
    if (cut.HasProperties) ++run.Plain.MessagesWithProperties;
    return 0;
  }
  const Span data = run.Asked.Plain.IncludeMsgDelims ? cut.Outer : cut.Inner;
  if (cut.HasProperties) {
    const bool include = run.Asked.Plain.IncludePropDelims;
    return BuildWithProperties(run, include ? cut.OuterProperties : cut.InnerProperties, data);
  }
  if (data.Length() > INT32_MAX) return NoMessageStorage(run, static_cast<std::int64_t>(data.Length()));
  HandOver(run, MQFMT_STRING, input.At(data.From), data.Length());
  return 0;
}

MQLONG ReadWholeFile(Parameters& run) {
  InputFile& in = run.In->File();
  if (!in.is_open()) {
    run.Finished = true;
    return 0;
  }
  errno = 0;
  const std::int64_t size = in.Size();
  if (size < 0) {
    run.MessageText.Format("Failed to find the length of the input file RC(%d)\n", errno != 0 ? errno : ESPIPE);
    return MQRC_FILE_SYSTEM_ERROR;
  }
  MessageBuffer& buffer = run.Message.Buffer;
  // One byte more than the size tells a file that has grown since.
  std::size_t wanted = static_cast<std::size_t>(size) + 1;
  std::size_t held = 0;
  for (;;) {
    if (size > kLargestWholeFile || held > kLargestWholeFile) {
      run.MessageText.Format("File is too large at %" PRId64 " bytes\n",
                             std::max(size, static_cast<std::int64_t>(held)));
      return MQRC_FILE_SYSTEM_ERROR;
    }
    if (wanted > buffer.size() && buffer.Grow(wanted).failed()) {
      run.MessageText.Format("Failed to allocate storage of %" PRId64 " bytes.\n", static_cast<std::int64_t>(wanted));
      return MQRC_STORAGE_NOT_AVAILABLE;
    }
    const std::size_t read = in.Read(buffer.data() + held, buffer.size() - held);
    if (read == 0) break;
    held += read;
    if (held == buffer.size()) wanted = 2 * held;
  }
  if (in.error() != 0) return ReadError(run);
  run.In->Reached(static_cast<std::int64_t>(held));
  run.In->Close();
  HandOver(run, MQFMT_STRING, reinterpret_cast<char*>(buffer.data()), held);
  return 0;
}

MQLONG PreparePlainFile(Parameters& run) {
  ResetPlainInput(run.Plain.Input);
  if (!run.Asked.Output.OwnContext()) {
    run.MessageText.Format("A non-TARVO file should be loaded with either DEFAULT or NO context.\n");
    return MQRCCF_PARM_VALUE_ERROR;
  }
  return run.Keep(MakePlainDelimiters(run.Asked.Plain, run.Plain.Delimiters));
}

MQLONG ReadPlainMessage(Parameters& run) {
  for (;;) {
    const MQLONG reason = run.Asked.Plain.WholeFile ? ReadWholeFile(run) : ReadDelimitedMessage(run);
    if (reason != 0 || !run.Finished || !run.In->IsSet()) return reason;
    if (run.In->File().is_open()) run.In->Close();
    ResetPlainInput(run.Plain.Input);
    if (const Result opened = run.In->OpenNext(); opened.failed()) {
      return opened.text().empty() ? 0 : run.Keep(opened);  // without a text the set has come to its end
    }
    run.Finished = false;
  }
}

MQLONG CountPlainFile(Parameters& run) {
  MQLONG reason = ReadPlainMessage(run);
  for (; reason == 0 && !run.Finished && InterruptSignal() == 0; reason = ReadPlainMessage(run)) {
    ++run.MsgsRead;
    ++run.Plain.MessagesFound;
    ShowProgress(run, run.Screen.StdinIsTerminal);
  }
  if (run.In->File().is_open()) {
    run.In->File().Rewind();
    run.In->Reached(0);
  }
  ResetPlainInput(run.Plain.Input);
  run.Finished = false;
  return reason;
}

void ReleasePlainBuffers(Parameters& run) {
  for (TrackedBlock* block : {&run.Plain.Input.Block, &run.Plain.Properties}) {
    if (block->data() == nullptr) continue;
    if (run.Asked.Display.TraceMemory) {
      run.Screen.Print("Freeing %p\n", static_cast<void*>(block->data()));
    }
    block->Release();
  }
  ResetPlainInput(run.Plain.Input);
}
