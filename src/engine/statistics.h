#pragma once

// Statistics of the messages of a summary run, collected per message and shown by display/summary.h.

#include <cstdint>
#include <optional>

#include "mq/mqi.h"

struct Parameters;

inline constexpr int kAgeBuckets = 12;
inline constexpr int kSizeBuckets = 8;

struct SummaryState {
  std::int64_t Messages = 0, Bytes = 0;                     // of all that were added
  std::int64_t Dated = 0;                                   // those with a put time, which alone have an age
  std::int64_t YoungestAge = 0, OldestAge = 0, AgeSum = 0;  // hundredths of a second
  MQBYTE24 OldestMsgId{}, OldestCorrelId{};
  MQBYTE24 YoungestMsgId{}, YoungestCorrelId{};
  MQLONG BiggestSize = 0;
  MQBYTE24 BiggestMsgId{}, BiggestCorrelId{};
  MQLONG SmallestSize = 0;
  MQBYTE24 SmallestMsgId{}, SmallestCorrelId{};
  std::int32_t SizeCounts[kSizeBuckets]{};
  std::int32_t AgeCounts[kAgeBuckets]{};
  char LastPutDate[8]{};                   // the date part read last
  std::optional<std::int64_t> LastPutDay;  // its midnight in seconds since 1970; none when it is no date
};

// A bucket: its label and the bound that a value must stay below; the last bucket of a table has no bound (0).
struct Bucket {
  const char* Label;
  std::uint32_t Bound;
};
extern const Bucket kAgeTable[kAgeBuckets];    // seconds
extern const Bucket kSizeTable[kSizeBuckets];  // bytes

// Adds the message in hand.
void CollectSummary(Parameters& run);
