#include "engine/statistics.h"

#include <algorithm>
#include <cstring>

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

void CopyIdentifiers(const MQMD& from, MQBYTE24& msgId, MQBYTE24& correlId) {
  std::memcpy(msgId, from.MsgId, sizeof msgId);
  std::memcpy(correlId, from.CorrelId, sizeof correlId);
}

}  // namespace

void Statistics::Add(const MQMD& descriptor, MQLONG size) {
  AddSize(descriptor, size);
  // A message put after the start of the run, or by a clock that is ahead, has no age yet.
  if (const auto put = PutCentis(descriptor)) AddAge(descriptor, std::max(nowCentis_ - *put, std::int64_t{0}));
}

// Hundredths of a second since 1970; none when the descriptor holds no put time. Messages of one day follow each other,
// so their date is read once.
std::optional<std::int64_t> Statistics::PutCentis(const MQMD& descriptor) {
  if (std::memcmp(lastPutDate_, descriptor.PutDate, sizeof lastPutDate_) != 0) {
    std::memcpy(lastPutDate_, descriptor.PutDate, sizeof lastPutDate_);
    lastPutDay_ = PutDateSeconds(descriptor.PutDate);
  }
  const auto time = ParsePutTime(descriptor.PutTime);
  if (!lastPutDay_ || !time) return std::nullopt;
  return (*lastPutDay_ + time->Seconds) * 100 + time->Hundredths;
}

void Statistics::AddSize(const MQMD& descriptor, MQLONG size) {
  const bool first = Messages++ == 0;
  Bytes += size;
  if (first || size < SmallestSize) {
    SmallestSize = size;
    CopyIdentifiers(descriptor, SmallestMsgId, SmallestCorrelId);
  }
  if (first || size > BiggestSize) {
    BiggestSize = size;
    CopyIdentifiers(descriptor, BiggestMsgId, BiggestCorrelId);
  }
  ++SizeCounts[FindBucket(kSizeTable, size)];
}

void Statistics::AddAge(const MQMD& descriptor, std::int64_t age) {
  const bool first = Dated++ == 0;
  AgeSum += age;
  if (first || age < YoungestAge) {
    YoungestAge = age;
    CopyIdentifiers(descriptor, YoungestMsgId, YoungestCorrelId);
  }
  if (first || age > OldestAge) {
    OldestAge = age;
    CopyIdentifiers(descriptor, OldestMsgId, OldestCorrelId);
  }
  ++AgeCounts[FindBucket(kAgeTable, age / 100)];
}
