#include "display/summary.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct SummaryTest : testing::Test {
  Console screen;
  Statistics statistics{0};
  ReportLine read{"Read", 0, true, 0, 0};
  std::vector<QueueElement> queues;

  // Adds an input queue.
  QueueElement& AddQueue(MQLONG maxDepth, MQLONG maxMsgLength) {
    QueueElement& queue = queues.emplace_back();
    queue.MaxDepth = maxDepth;
    queue.MaxMsgLength = maxMsgLength;
    return queue;
  }
  std::string Shown() {
    testing::internal::CaptureStderr();
    ShowSummary(screen, {}, {read, statistics, queues});
    return testing::internal::GetCapturedStderr();
  }
  // What follows the histograms.
  std::string ShownBehindSizes() {
    const std::string text = Shown();
    const std::string lastCounts = "     0      0      0      0      0      0      0 \n\n";
    return text.substr(text.rfind(lastCounts) + lastCounts.size());
  }
};

constexpr char kEmptySummary[] =
    "Read    - Files:   0  Messages:      0  Bytes:           0\n"
    "\n"
    "Message Ages\n"
    "============\n"
    "\n"
    "< 2  secs < 10 secs < 1   min < 1  hour < 1   day < 1  week \n"
    "--------- --------- --------- --------- --------- --------- \n"
    "        0         0         0         0         0         0 \n"
    "\n"
    "< 2 weeks < 4 weeks < 3 month < 6 month < 1  year > 1  year \n"
    "--------- --------- --------- --------- --------- --------- \n"
    "        0         0         0         0         0         0 \n"
    "\n"
    "\n"
    "Message Sizes\n"
    "=============\n"
    "\n"
    "< 100B <  1KB <  4KB <100KB <  1MB < 10MB < 50MB > 50MB \n"
    "------ ------ ------ ------ ------ ------ ------ ------ \n"
    "     0      0      0      0      0      0      0      0 \n"
    "\n";

TEST_F(SummaryTest, AnEmptyInputShowsEmptyHistograms) {
  EXPECT_EQ(Shown(), kEmptySummary);
  AddQueue(-1, -1);  // as an alias queue answers
  EXPECT_EQ(Shown(), kEmptySummary);
}

TEST_F(SummaryTest, HowFullTheQueueIs) {
  constexpr char kHead[] =
      "\nQueue Size Summary\n"
      "==================\n"
      "                     Current     Maximum     Full\n"
      "                    ---------   ---------  -------\n";
  QueueElement& queue = AddQueue(5000, 0);
  const std::string messages = "Messages                    0        5000    0.0 %\n";
  EXPECT_EQ(ShownBehindSizes(), kHead + messages);  // the length limit is not known
  queue.MaxMsgLength = 200;
  EXPECT_EQ(ShownBehindSizes(), kHead + messages + "Message Bytes         0 bytes  976.56 KBs    0.0 %\n");
  queue.MaxMsgLength = 4194304;
  EXPECT_EQ(ShownBehindSizes(), kHead + messages + "Message Bytes         0 bytes   19.53 GBs    0.0 %\n");
  queue.MaxFileSize = 2048;
  queue.FileSize = 512;
  read.Messages = 2500;
  read.Bytes = 1048576;
  const std::string text = Shown();
  EXPECT_TRUE(text.ends_with(std::string(kHead) + "Messages                 2500        5000   50.0 %\n"
                                                  "Message Bytes            1 MB       2 GBs    0.0 %\n"
                                                  "Data Bytes           1.87 MBs       2 GBs    0.1 %\n"
                                                  "Queue File Size       512 MBs       2 GBs   25.0 %\n"))
      << text;
  AddQueue(5000, 4194304);  // its file's size is not known
  EXPECT_TRUE(Shown().ends_with(kHead + std::string("Messages                 2500       10000   25.0 %\n"
                                                    "Message Bytes            1 MB   39.06 GBs    0.0 %\n")))
      << Shown();
}

TEST_F(SummaryTest, AveragesAreOfTheMessagesThatWereSelected) {
  read.Messages = 10;
  read.Bytes = 1000;
  EXPECT_EQ(Shown().find(" Message : "), std::string::npos);
  statistics.Messages = 2;
  statistics.Bytes = 30;
  statistics.Dated = 1;
  statistics.AgeSum = 500;
  EXPECT_NE(Shown().find("Average  Message : 5.00 Secs \nWithout put time : 1\n"), std::string::npos) << Shown();
  EXPECT_TRUE(Shown().ends_with("Average  Message : 15 bytes \n")) << Shown();
}

TEST_F(SummaryTest, ReportLinesGroupTheirNumbers) {
  testing::internal::CaptureStderr();
  PrintReportLine(screen, {"Read", 12, true, 1234567, 1234567});
  PrintReportLine(screen, {"Counted", 0, false, 999, 1000});
  PrintReportLine(screen, {"Written", 1, true, 0, 123456789012U});
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Read    - Files:  12  Messages:1,234,567  Bytes:   1,234,567\n"
            "Counted -             Messages:    999  Bytes:       1,000\n"
            "Written - Files:   1  Messages:      0  Bytes:123,456,789,012\n");
}

}  // namespace
