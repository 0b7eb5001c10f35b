#include "logmode/log_messages.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "cmdline/parameters.h"
#include "logmode/log_reader.h"
#include "logmode/log_records.h"

namespace {

constexpr std::size_t kReadStep = 1024 * 1024;  // bytes of a record that are believed at a time
constexpr std::size_t kPieceHeader = 16;        // of a part record's data that begins with AQPX

// Properties may stand in front of a message's data, in a block that tells its own length and is not counted in the
// length of the message.
constexpr std::size_t kPropertyHeader = 12;
constexpr MQBYTE kPropertyMark[] = {'Z', 'R', 'F', 'P', 1, 0, 0, 1};

// The length of the property block that begins with these bytes; 0 when none does.
MQLONG PropertyBlockLength(const MQBYTE* data, std::size_t bytes) {
  if (bytes < kPropertyHeader || std::memcmp(data, kPropertyMark, sizeof kPropertyMark) != 0) return 0;
  MQLONG length = 0;
  std::memcpy(&length, data + sizeof kPropertyMark, sizeof length);
  return std::max(length, 0);
}

// Whether these are the first bytes of what may become the header of a property block.
bool MayBeginProperties(const MQBYTE* data, std::size_t bytes) {
  if (bytes >= kPropertyHeader) return false;
  return bytes == 0 || std::memcmp(data, kPropertyMark, std::min(bytes, sizeof kPropertyMark)) == 0;
}

// Makes room for `bytes` more behind the data in the message buffer, generously, so that many pieces are not copied
// many times.
MQLONG MakeRoom(Parameters& run, std::size_t bytes) {
  const CurrentMessage& message = run.Message;
  const std::size_t wanted = static_cast<std::size_t>(message.Length) + bytes;
  if (wanted <= message.Buffer.size()) return 0;
  if (wanted > static_cast<std::size_t>(std::numeric_limits<MQLONG>::max()))
    return BrokenDump(run, MQRC_INCOMPLETE_MSG);
  return GrowMessageBuffer(run, std::max(wanted, 2 * message.Buffer.size()));
}

// Reads the message bytes of a put record. The buffer grows with what the dump holds, not with what it promises.
MQLONG ReadMessageData(Parameters& run, HexDump& dump, std::size_t bytes) {
  CurrentMessage& message = run.Message;
  message.Length = 0;
  while (bytes != 0) {
    const std::size_t step = std::min(bytes, kReadStep);
    if (const MQLONG reason = MakeRoom(run, step); reason != 0) return reason;
    if (!dump.Read(message.Buffer.data() + message.Length, step)) return BrokenDump(run, MQRC_INCOMPLETE_MSG);
    message.Length += static_cast<MQLONG>(step);
    bytes -= step;
  }
  return 0;
}

bool ReadPieceData(HexDump& dump, std::size_t bytes, LogPiece& piece) {
  while (bytes != 0) {
    const std::size_t have = piece.Data.size();
    const std::size_t step = std::min(bytes, kReadStep);
    piece.Data.resize(have + step);
    if (!dump.Read(piece.Data.data() + have, step)) return false;
    bytes -= step;
  }
  return true;
}

// The message bytes of a piece.
std::pair<const MQBYTE*, std::size_t> Content(const LogPiece& piece) {
  const bool hasHeader = piece.Data.size() >= kPieceHeader && std::memcmp(piece.Data.data(), "AQPX", 4) == 0;
  const std::size_t skipped = hasHeader ? kPieceHeader : 0;
  return {piece.Data.data() + skipped, piece.Data.size() - skipped};
}

// The pieces of one message that its put record refers to, the newest first.
using Chain = std::vector<LogPiece>;

// How long the message is with its property block, whose header may itself lie in several pieces.
std::size_t WholeLength(const CurrentMessage& message, const Chain& chain) {
  MQBYTE front[kPropertyHeader];
  std::size_t bytes = std::min(static_cast<std::size_t>(message.Length), kPropertyHeader);
  if (bytes != 0) std::memcpy(front, message.Buffer.data(), bytes);
  for (auto piece = chain.rbegin(); piece != chain.rend() && bytes < kPropertyHeader; ++piece) {
    const auto [data, length] = Content(*piece);
    const std::size_t taken = std::min(length, kPropertyHeader - bytes);
    if (taken != 0) std::memcpy(front + bytes, data, taken);
    bytes += taken;
  }
  return static_cast<std::size_t>(std::max(message.ExpectedLength, 0)) +
         static_cast<std::size_t>(PropertyBlockLength(front, bytes));
}

// Follows the chain from the put record back until the message is whole and appends its pieces, the oldest first. The
// put record of a transaction refers to a record before it even when its own data is whole, so a first record that is
// not held is none of the message's pieces. While the message's first bytes are not known, neither is its length with
// the properties: the chain is then followed as far as pieces are held. A piece is taken once: a chain that leads in a
// circle ends as broken.
MQLONG AppendPieces(Parameters& run, std::string lsn) {
  LogReader& log = *run.Log.Reader;
  CurrentMessage& message = run.Message;
  Chain chain;
  auto length = static_cast<std::size_t>(message.Length);
  const bool lengthUnknown = MayBeginProperties(message.Buffer.data(), length);
  while (!lsn.empty() && (lengthUnknown || length != WholeLength(message, chain))) {
    std::optional<LogPiece> piece = log.Pieces.Take(lsn);
    if (!piece && (chain.empty() || length == WholeLength(message, chain))) break;
    if (!piece) {
      PrintDiagnostic(run, "Can not construct message %d, LSN '%s' missing.\n", static_cast<int>(log.PutRecords),
                      lsn.c_str());
      return MQRC_INCOMPLETE_MSG;
    }
    length += Content(*piece).second;
    lsn = piece->PrevLsn;
    chain.push_back(std::move(*piece));
  }
  for (auto piece = chain.rbegin(); piece != chain.rend(); ++piece) {
    const auto [data, bytes] = Content(*piece);
    if (const MQLONG reason = MakeRoom(run, bytes); reason != 0) return reason;
    if (bytes != 0) std::memcpy(message.Buffer.data() + message.Length, data, bytes);
    message.Length += static_cast<MQLONG>(bytes);
  }
  return 0;
}

// One put record, from the line behind its type on. Sets `ready` when its message is in hand.
MQLONG ParsePutMessage(Parameters& run, bool& ready) {
  LogReader& log = *run.Log.Reader;
  RecordHeader header;
  if (const MQLONG reason = ReadRecordHeader(run, LogRecordKind::Put, header); reason != 0) return reason;
  if (!header.HasData || !IsWantedQueue(log, header)) return 0;
  ++log.WantedPuts;
  HexDump dump(run);
  if (const MQLONG reason = ReadMessageHeader(run, dump); reason != 0) return reason;
  if (header.DataLength < static_cast<std::int64_t>(dump.taken())) return BrokenDump(run, MQRC_INCOMPLETE_MSG);
  const std::size_t bytes = static_cast<std::size_t>(header.DataLength) - dump.taken();
  if (const MQLONG reason = ReadMessageData(run, dump, bytes); reason != 0) return reason;
  if (!dump.EndsHere()) return BrokenDump(run, MQRC_INCOMPLETE_MSG);
  if (const MQLONG reason = AppendPieces(run, std::move(header.PrevLsn)); reason != 0) return reason;
  CurrentMessage& message = run.Message;
  message.Data = message.Buffer.data();
  message.Delivered = message.Length;
  ready = true;
  return 0;
}

// One part record, from the line behind its type on, kept until its message comes.
MQLONG ParsePutPart(Parameters& run) {
  LogReader& log = *run.Log.Reader;
  log.PartsSinceMessage = true;
  RecordHeader header;
  if (const MQLONG reason = ReadRecordHeader(run, LogRecordKind::Part, header); reason != 0) return reason;
  if (!header.HasData || !IsWantedQueue(log, header) || header.DataLength <= 0 || header.DataLocn == 0) return 0;
  HexDump dump(run);
  LogPiece piece;
  piece.PrevLsn = std::move(header.PrevLsn);
  if (!ReadPieceData(dump, static_cast<std::size_t>(header.DataLength), piece))
    return BrokenDump(run, MQRC_INCOMPLETE_MSG);
  if (!dump.EndsHere()) return BrokenDump(run, MQRC_INCOMPLETE_MSG);
  log.Pieces.Add(log.CurrentLsn, std::move(piece));
  return 0;
}

// Parts of several messages may stand between each other, so only the end of the log shows which of them no message has
// used.
MQLONG EndOfLog(Parameters& run, MQLONG result) {
  LogReader& log = *run.Log.Reader;
  run.Finished = true;
  for (const std::uint32_t message : log.Pieces.UnusedAfter(log.PutRecords)) {
    PrintDiagnostic(run, "Extra message parts for message %d unused.\n", static_cast<int>(message));
  }
  if (log.Lines.error() != 0) {
    const int error = log.Lines.error();
    SetMessageText(run, "%s", WithCause(FormatText("Error reading from input file RC(%d)\n", error), error).c_str());
    result = MQRC_FILE_SYSTEM_ERROR;
  } else if (log.Truncated) {
    result = BrokenDump(run, MQRC_INCOMPLETE_MSG);
  }
  if (const int code = log.Lines.FormatterExitCode(); code != 0) {
    PrintDiagnostic(run, "The log formatter ended with code %d: its output may not be complete.\n", code);
  }
  EndLogReading(run);
  return result;
}

MQLONG ReadLogMessage(Parameters& run) {
  LogReader& log = *run.Log.Reader;
  const bool unused = std::exchange(log.PartsSinceMessage, false) && !log.Pieces.empty();
  if (unused) log.Pieces.EndRound(log.PutRecords);
  std::string_view line;
  while (ReadLogLine(run, line)) {
    if (IsLogRecordLine(line)) {
      if (const MQLONG reason = TakeRecordLsn(run, line); reason != 0) return reason;
    }
    if (!line.starts_with("LogRecdType")) continue;
    ++log.Records;
    const LogRecordKind kind = RecordKind(line);
    bool ready = false;
    MQLONG reason = 0;
    if (kind == LogRecordKind::Put) {
      ++log.PutRecords;
      reason = ParsePutMessage(run, ready);
    } else if (kind == LogRecordKind::Part) {
      reason = ParsePutPart(run);
    }
    if (reason != 0 || ready) return reason;
  }
  return EndOfLog(run, unused ? MQRC_FORMAT_ERROR : 0);
}

MQLONG PrepareLog(Parameters& run, bool& empty) {
  empty = false;
  bool anyLine = false;
  MQLONG result = 0;
  std::string_view line;
  while (ReadLogLine(run, line)) {
    anyLine = true;
    if (!IsLogRecordLine(line)) continue;
    result = TakeRecordLsn(run, line);
    break;
  }
  if (!anyLine) result = MQRC_HEADER_ERROR;
  if (result != 0) {
    PrintDiagnostic(run, "No MQ log records found.\n");
    if (run.Log.ReadingDumpFile) {
      PrintDiagnostic(run, "Are you sure file '%s' is the output from DMPMQLOG ?\n", run.Log.LogFile.c_str());
    }
  }
  return result;
}

MQLONG ReadFromLog(Parameters& run, QueueElement*) {
  MQLONG result = 0;
  try {
    result = ReadLogMessage(run);
  } catch (const std::bad_alloc&) {
    result = MQRCCF_NO_STORAGE;
  }
  if (result != 0) EndLogReading(run);
  return result;
}

// Takes the properties off a message and makes sure that all of it was found.
MQLONG CheckLogMessage(Parameters& run) {
  CurrentMessage& message = run.Message;
  const MQLONG properties = PropertyBlockLength(message.Data, static_cast<std::size_t>(message.Length));
  if (properties <= message.Length) {
    message.Data += properties;
    message.Length -= properties;
    message.Delivered -= properties;
  }
  if (message.Length == message.ExpectedLength) return 0;
  PrintDiagnostic(run, "Can not construct message %d, message length does not match.\n",
                  static_cast<int>(run.Log.Reader->PutRecords));
  EndLogReading(run);
  return MQRC_INCOMPLETE_MSG;
}

}  // namespace

const MessageSource kLogSource = {PrepareLog, ReadFromLog, CheckLogMessage};
