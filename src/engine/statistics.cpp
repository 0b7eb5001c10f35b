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

struct PutInstant {
  std::int64_t Seconds = 0;  // since 1970
  std::int64_t Centis = 0;   // the same in hundredths of a second
};

// A put time that is none counts as 0. Messages of one day follow each other, so their date is read once.
PutInstant ReadPutInstant(SummaryState& summary, const MQMD& descriptor) {
  if (std::memcmp(summary.LastPutDate, descriptor.PutDate, sizeof summary.LastPutDate) != 0) {
    std::memcpy(summary.LastPutDate, descriptor.PutDate, sizeof summary.LastPutDate);
    summary.LastPutDay = PutDateSeconds(descriptor.PutDate);
  }
  const auto time = ParsePutTime(descriptor.PutTime);
  if (!summary.LastPutDay || !time) return {};
  const std::int64_t seconds = *summary.LastPutDay + time->Seconds;
  return {seconds, seconds * 100 + time->Hundredths};
}

void CopyIdentifiers(const MQMD& from, MQBYTE24& msgId, MQBYTE24& correlId) {
  std::memcpy(msgId, from.MsgId, sizeof msgId);
  std::memcpy(correlId, from.CorrelId, sizeof correlId);
}

}  // namespace

void CollectSummary(Parameters& run) {
  SummaryState& summary = run.Summary;
  const MQMD& descriptor = run.Message.Descriptor;
  const MQLONG size = run.Message.Length;
  const PutInstant put = ReadPutInstant(summary, descriptor);
  const std::int64_t age = run.StartTime - put.Seconds;
  const std::int64_t ageCentis = run.NowCentis - put.Centis;
  const bool first = run.SelectedCount <= 1;

  if (first || age < summary.YoungestAge) {
    summary.YoungestAge = age;
    summary.YoungestAgeCentis = ageCentis;
    CopyIdentifiers(descriptor, summary.YoungestMsgId, summary.YoungestCorrelId);
  }
  if (first || age > summary.OldestAge) {
    summary.OldestAge = age;
    summary.OldestAgeCentis = ageCentis;
    CopyIdentifiers(descriptor, summary.OldestMsgId, summary.OldestCorrelId);
  }
  if (first || size < summary.SmallestSize) {
    summary.SmallestSize = size;
    CopyIdentifiers(descriptor, summary.SmallestMsgId, summary.SmallestCorrelId);
  }
  if (first || size > summary.BiggestSize) {
    summary.BiggestSize = size;
    CopyIdentifiers(descriptor, summary.BiggestMsgId, summary.BiggestCorrelId);
  }
  summary.AgeSumCentis += ageCentis;
  // A message put after the start of the run, or by a clock that is ahead, has an age below 0: it is a young one.
  ++summary.AgeCounts[FindBucket(kAgeTable, age)];
  ++summary.SizeCounts[FindBucket(kSizeTable, size)];
}
