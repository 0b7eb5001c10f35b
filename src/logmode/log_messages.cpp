#include "logmode/log_messages.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "common/console.h"
#include "common/wildcard.h"
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

// Whether a property block may begin with these bytes and what follows them.
bool MayBeginProperties(const MQBYTE* data, std::size_t bytes) {
  return bytes == 0 || std::memcmp(data, kPropertyMark, std::min(bytes, sizeof kPropertyMark)) == 0;
}

// Makes room for `bytes` more behind the data in the message buffer, generously, so that many pieces are not copied
// many times.
Result MakeRoom(const LogReader& log, CurrentMessage& message, std::size_t bytes) {
  const std::size_t wanted = static_cast<std::size_t>(message.Length) + bytes;
  if (wanted <= message.Buffer.size()) return {};
  if (wanted > static_cast<std::size_t>(std::numeric_limits<MQLONG>::max())) return log.Broken(MQRC_INCOMPLETE_MSG);
  return message.Buffer.Grow(std::max(wanted, 2 * message.Buffer.size()));
}

// Reads the message bytes of a put record. The buffer grows with what the dump holds, not with what it promises.
Result ReadMessageData(const LogReader& log, HexDump& dump, std::size_t bytes, CurrentMessage& message) {
  message.Length = 0;
  while (bytes != 0) {
    const std::size_t step = std::min(bytes, kReadStep);
    if (Result room = MakeRoom(log, message, step); room.failed()) return room;
    if (!dump.Read(message.Buffer.data() + message.Length, step)) return log.Broken(MQRC_INCOMPLETE_MSG);
    message.Length += static_cast<MQLONG>(step);
    bytes -= step;
  }
  return {};
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

// How the pieces of a message are read: a part record's data begins with a header, but a dump may lack them, and then
// message bytes may look like one.
enum class PieceHeaders { Stripped, Kept };

// The message bytes of a piece.
std::pair<const MQBYTE*, std::size_t> Content(const LogPiece& piece, PieceHeaders headers) {
  const bool hasHeader = headers == PieceHeaders::Stripped && piece.Data.size() >= kPieceHeader &&
                         std::memcmp(piece.Data.data(), "AQPX", 4) == 0;
  const std::size_t skipped = hasHeader ? kPieceHeader : 0;
  return {piece.Data.data() + skipped, piece.Data.size() - skipped};
}

struct ChainedPiece {
  std::string Lsn;
  LogPiece Piece;
};
// Pieces that a put record leads to, the newest first.
using Chain = std::vector<ChainedPiece>;

// The length of the property block at the front of a message that is put together from the chain; 0 when it has none.
// The block's header may itself lie in several pieces.
std::size_t PropertiesInFront(const CurrentMessage& message, std::span<const ChainedPiece> chain,
                              PieceHeaders headers) {
  MQBYTE front[kPropertyHeader];
  std::size_t bytes = std::min(static_cast<std::size_t>(message.Length), kPropertyHeader);
  if (bytes != 0) std::memcpy(front, message.Buffer.data(), bytes);
  for (auto link = chain.rbegin(); link != chain.rend() && bytes < kPropertyHeader; ++link) {
    const auto [data, length] = Content(link->Piece, headers);
    const std::size_t taken = std::min(length, kPropertyHeader - bytes);
    if (taken != 0) std::memcpy(front + bytes, data, taken);
    bytes += taken;
  }
  return static_cast<std::size_t>(PropertyBlockLength(front, bytes));
}

// Follows the pieces of the message that a put record ends until it is whole. Only one that may begin with a property
// block, which is not counted in its length, is looked at further: the block may show when more pieces are there.
class ChainLength {
 public:
  ChainLength(const CurrentMessage& message, PieceHeaders headers)
      : message_(message),
        headers_(headers),
        expected_(static_cast<std::size_t>(std::max(message.ExpectedLength, 0))),
        length_(static_cast<std::size_t>(message.Length)),
        mayHaveProperties_(MayBeginProperties(message.Buffer.data(), length_)) {}

  // Takes the chain's last piece, if it has any, into account. Answers whether no further one is wanted.
  bool Follow(std::span<const ChainedPiece> chain) {
    if (!chain.empty()) length_ += Content(chain.back().Piece, headers_).second;
    const std::size_t properties = mayHaveProperties_ ? PropertiesInFront(message_, chain, headers_) : 0;
    const bool wholeBehindProperties = properties != 0 && length_ == expected_ + properties;
    if (wholeBehindProperties || (length_ == expected_ && !whole_)) {
      whole_ = true;
      pieces_ = chain.size();
    }
    return wholeBehindProperties || (whole_ && !mayHaveProperties_);
  }
  // Whether the message is whole with some of the pieces, and with how many.
  bool whole() const { return whole_; }
  std::size_t pieces() const { return pieces_; }

 private:
  const CurrentMessage& message_;
  const PieceHeaders headers_;
  const std::size_t expected_;
  std::size_t length_;
  const bool mayHaveProperties_;
  bool whole_ = false;
  std::size_t pieces_ = 0;
};

// The same for a chain that has been taken already.
ChainLength LengthOf(const CurrentMessage& message, std::span<const ChainedPiece> chain, PieceHeaders headers) {
  ChainLength length(message, headers);
  for (std::size_t pieces = 0; pieces <= chain.size(); ++pieces) {
    if (length.Follow(chain.first(pieces))) break;
  }
  return length;
}

// Takes the pieces of the message that the put record in hand ends, following the chain back from `lsn`. The chain may
// lead on to pieces of other messages of the same unit of work, which are given back. A piece is taken once, so that a
// chain that leads in a circle ends.
Result TakeChain(LogReader& log, const CurrentMessage& message, std::string lsn, Chain& chain, PieceHeaders& headers) {
  LogPieces& pieces = log.Pieces;
  ChainLength length(message, PieceHeaders::Stripped);
  while (!length.Follow(chain) && !lsn.empty()) {
    std::optional<LogPiece> piece = pieces.Take(lsn);
    if (!piece) break;
    std::string previous = piece->PrevLsn;
    chain.push_back({std::exchange(lsn, std::move(previous)), std::move(*piece)});
  }
  headers = PieceHeaders::Stripped;
  bool whole = length.whole();
  std::size_t wanted = length.pieces();
  if (!whole) {
    const ChainLength kept = LengthOf(message, chain, PieceHeaders::Kept);
    whole = kept.whole();
    wanted = kept.pieces();
    if (whole) headers = PieceHeaders::Kept;
  }
  if (!whole && !chain.empty() && !lsn.empty()) {
    log.Screen.Print("Can not construct message %d, LSN '%s' missing.\n", static_cast<int>(log.PutRecords),
                     lsn.c_str());
    return MQRC_INCOMPLETE_MSG;
  }
  for (; whole && chain.size() > wanted; chain.pop_back()) {
    pieces.GiveBack(chain.back().Lsn, std::move(chain.back().Piece));
  }
  return {};
}

// Appends the message's other pieces to the one in its put record, the oldest first.
Result AppendPieces(LogReader& log, std::string lsn, CurrentMessage& message) {
  Chain chain;
  PieceHeaders headers{};
  if (Result taken = TakeChain(log, message, std::move(lsn), chain, headers); taken.failed()) return taken;
  for (auto link = chain.rbegin(); link != chain.rend(); ++link) {
    const auto [data, bytes] = Content(link->Piece, headers);
    if (Result room = MakeRoom(log, message, bytes); room.failed()) return room;
    if (bytes != 0) std::memcpy(message.Buffer.data() + message.Length, data, bytes);
    message.Length += static_cast<MQLONG>(bytes);
  }
  return {};
}

// One put record, from the line behind its type on. Sets `ready` when its message is in hand.
Result ParsePutMessage(LogReader& log, const WantedQueue& queue, CurrentMessage& message, bool& ready) {
  RecordHeader header;
  if (Result read = ReadRecordHeader(log, LogRecordKind::Put, header); read.failed()) return read;
  if (!header.HasData || !queue.Is(header.QueueName)) return {};
  ++log.WantedPuts;
  HexDump dump(log);
  if (Result read = ReadMessageHeader(log, dump, message); read.failed()) return read;
  if (header.DataLength < static_cast<std::int64_t>(dump.taken())) return log.Broken(MQRC_INCOMPLETE_MSG);
  const std::size_t bytes = static_cast<std::size_t>(header.DataLength) - dump.taken();
  if (Result read = ReadMessageData(log, dump, bytes, message); read.failed()) return read;
  if (!dump.EndsHere()) return log.Broken(MQRC_INCOMPLETE_MSG);
  if (Result appended = AppendPieces(log, std::move(header.PrevLsn), message); appended.failed()) return appended;
  message.Data = message.Buffer.data();
  message.Delivered = message.Length;
  ready = true;
  return {};
}

// One part record, from the line behind its type on, kept until its message comes.
Result ParsePutPart(LogReader& log, const WantedQueue& queue) {
  log.PartsSinceMessage = true;
  RecordHeader header;
  if (Result read = ReadRecordHeader(log, LogRecordKind::Part, header); read.failed()) return read;
  if (!header.HasData || !queue.Is(header.QueueName) || header.DataLength <= 0 || header.DataLocn == 0) return {};
  HexDump dump(log);
  LogPiece piece;
  piece.PrevLsn = std::move(header.PrevLsn);
  if (!ReadPieceData(dump, static_cast<std::size_t>(header.DataLength), piece)) return log.Broken(MQRC_INCOMPLETE_MSG);
  if (!dump.EndsHere()) return log.Broken(MQRC_INCOMPLETE_MSG);
  log.Pieces.Add(log.CurrentLsn, std::move(piece));
  return {};
}

// The record behind the line of its type. Sets `ready` when it ends a message.
Result ReadRecord(LogReader& log, LogRecordKind kind, const WantedQueue& queue, CurrentMessage& message, bool& ready) {
  ++log.Records;
  if (kind == LogRecordKind::Part) return ParsePutPart(log, queue);
  if (kind != LogRecordKind::Put) return {};
  ++log.PutRecords;
  return ParsePutMessage(log, queue, message, ready);
}

// Parts of several messages may stand between each other, so only the end of the log shows which of them no message has
// used.
Result EndOfLog(LogReader& log, Result result) {
  if (log.CutShort) return result;
  for (const std::uint32_t message : log.Pieces.UnusedAfter(log.PutRecords)) {
    log.Screen.Print("Extra message parts for message %d unused.\n", static_cast<int>(message));
  }
  if (log.Truncated) result = log.Broken(MQRC_INCOMPLETE_MSG);
  return EndOfLogLines(log, std::move(result));
}

}  // namespace

bool WantedQueue::Is(std::string_view queue) const {
  return CaseCounts ? WildcardMatch(queue, Name) : WildcardMatchNoCase(queue, Name);
}

Result EndOfLogLines(LogReader& log, Result result) {
  if (const int error = log.Lines.error(); error != 0) {
    result = {MQRC_FILE_SYSTEM_ERROR, WithCause(FormatText("Error reading from input file RC(%d)\n", error), error)};
  }
  if (const int code = log.Lines.FormatterExitCode(); code != 0) {
    log.Screen.Print("The log formatter ended with code %d: its output may not be complete.\n", code);
  }
  return result;
}

Result FindFirstLogRecord(LogReader& log, bool& found) {
  Result result = MQRC_HEADER_ERROR;  // no line at all
  found = false;
  std::string_view line;
  while (!found && log.ReadLine(line)) {
    found = IsLogRecordLine(line);
    result = found ? log.TakeRecordLsn(line) : Result(MQRC_FILE_SYSTEM_ERROR);
  }
  return result;
}

Result ReadLogMessage(LogReader& log, const WantedQueue& queue, CurrentMessage& message, bool& end) {
  end = false;
  const bool unused = std::exchange(log.PartsSinceMessage, false) && !log.Pieces.empty();
  if (unused) log.Pieces.EndRound(log.PutRecords);
  std::string_view line;
  while (log.ReadLine(line)) {
    bool ready = false;
    Result result;
    if (IsLogRecordLine(line)) result = log.TakeRecordLsn(line);
    if (line.starts_with("LogRecdType")) result = ReadRecord(log, RecordKind(line), queue, message, ready);
    if (result.failed() || ready) return result;
  }
  end = true;
  return EndOfLog(log, unused ? MQRC_FORMAT_ERROR : 0);
}

Result CheckLogMessage(const LogReader& log, CurrentMessage& message) {
  if (message.Length == message.ExpectedLength) return {};  // what looks like properties is the message's own
  const MQLONG properties = PropertyBlockLength(message.Data, static_cast<std::size_t>(message.Length));
  if (properties <= message.Length) {
    message.Data += properties;
    message.Length -= properties;
    message.Delivered -= properties;
  }
  if (message.Length == message.ExpectedLength) return {};
  log.Screen.Print("Can not construct message %d, message length does not match.\n", static_cast<int>(log.PutRecords));
  return MQRC_INCOMPLETE_MSG;
}
