#include "mq/reasons.h"

#include <gtest/gtest.h>

#include <string>

#include "common/console.h"

namespace {

TEST(ReasonText, TakesTheFirstRowOfAValue) {
  const struct {
    MQLONG Reason;
    const char* Text;
  } cases[] = {
      {0, "OK"},
      {2033, "No message available"},
      {MQRC_PERSISTENT_NOT_ALLOWED, "Persistence not allowed"},
      {MQRC_MULTIPLE_REASONS, "Multiple Reasons"},
      {MQRC_CFH_ERROR, "MQCFH Error"},
      {MQRCCF_COMMAND_REPLY_ERROR, "Command reply error"},
      {MQFB_COD, "Confirm on Delivery"},
      {501, "Publications on request"},  // in the feedback table only
      {2120, "Converted message to big"},
      {2192, "Pageset full"},
      {3029, "Mode value error"},
      {3250, "Listener status not found"},
      {6104, "Attribute Locked"},
      {1, ""},
      {-1, ""},
      {999999, ""},
  };
  for (const auto& c : cases) EXPECT_STREQ(ReasonText(c.Reason), c.Text) << c.Reason;
}

TEST(ReasonNamed, KnowsEveryNameOfTheTable) {
  EXPECT_EQ(ReasonNamed("MQRC_Q_FULL"), MQRC_Q_FULL);
  EXPECT_EQ(ReasonNamed("mqrccf_command_reply_error"), MQRCCF_COMMAND_REPLY_ERROR);
  EXPECT_EQ(ReasonNamed("MQFB_COD"), MQFB_COD);
  for (const char* name : {"", "MQRC_Q_FUL", "Queue full"}) EXPECT_EQ(ReasonNamed(name), std::nullopt) << name;
}

TEST(ReportMqCall, NamesWhatIsGiven) {
  const std::string blanks(48, ' ');
  const std::string padded = "QM1" + std::string(45, ' ');
  const struct {
    const char* Call;
    std::string QMgr;
    std::string Object;
    MQLONG Reason;
    const char* Line;
  } cases[] = {
      {"MQOPEN", padded, "Q1", 2085, "MQOPEN on object 'QM1/Q1' returned 2085 Unknown object name.\n"},
      {"MQCONN", "QM1", "", 2035, "MQCONN on qmgr 'QM1' returned 2035 Not authorized.\n"},
      {"MQOPEN", "", "Q1", 0, "MQOPEN on object 'Q1' returned 0 OK.\n"},
      {"MQDISC", blanks, "", 0, "MQDISC returned 0 OK.\n"},
      {"MQOPEN", "QM1", "<Distribution List>", 0, "MQOPEN on object 'QM1/<Distribution' returned 0 OK.\n"},
      {"MQGET", "100%s", "", 1, "MQGET on qmgr '100%s' returned 1.\n"},
      {"MQGET", std::string(60, 'A'), "", -3,
       "MQGET on qmgr 'AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA' returned -3.\n"},
  };
  Console screen;
  for (const auto& c : cases) {
    testing::internal::CaptureStderr();
    ReportMqCall(screen, c.Call, c.QMgr, c.Object, c.Reason);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.Line);
  }
}

}  // namespace
