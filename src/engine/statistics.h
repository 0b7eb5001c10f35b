#pragma once

// Statistics of the messages of a summary run, shown by display/summary.h.

#include <cstdint>
#include <optional>

#include "mq/mqi.h"

inline constexpr int kAgeBuckets = 12;
inline constexpr int kSizeBuckets = 8;

class Statistics {
 public:
  // Ages count up to `nowCentis`, hundredths of a second since 1970.
  explicit Statistics(std::int64_t nowCentis) : nowCentis_(nowCentis) {}
  void Add(const MQMD& descriptor, MQLONG size);

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

 private:
  std::optional<std::int64_t> PutCentis(const MQMD& descriptor);
  void AddSize(const MQMD& descriptor, MQLONG size);
  void AddAge(const MQMD& descriptor, std::int64_t age);

  std::int64_t nowCentis_;
  char lastPutDate_[8]{};                   // the date part read last
  std::optional<std::int64_t> lastPutDay_;  // its midnight in seconds since 1970; none when it is no date
};

// A bucket: its label and the bound that a value must stay below; the last bucket of a table has no bound (0).
struct Bucket {
  const char* Label;
  std::uint32_t Bound;
};
extern const Bucket kAgeTable[kAgeBuckets];    // seconds
extern const Bucket kSizeTable[kSizeBuckets];  // bytes
