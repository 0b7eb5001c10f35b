#include "engine/statistics.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <string_view>

#include "common/text.h"

namespace {

constexpr std::int64_t kStart = 1700000000;  // 2023-11-14 22:13:20

struct StatisticsTest : testing::Test {
  void Collect(std::int64_t age, MQLONG size, int hundredths = 0) {
    const std::time_t put = kStart - age;
    char text[16];
    std::strftime(text, sizeof text, "%Y%m%d%H%M%S", std::gmtime(&put));
    FillField(descriptor.PutDate, 8, std::string_view(text, 8));
    const std::string centis = {static_cast<char>('0' + hundredths / 10), static_cast<char>('0' + hundredths % 10)};
    FillField(descriptor.PutTime, 8, std::string(text + 8, 6) + centis);
    Collect(size);
  }
  void Collect(MQLONG size) {
    descriptor.MsgId[0] = ++collected;
    summary.Add(descriptor, size);
  }
  MQMD descriptor;
  MQBYTE collected = 0;
  Statistics summary{kStart * 100 + 25};
};

TEST_F(StatisticsTest, BoundsBelongToTheNextBucket) {
  constexpr std::int64_t kDay = 86400;
  constexpr std::int64_t kAges[] = {2,         10,        60,        3600,       kDay,      7 * kDay,
                                    14 * kDay, 28 * kDay, 91 * kDay, 182 * kDay, 364 * kDay};
  for (int i = 0; i + 1 < kAgeBuckets; ++i) {
    summary = Statistics(kStart * 100 + 25);
    const std::int64_t bound = kAges[i];
    Collect(bound - 1, 0, 25);
    Collect(bound, 0, 25);
    EXPECT_EQ(summary.AgeCounts[i], 1) << kAgeTable[i].Label;
    EXPECT_EQ(summary.AgeCounts[i + 1], 1) << kAgeTable[i].Label;
  }
  constexpr MQLONG kSizes[] = {100, 1 << 10, 4 << 10, 100 << 10, 1 << 20, 10 << 20, 50 << 20};
  for (int i = 0; i + 1 < kSizeBuckets; ++i) {
    summary = Statistics(kStart * 100 + 25);
    const MQLONG bound = kSizes[i];
    Collect(0, bound - 1);
    Collect(0, bound);
    EXPECT_EQ(summary.SizeCounts[i], 1) << kSizeTable[i].Label;
    EXPECT_EQ(summary.SizeCounts[i + 1], 1) << kSizeTable[i].Label;
  }
}

TEST_F(StatisticsTest, ExtremesKeepTheEarlierOfEquals) {
  Collect(50, 500, 10);
  Collect(50, 500, 10);
  EXPECT_EQ(summary.OldestMsgId[0], 1);
  EXPECT_EQ(summary.YoungestMsgId[0], 1);
  EXPECT_EQ(summary.BiggestMsgId[0], 1);
  EXPECT_EQ(summary.SmallestMsgId[0], 1);
  EXPECT_EQ(summary.YoungestAge, 50 * 100 + 15);
  Collect(86400 * 3, 499);
  Collect(49, 501, 99);
  EXPECT_EQ(summary.OldestMsgId[0], 3);
  EXPECT_EQ(summary.SmallestMsgId[0], 3);
  EXPECT_EQ(summary.YoungestMsgId[0], 4);
  EXPECT_EQ(summary.YoungestAge, 49 * 100 - 74);
  EXPECT_EQ(summary.BiggestMsgId[0], 4);
  EXPECT_EQ(summary.AgeSum, 5015 + 5015 + 86400 * 300 + 25 + 4826);
}

TEST_F(StatisticsTest, AMessageWithoutPutTimeHasNoAgeAndOneFromTheFutureIsNew) {
  FillField(descriptor.PutDate, 8, "");
  FillField(descriptor.PutTime, 8, "");
  Collect(10);
  Collect(-30, 20);
  EXPECT_EQ(summary.Messages, 2);
  EXPECT_EQ(summary.Bytes, 30);
  EXPECT_EQ(summary.Dated, 1);
  EXPECT_EQ(summary.YoungestAge, 0);
  EXPECT_EQ(summary.OldestAge, 0);
  EXPECT_EQ(summary.AgeSum, 0);
  EXPECT_EQ(summary.OldestMsgId[0], 2);
  EXPECT_EQ(summary.AgeCounts[0], 1);
  EXPECT_EQ(summary.AgeCounts[kAgeBuckets - 1], 0);
}

// The run started 25 hundredths into its second.
TEST_F(StatisticsTest, AgesAreComparedInHundredths) {
  Collect(2, 0, 26);
  EXPECT_EQ(summary.AgeCounts[0], 1);
  Collect(2, 0, 25);
  EXPECT_EQ(summary.AgeCounts[1], 1);
  Collect(2, 0, 27);
  EXPECT_EQ(summary.YoungestMsgId[0], 3);
  EXPECT_EQ(summary.OldestMsgId[0], 2);
}

}  // namespace
