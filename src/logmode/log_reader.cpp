#include "logmode/log_reader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cinttypes>
#include <utility>

#include "platform/interrupt.h"

namespace {

constexpr std::size_t kLsnColumn = 17;
constexpr std::size_t kLongestLsn = 49;
constexpr std::string_view kNoLsn = "0:0:0:0";

// A line of the hex dump: an offset of five or six digits, a colon, a blank, and 16 bytes of two digits and a blank.
constexpr std::size_t kShortColon = 5;
constexpr std::size_t kLongColon = 6;
constexpr std::size_t kBytesBehindColon = 3;
constexpr std::size_t kBytesPerLine = 16;
constexpr std::size_t kColumnsPerByte = 3;

// Hex digits by their character.
constexpr unsigned kNoDigit = 0x100;
constexpr std::array<std::uint16_t, 256> MakeDigits() {
  std::array<std::uint16_t, 256> digits{};
  digits.fill(kNoDigit);
  for (unsigned i = 0; i < 10; ++i) digits['0' + i] = static_cast<std::uint16_t>(i);
  for (unsigned i = 0; i < 6; ++i) digits['A' + i] = digits['a' + i] = static_cast<std::uint16_t>(10 + i);
  return digits;
}
constexpr std::array<std::uint16_t, 256> kDigits = MakeDigits();

// The formatter tells which log it reads and that it has ended; everything else it says is for the user.
bool IsRoutineMessage(std::string_view line) {
  return line.starts_with("AMQ7701") || line.starts_with("AMQ7702") || line.starts_with("AMQ7714");
}

bool HasColon(std::string_view line, std::size_t column) { return line.size() > column && line[column] == ':'; }

// Whether a line behind the data goes on with it. Six characters and a colon may also be a text.
bool ContinuesDump(std::string_view line) {
  if (HasColon(line, kShortColon)) return true;
  const auto isHex = [](char c) { return kDigits[static_cast<unsigned char>(c)] != kNoDigit; };
  return HasColon(line, kLongColon) && std::all_of(line.begin(), line.begin() + kLongColon, isHex);
}

}  // namespace

bool LogReader::ReadLine(std::string_view& line) {
  while (Lines.Next(line)) {
    // The line may be a part of one, and the formatter may have got the same signal.
    if (InterruptSignal() != 0) break;
    ++LineNumber;
    if (--untilProgress_ <= 0) ShowProgress();
    if (!line.starts_with("AMQ")) return true;
    if (!IsRoutineMessage(line)) Screen.PrintText(std::string(line) + '\n');
  }
  CutShort = InterruptSignal() != 0 && (Lines.error() == 0 || Lines.error() == EINTR);
  return false;
}

void LogReader::UnreadLine() {
  Lines.Unread();
  --LineNumber;
}

Result LogReader::ParseLsn(std::string_view text, std::string& lsn) const {
  const auto line = static_cast<std::int64_t>(LineNumber);
  lsn.clear();
  if (!text.starts_with('<')) {
    Screen.Print("Line %" PRId64 ", LSN format unrecognised.\n", line);
    return MQRC_INCOMPLETE_MSG;
  }
  const std::size_t end = text.find('>');
  if (end == std::string_view::npos) return {};
  const std::string_view found = text.substr(1, end - 1);
  if (found.empty()) {
    Screen.Print("Line %" PRId64 ", LSN missing.\n", line);
    return MQRC_INCOMPLETE_MSG;
  }
  if (found.size() > kLongestLsn) {
    Screen.Print("Line %" PRId64 ", LSN too large.\n", line);
    return MQRC_INCOMPLETE_MSG;
  }
  if (found != kNoLsn) lsn = found;
  return {};
}

Result LogReader::TakeRecordLsn(std::string_view line) {
  const std::string_view text = line.size() > kLsnColumn ? line.substr(kLsnColumn) : std::string_view();
  return ParseLsn(text, CurrentLsn);
}

Result LogReader::Broken(MQLONG reason) const {
  return {reason, FormatText("The log record is broken or cut off at line %u of the dump", LineNumber)};
}

void LogReader::ShowProgress() {
  untilProgress_ = kLinesPerProgress;
  if (!Screen.StderrIsTerminal && !ended_) return;
  Screen.ShowInPlace(FormatText("DMPMQLOG Records : Line:%u Records:%u Messages (%u, %u, %" PRId64 ")", LineNumber,
                                Records, PutRecords, WantedPuts, written_()));
}

void LogReader::End() {
  if (std::exchange(ended_, true)) return;
  const bool shown = Screen.StandsInPlace();
  ShowProgress();
  Screen.LeaveInPlace();
  Screen.PrintText(shown ? "\n\n" : "\n");
}

bool HexDump::NextLine() {
  std::string_view line;
  if (!log_.ReadLine(line)) return false;
  const std::size_t colon = HasColon(line, kShortColon) ? kShortColon : kLongColon;
  if (!HasColon(line, colon)) return false;
  bytes_ = line.size() > colon + kBytesBehindColon ? line.substr(colon + kBytesBehindColon) : std::string_view();
  used_ = 0;
  started_ = true;
  return true;
}

bool HexDump::Read(void* to, std::size_t bytes) {
  auto* out = static_cast<MQBYTE*>(to);
  taken_ += bytes;
  while (bytes != 0) {
    if ((!started_ || used_ == kBytesPerLine) && !NextLine()) return false;
    const std::size_t here = std::min(bytes, kBytesPerLine - used_);
    const std::size_t column = used_ * kColumnsPerByte;
    if (bytes_.size() < column + here * kColumnsPerByte - 1) return false;
    const char* digits = bytes_.data() + column;
    unsigned seen = 0;
    for (std::size_t i = 0; i < here; ++i, digits += kColumnsPerByte) {
      const unsigned high = kDigits[static_cast<unsigned char>(digits[0])];
      const unsigned low = kDigits[static_cast<unsigned char>(digits[1])];
      seen |= high | low;
      out[i] = static_cast<MQBYTE>(high << 4 | low);
    }
    if ((seen & kNoDigit) != 0) return false;
    out += here;
    used_ += here;
    bytes -= here;
  }
  return true;
}

bool HexDump::EndsHere() {
  if (used_ < kBytesPerLine) {
    const std::size_t column = used_ * kColumnsPerByte;
    return bytes_.size() <= column || bytes_[column] == ' ';
  }
  std::string_view line;
  if (!log_.ReadLine(line)) {
    log_.Truncated = true;
    return true;
  }
  if (ContinuesDump(line)) return false;
  log_.UnreadLine();
  return true;
}
