#include "engine/strip_headers.h"

#include <gtest/gtest.h>

#include "engine/fake_mq_test.h"

namespace {

TEST(StripHeaders, AMessageTooShortForItsHeaderHasNone) {
  for (const auto& [format, size] : {std::pair{MQFMT_DEAD_LETTER_HEADER, 171}, {MQFMT_XMIT_Q_HEADER, 427}}) {
    FakeRun run;
    run.Hold(std::string(static_cast<std::size_t>(size), 'x'), format);
    StripHeaders(run.message);
    EXPECT_EQ(run.message.Length, size);
    EXPECT_EQ(run.message.Data, run.message.Buffer.data());
    EXPECT_EQ(std::string_view(run.message.Descriptor.Format, 8), format);
  }
}

}  // namespace
