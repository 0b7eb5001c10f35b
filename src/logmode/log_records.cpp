#include "logmode/log_records.h"

#include <charconv>
#include <cstddef>
#include <cstring>

#include "common/text.h"

namespace {

constexpr std::size_t kNameWidth = 48;

// Where a Data.Locn line holds its colons; each value begins two columns behind.
constexpr std::size_t kLocnColon = 16;
constexpr std::size_t kPutLengthColon = 55;
constexpr std::size_t kPartLengthColon = 58;

// The data of a put record up to the message's own bytes.
constexpr MQLONG kHeaderVersion = 4;
constexpr std::size_t kVersionPlace = 4;
constexpr std::size_t kTotalLengthPlace = 40;
constexpr std::size_t kStrucIdPlace = 160;
constexpr std::size_t kMqmdVersionPlace = 164;
constexpr std::size_t kMqmdEnd = 428;
constexpr std::size_t kMessagePlace = 448;

// Stretches of the data that go into the descriptor as they are.
struct Stretch {
  std::size_t Place;
  std::size_t Offset;  // in MQMD
  std::size_t Length;
};
constexpr Stretch kStretches[] = {
    {32, offsetof(MQMD, BackoutCount), 4},
    {52, offsetof(MQMD, MsgId), 24},
    {76, offsetof(MQMD, CorrelId), 24},
    {100, offsetof(MQMD, GroupId), 24 + 4 + 4},  // with MsgSeqNumber and Offset
    {132, offsetof(MQMD, OriginalLength), 4},
    {136, offsetof(MQMD, MsgFlags), 4},
    {156, offsetof(MQMD, Expiry), 4},
    {164, offsetof(MQMD, Version), 4},
    {168, offsetof(MQMD, Report), 4 + 4},                                          // and MsgType
    {176, offsetof(MQMD, Feedback), 4 + 4 + 4 + 8 + 4 + 4},                        // to Persistence
    {204, offsetof(MQMD, ReplyToQ), 48 + 48 + 12 + 32 + 32 + 4 + 28 + 8 + 8 + 4},  // to ApplOriginData
};
static_assert(204 + 48 + 48 + 12 + 32 + 32 + 4 + 28 + 8 + 8 + 4 == kMqmdEnd);

// The digits from a column on; 0 when there is none, or more than any length has.
std::int64_t NumberAt(std::string_view line, std::size_t column) {
  column = line.find_first_not_of(' ', column);
  std::int64_t value = 0;
  if (column != std::string_view::npos) std::from_chars(line.data() + column, line.data() + line.size(), value);
  return value;
}

// False when a colon is not where it must be.
bool ReadLengths(std::string_view line, LogRecordKind kind, RecordHeader& header) {
  const std::size_t colon = kind == LogRecordKind::Put ? kPutLengthColon : kPartLengthColon;
  if (line.size() <= colon || line[colon] != ':' || line[kLocnColon] != ':') return false;
  header.DataLocn = NumberAt(line, kLocnColon + 2);
  header.DataLength = NumberAt(line, colon + 2);
  return true;
}

bool NamesKind(std::string_view value, std::string_view name) {
  return value.starts_with(name) && (value.size() == name.size() || value[name.size()] == ' ');
}

MQLONG NumberIn(const MQBYTE* data, std::size_t place) {
  MQLONG value = 0;
  std::memcpy(&value, data + place, sizeof value);
  return value;
}

// One line in front of the data. `broken` is set when a colon is not where it must be.
Result TakeHeaderLine(const LogReader& log, std::string_view line, LogRecordKind kind, RecordHeader& header,
                      bool& broken) {
  if (line.starts_with("QueueName") || (kind == LogRecordKind::Put && line.starts_with("ObjectName"))) {
    const std::string_view value = ValueOf(line);
    header.QueueName = NameInField(value.data(), std::min(value.size(), kNameWidth));
  }
  if (line.starts_with("PrevLSN")) {
    header.HasPrevLsn = true;
    return log.ParseLsn(ValueOf(line), header.PrevLsn);
  }
  broken = line.starts_with("Data.Locn") && !ReadLengths(line, kind, header);
  return {};
}

}  // namespace

LogRecordKind RecordKind(std::string_view line) {
  const std::string_view value = ValueOf(line);
  if (NamesKind(value, "AQM Put Message")) return LogRecordKind::Put;
  return NamesKind(value, "AQM Put Part") ? LogRecordKind::Part : LogRecordKind::Other;
}

Result ReadRecordHeader(LogReader& log, LogRecordKind kind, RecordHeader& header) {
  bool ended = false;  // before its data, and not by the end of the dump
  std::string_view line;
  while (!ended && log.ReadLine(line)) {
    if (line.starts_with("Data  .")) {
      header.HasData = true;
      return {};
    }
    if (IsLogRecordLine(line)) {
      log.UnreadLine();
      ended = true;
    } else if (Result taken = TakeHeaderLine(log, line, kind, header, ended); taken.failed()) {
      return taken;
    }
  }
  if (!header.HasPrevLsn) return log.Broken(MQRC_FORMAT_ERROR);
  if (!ended && !log.CutShort) log.Screen.Print("The dump ends inside a log record.\n");
  return {};
}

Result ReadMessageHeader(const LogReader& log, HexDump& dump, CurrentMessage& message) {
  MQBYTE data[kMessagePlace];
  if (!dump.Read(data, kVersionPlace + sizeof(MQLONG))) return log.Broken(MQRC_INCOMPLETE_MSG);
  if (const MQLONG version = NumberIn(data, kVersionPlace); version != kHeaderVersion) {
    log.Screen.Print("Message Header Version %d not recognised.\n", version);
    return MQRC_FORMAT_ERROR;
  }
  if (!dump.Read(data + dump.taken(), kMqmdVersionPlace + sizeof(MQLONG) - dump.taken()))
    return log.Broken(MQRC_INCOMPLETE_MSG);
  if (std::memcmp(data + kStrucIdPlace, "MD  ", 4) != 0) {
    log.Screen.Print("Unrecongnised message format.\n");
    return MQRC_FORMAT_ERROR;
  }
  if (const MQLONG version = NumberIn(data, kMqmdVersionPlace);
      version != MQMD_VERSION_1 && version != MQMD_VERSION_2) {
    log.Screen.Print("Unrecognised MQMD version %d.\n", version);
    return MQRC_FORMAT_ERROR;
  }
  if (!dump.Read(data + dump.taken(), kMessagePlace - dump.taken())) return log.Broken(MQRC_INCOMPLETE_MSG);
  message.Descriptor = DefaultDescriptor();
  auto* const descriptor = reinterpret_cast<MQBYTE*>(&message.Descriptor);
  for (const Stretch& stretch : kStretches) {
    std::memcpy(descriptor + stretch.Offset, data + stretch.Place, stretch.Length);
  }
  message.ExpectedLength = NumberIn(data, kTotalLengthPlace);
  return {};
}
