#include "engine/statistics.h"

#include <cstring>

#include "cmdline/parameters.h"
#include "mq/put_time.h"

const Bucket kAgeTable[kAgeBuckets] = {
    {"< 2  secs", 2},          {"< 10 secs", 10},          {"< 1   min", 60},          {"< 1  hour", 3600},
    {"< 1   day", 86400},      {"< 1  week", 604800},      {"< 2 weeks", 1209600},     {"< 4 weeks", 2419200},
    {"< 3 month", 91 * 86400}, {"< 6 month", 182 * 86400}, {"< 1  year", 364 * 86400}, {"> 1  year", 0},
};

const Bucket kSizeTable[kSizeBuckets] = {
    {"< 100B", 100},     {"<  1KB", 1024},     {"<  4KB", 4096},     {"<100KB", 102400},
    {"<  1MB", 1048576}, {"< 10MB", 10485760}, {"< 50MB", 52428800}, {"> 50MB", 0},
};

namespace {

template <int N>
int FindBucket(const Bucket (&table)[N], std::int64_t value) {
  int i = 0;
  while (i < N - 1 && value >= std::int64_t{table[i].Bound}) ++i;
  return i;
}

// Hundredths of a second since 1970; none when the descriptor holds no put time. Messages of one day follow each other,
// so their date is read once.
std::optional<std::int64_t> ReadPutTime(SummaryState& summary, const MQMD& descriptor) {
  if (std::memcmp(summary.LastPutDate, descriptor.PutDate, sizeof summary.LastPutDate) != 0) {
    std::memcpy(summary.LastPutDate, descriptor.PutDate, sizeof summary.LastPutDate);
    summary.LastPutDay = PutDateSeconds(descriptor.PutDate);
  }
  const auto time = ParsePutTime(descriptor.PutTime);
  if (!summary.LastPutDay || !time) return std::nullopt;
  return (*summary.LastPutDay + time->Seconds) * 100 + time->Hundredths;
}

void CopyIdentifiers(const MQMD& from, MQBYTE24& msgId, MQBYTE24& correlId) {
  std::memcpy(msgId, from.MsgId, sizeof msgId);
  std::memcpy(correlId, from.CorrelId, sizeof correlId);
}

void AddSize(SummaryState& summary, const MQMD& descriptor, MQLONG size) {
  const bool first = summary.Messages++ == 0;
  summary.Bytes += size;
  if (first || size < summary.SmallestSize) {
    summary.SmallestSize = size;
    CopyIdentifiers(descriptor, summary.SmallestMsgId, summary.SmallestCorrelId);
  }
  if (first || size > summary.BiggestSize) {
    summary.BiggestSize = size;
    CopyIdentifiers(descriptor, summary.BiggestMsgId, summary.BiggestCorrelId);
  }
  ++summary.SizeCounts[FindBucket(kSizeTable, size)];
}

void AddAge(SummaryState& summary, const MQMD& descriptor, std::int64_t age) {
  const bool first = summary.Dated++ == 0;
  summary.AgeSum += age;
  if (first || age < summary.YoungestAge) {
    summary.YoungestAge = age;
    CopyIdentifiers(descriptor, summary.YoungestMsgId, summary.YoungestCorrelId);
  }
  if (first || age > summary.OldestAge) {
    summary.OldestAge = age;
    CopyIdentifiers(descriptor, summary.OldestMsgId, summary.OldestCorrelId);
  }
  // A message put after the start of the run, or by a clock that is ahead, has an age below 0: it is a young one.
  ++summary.AgeCounts[FindBucket(kAgeTable, age / 100)];
}

}  // namespace

void CollectSummary(Parameters& run) {
  const MQMD& descriptor = run.Message.Descriptor;
  AddSize(run.Summary, descriptor, run.Message.Length);
  if (const auto put = ReadPutTime(run.Summary, descriptor)) AddAge(run.Summary, descriptor, run.NowCentis - *put);
}
