#include "display/summary.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "cmdline/parameters.h"

namespace {

struct SummaryTest : testing::Test {
  std::unique_ptr<Parameters> owner = std::make_unique<Parameters>();
  Parameters& run = *owner;
  QueueElement queue;

  std::string Shown(const QueueElement* element) {
    testing::internal::CaptureStderr();
    ShowSummary(run, element);
    return testing::internal::GetCapturedStderr();
  }
  // What follows the histograms.
  std::string ShownBehindSizes(const QueueElement* element) {
    const std::string text = Shown(element);
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
  EXPECT_EQ(Shown(nullptr), kEmptySummary);
  queue.MaxDepth = -1;  // as an alias queue answers
  queue.MaxMsgLength = -1;
  EXPECT_EQ(Shown(&queue), kEmptySummary);
}

TEST_F(SummaryTest, HowFullTheQueueIs) {
  constexpr char kHead[] =
      "\nQueue Size Summary\n"
      "==================\n"
      "                     Current     Maximum     Full\n"
      "                    ---------   ---------  -------\n";
  queue.MaxDepth = 5000;
  const std::string messages = "Messages                    0        5000    0.0 %\n";
  EXPECT_EQ(ShownBehindSizes(&queue), kHead + messages);  // the length limit is not known
  queue.MaxMsgLength = 200;
  EXPECT_EQ(ShownBehindSizes(&queue), kHead + messages + "Message Bytes         0 bytes  976.56 KBs    0.0 %\n");
  queue.MaxMsgLength = 4194304;
  EXPECT_EQ(ShownBehindSizes(&queue), kHead + messages + "Message Bytes         0 bytes   19.53 GBs    0.0 %\n");
  queue.MaxFileSize = 2048;
  queue.FileSize = 512;
  run.MsgsRead = 2500;
  run.BytesRead = 1048576;
  const std::string text = Shown(&queue);
  EXPECT_TRUE(text.ends_with(std::string(kHead) + "Messages                 2500        5000   50.0 %\n"
                                                  "Message Bytes            1 MB       2 GBs    0.0 %\n"
                                                  "Data Bytes           1.87 MBs       2 GBs    0.1 %\n"
                                                  "Queue File Size       512 MBs       2 GBs   25.0 %\n"))
      << text;
}

TEST_F(SummaryTest, ReportLinesGroupTheirNumbers) {
  testing::internal::CaptureStderr();
  PrintReportLine(run, {"Read", 12, true, 1234567, 1234567});
  PrintReportLine(run, {"Counted", 0, false, 999, 1000});
  PrintReportLine(run, {"Written", 1, true, 0, 123456789012U});
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Read    - Files:  12  Messages:1,234,567  Bytes:   1,234,567\n"
            "Counted -             Messages:    999  Bytes:       1,000\n"
            "Written - Files:   1  Messages:      0  Bytes:123,456,789,012\n");
}

}  // namespace
