#include "engine/selection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "common/text.h"

namespace {

TEST(Selection, OrdersTheBoundsOfARangeAndOpensItsStart) {
  const struct {
    int Start, End;
    const char* Taken;  // of the positions 1 to 6
    int EndsAt;         // 0: nowhere
  } cases[] = {{0, 0, "123456", 0}, {0, 3, "123", 3}, {5, 3, "345", 5}, {5, 0, "56", 0}, {5, 5, "5", 5}};
  const CurrentMessage message;
  for (const auto& c : cases) {
    SelectionOptions wanted;
    wanted.RangeStart = c.Start;
    wanted.RangeEnd = c.End;
    const Selection selection(wanted);
    std::string taken;
    for (int position = 1; position <= 6; ++position) {
      if (selection.Takes(message, position)) taken += std::to_string(position);
      EXPECT_EQ(selection.EndsAt(position), c.EndsAt != 0 && position >= c.EndsAt) << position;
    }
    EXPECT_EQ(taken, c.Taken);
  }
}

TEST(Selection, LooksOnlyAtDeliveredBytes) {
  CurrentMessage message;
  std::string data = "xxABC";
  message.Data = reinterpret_cast<MQBYTE*>(data.data());
  message.Length = message.Delivered = 5;
  SelectionOptions wanted;
  wanted.Ascii = {"ABC"};
  EXPECT_TRUE(Selection(wanted).Takes(message, 1));
  message.Delivered = 4;
  EXPECT_FALSE(Selection(wanted).Takes(message, 1));
}

// A header that the format announces, but the message is too short for.
TEST(Selection, ReadsNoHeaderBeyondTheMessage) {
  SelectionOptions wanted[2];
  wanted[0].Target = {"*", "*"};
  wanted[1].DlqReason = 2053;
  CurrentMessage message;
  for (const char* format : {MQFMT_DEAD_LETTER_HEADER, MQFMT_XMIT_Q_HEADER}) {
    FillField(message.Descriptor.Format, 8, format);
    for (std::size_t size = 0; size < sizeof(MQDLH); ++size) {
      std::vector<MQBYTE> data(size);  // of its own, so that a sanitizer sees a look beyond its end
      std::copy_n("DLH \1\0\0\0\5\10\0\0", std::min<std::size_t>(size, 12), data.begin());
      message.Data = data.data();
      message.Length = message.Delivered = static_cast<MQLONG>(size);
      for (const SelectionOptions& options : wanted) {
        EXPECT_FALSE(Selection(options).Takes(message, 1)) << format << size;
      }
    }
  }
}

}  // namespace
