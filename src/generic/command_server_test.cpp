#include "generic/command_server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include "common/console.h"
#include "common/text.h"
#include "generic/pcf.h"

namespace {

using Reply = std::vector<MQBYTE>;

// A command server that gives the replies it is told to give, whatever the question.
struct FakeServer {
  static inline std::deque<Reply> Replies;
  static inline std::string Asked;             // the text of the question's first parameter
  static inline std::string FailingCall;       // fails with MQRC_CONNECTION_BROKEN
  static inline std::vector<MQLONG> GetRooms;  // the buffer lengths of the gets
  static inline int Open = 0;                  // handles open

  static bool Fails(const char* call, MQLONG* code, MQLONG* reason) {
    const bool fails = FailingCall == call;
    *code = fails ? MQCC_FAILED : MQCC_OK;
    *reason = fails ? MQRC_CONNECTION_BROKEN : MQRC_NONE;
    return fails;
  }
  static void MqOpen(MQHCONN, MQOD* object, MQLONG, MQHOBJ* hobj, MQLONG* code, MQLONG* reason) {
    const bool model = NameInField(object->ObjectName, sizeof object->ObjectName) == "SYSTEM.DEFAULT.MODEL.QUEUE";
    if (Fails(model ? "model" : "command", code, reason)) return;
    *hobj = model ? 7 : 8;
    ++Open;
    if (model) FillField(object->ObjectName, sizeof object->ObjectName, "AMQ.1234");
  }
  static void Keep(const void* data) {
    const auto* bytes = static_cast<const char*>(data) + sizeof(MQCFH);
    MQLONG length = 0;
    std::memcpy(&length, bytes + 16, sizeof length);
    Asked.assign(bytes + 20, static_cast<std::size_t>(length));
  }
  static void MqPut(MQHCONN, MQHOBJ, MQMD*, MQPMO*, MQLONG, const void* data, MQLONG* code, MQLONG* reason) {
    if (!Fails("put", code, reason)) Keep(data);
  }
  static void MqPut1(MQHCONN, MQOD*, MQMD*, MQPMO*, MQLONG, const void* data, MQLONG* code, MQLONG* reason) {
    if (!Fails("put", code, reason)) Keep(data);
  }
  static void MqGet(MQHCONN, MQHOBJ, MQMD*, MQGMO*, MQLONG room, void* buffer, MQLONG* length, MQLONG* code,
                    MQLONG* reason) {
    GetRooms.push_back(room);
    if (Fails("get", code, reason)) return;
    if (Replies.empty()) {
      *code = MQCC_FAILED;
      *reason = MQRC_NO_MSG_AVAILABLE;
      return;
    }
    const Reply& reply = Replies.front();
    *length = static_cast<MQLONG>(reply.size());
    if (reply.size() > static_cast<std::size_t>(room)) {
      *code = MQCC_FAILED;
      *reason = MQRC_TRUNCATED_MSG_FAILED;
      return;
    }
    std::copy(reply.begin(), reply.end(), static_cast<MQBYTE*>(buffer));
    Replies.pop_front();
  }
  static void MqClose(MQHCONN, MQHOBJ* hobj, MQLONG, MQLONG* code, MQLONG* reason) {
    --Open;
    *hobj = MQHO_UNUSABLE_HOBJ;
    *code = MQCC_OK;
    *reason = MQRC_NONE;
  }
};

class CommandServerTest : public testing::Test {
 protected:
  CommandServerTest() {
    FakeServer::Replies.clear();
    FakeServer::FailingCall.clear();
    FakeServer::GetRooms.clear();
    FakeServer::Open = 0;
    MqApiTable& api = conn.Api;
    api.MQOPEN = FakeServer::MqOpen;
    api.MQPUT = FakeServer::MqPut;
    api.MQPUT1 = FakeServer::MqPut1;
    api.MQGET = FakeServer::MqGet;
    api.MQCLOSE = FakeServer::MqClose;
    conn.QMgrName.Assign("QM1");
    conn.CommandLevel = 940;
  }
  ~CommandServerTest() override { EXPECT_EQ(FakeServer::Open, 0) << "a handle is left open"; }

  // Asks for the queues; what is shown is kept, and the queues that are listed are returned.
  std::string Listed() {
    GenericQueueList queues;
    testing::internal::CaptureStderr();
    result = CommandServer(conn).ListQueues({patterns, caseCounts}, queues);
    shown = testing::internal::GetCapturedStderr();
    std::string names;
    for (const auto& [key, queue] : queues) names += queue.QueueName + " ";
    return names;
  }

  Options asked;
  Console screen;
  QMgrConn conn{asked.QMgrs[0], asked.Display, screen};
  std::vector<QueueName> patterns{{"", "*"}};
  bool caseCounts = false;
  MQLONG result = 0;
  std::string shown;
};

Reply QueueReply(std::string_view name, MQLONG depth, MQLONG control, MQLONG type = MQQT_LOCAL,
                 MQLONG definition = MQQDT_PREDEFINED) {
  MQCFH header;
  header.Type = MQCFT_RESPONSE;
  header.Command = MQCMD_INQUIRE_Q;
  header.Control = control;
  PcfRequest reply(header);
  reply.AddString(MQCA_Q_NAME, name);
  reply.AddInteger(MQIA_Q_TYPE, type);
  reply.AddInteger(MQIA_CURRENT_Q_DEPTH, depth);
  reply.AddInteger(MQIA_DEFINITION_TYPE, definition);
  const auto* bytes = static_cast<const MQBYTE*>(reply.data());
  return {bytes, bytes + reply.size()};
}

// The reply with one of its 32-bit words (counted from 0) replaced.
Reply WithWord(Reply reply, std::size_t word, MQLONG value) {
  std::memcpy(reply.data() + word * sizeof value, &value, sizeof value);
  return reply;
}

constexpr MQLONG kNotLast = 0;
constexpr MQLONG kLast = MQCFC_LAST;
constexpr std::size_t kHeaderWords = sizeof(MQCFH) / sizeof(MQLONG);
const char* const kUnreadable = "Failed to parse command server response. RC(2071) Storage not available\n";

TEST_F(CommandServerTest, AsksForWhatThePatternsMayMatch) {
  const struct {
    std::vector<QueueName> Patterns;
    bool Quoted;
    const char* Asked;
    const char* Listed;
  } cases[] = {
      {{{"", "*"}}, false, "*", "APP12X APP1X RA app1x "},  {{{"", "Q*"}, {"", "R*"}}, false, "*", "RA "},
      {{{"", "APP?X"}}, false, "APP*", "APP1X app1x "},     {{{"", "APP.?.IN*"}}, false, "APP.*", ""},
      {{{"", "app1*"}}, false, "*", "APP12X APP1X app1x "}, {{{"", "app1*"}}, true, "app1*", "app1x "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.Patterns.front().Queue);
    patterns = c.Patterns;
    caseCounts = c.Quoted;
    FakeServer::Replies = {QueueReply("APP1X", 5, kNotLast),
                           QueueReply("app1x" + std::string(43, ' '), 5, kNotLast),
                           QueueReply("APP12X", 5, kNotLast),
                           QueueReply("RA", 1, kNotLast),
                           QueueReply("RA", 1, kNotLast),  // told twice, unloaded once
                           QueueReply("EMPTY", 0, kNotLast),
                           QueueReply("ALIAS", 1, kNotLast, MQQT_ALIAS),
                           QueueReply("AMQ.1", 1, kNotLast, MQQT_LOCAL, MQQDT_TEMPORARY_DYNAMIC),
                           QueueReply("SYSTEM.COMMAND.INPUT", 1, kNotLast),
                           QueueReply("SYSTEM.ADMIN.COMMAND.QUEUE", 1, kLast)};
    EXPECT_EQ(Listed(), c.Listed);
    EXPECT_EQ(FakeServer::Asked, c.Asked);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(shown, "");
  }
}

TEST_F(CommandServerTest, RepliesThatCannotBeRightAreToldAndHarmNothing) {
  const Reply good = QueueReply("Q1", 3, kLast);
  const std::size_t name = kHeaderWords;       // the words of the name: type, length, parameter...
  const std::size_t type = name + 5 + 1;       // those of the first integer
  Reply groups = WithWord(good, name - 1, 1);  // 1 parameter
  groups.resize(sizeof(MQCFH));
  for (int i = 0; i < 100000; ++i) {
    for (const MQLONG word : {MQCFT_GROUP, MQLONG{16}, MQLONG{1}, MQLONG{1}}) {
      const auto* bytes = reinterpret_cast<const MQBYTE*>(&word);
      groups.insert(groups.end(), bytes, bytes + sizeof word);
    }
  }
  const struct {
    const char* Name;
    Reply Bad;
    std::string Shown;
    MQLONG Result;
  } cases[] = {
      {"nothing at all", {}, kUnreadable, 2071},
      {"shorter than a header", {good.begin(), good.begin() + 35}, kUnreadable, 2071},
      {"another command", WithWord(good, 3, 41), "Wrong command server response. CMD(41)\n", 3226},
      {"a reason", WithWord(good, 7, 2085), "Command Server Response failure. RC(2085) Unknown object name\n", 2085},
      {"more parameters than follow", WithWord(good, name - 1, 5), kUnreadable, 2071},
      {"a count below zero", WithWord(good, name - 1, -1), kUnreadable, 2071},
      {"cut within a parameter", {good.begin(), good.end() - 4}, kUnreadable, 2071},
      {"a length beyond the end", WithWord(good, type + 1, 1 << 30), kUnreadable, 2071},
      {"a length of zero", WithWord(good, type + 1, 0), kUnreadable, 2071},
      {"a length below zero", WithWord(good, type + 1, -16), kUnreadable, 2071},
      {"an integer without its value", WithWord(good, type + 1, 12), kUnreadable, 2071},
      {"a string beyond its parameter", WithWord(good, name + 4, 1000), kUnreadable, 2071},
      {"a string below zero", WithWord(good, name + 4, -1), kUnreadable, 2071},
      {"a name that is none", QueueReply("..\\..\\EVIL", 1, kLast), kUnreadable, 2071},
      {"a deep nest of groups", groups, kUnreadable, 2071},
      {"a queue without its depth", WithWord(good, type + 4 + 2, MQIA_INHIBIT_GET), kUnreadable, 2071},
      {"a reason, not the last", WithWord(WithWord(good, 7, 2035), 5, kNotLast),
       "Command Server Response failure. RC(2035) Not authorized\n", 2035},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.Name);
    FakeServer::Replies = {QueueReply("BEFORE", 1, kNotLast), c.Bad, QueueReply("BEHIND", 1, kLast)};
    EXPECT_EQ(Listed(), "BEFORE ");
    EXPECT_EQ(shown, c.Shown);
    EXPECT_EQ(result, c.Result);
  }
}

TEST_F(CommandServerTest, ALongReplyIsReadAgainWithRoomForIt) {
  Reply reply = QueueReply("Q1", 3, kLast);
  reply.resize(20000);
  FakeServer::Replies = {reply};
  EXPECT_EQ(Listed(), "Q1 ");
  EXPECT_EQ(FakeServer::GetRooms, (std::vector<MQLONG>{4596, 20000}));
}

TEST_F(CommandServerTest, CallsThatFailEndTheQuestion) {
  const struct {
    const char* Call;
    const char* Shown;
  } cases[] = {
      {"command", "Can not open SYSTEM.ADMIN.COMMAND.QUEUE. RC(2009) Connection broken\n"},
      {"model", "Can not open SYSTEM.DEFAULT.MODEL.QUEUE. RC(2009) Connection broken\n"},
      {"put", "Failed to MQPUT 'Query Queue' command. RC(2009) Connection broken\n"},
      {"get", "MQGET failed for 'Query Queue' command. RC(2009) Connection broken\n"},
      {"", "No response from command server.\n"},
  };
  for (const auto& c : cases) {
    FakeServer::FailingCall = c.Call;
    EXPECT_EQ(Listed(), "");
    EXPECT_EQ(shown, c.Shown);
    EXPECT_EQ(result, *c.Call != '\0' ? MQRC_CONNECTION_BROKEN : MQRC_NO_MSG_AVAILABLE);
    EXPECT_EQ(FakeServer::Open, 0);
  }
}

TEST_F(CommandServerTest, TellsTheSizesOfAQueuesFile) {
  MQCFH header;
  header.Command = MQCMD_INQUIRE_Q_STATUS;
  PcfRequest status(header);
  status.AddInteger(MQIACF_CUR_Q_FILE_SIZE, 12);
  status.AddInteger(MQIACF_CUR_MAX_FILE_SIZE, 2048);
  const auto* bytes = static_cast<const MQBYTE*>(status.data());
  const Reply good(bytes, bytes + status.size());
  const struct {
    const char* Name;
    Reply Given;
    MQLONG Level;
    MQLONG Size;
    MQLONG MaxSize;
    const char* Shown;
  } cases[] = {
      {"sizes", good, 940, 12, 2048, ""},
      {"an older queue manager", good, 910, 0, 0, ""},
      {"a level that is not known", good, 0, 12, 2048, ""},
      {"a reason", WithWord(good, 7, 2035), 940, 0, 0,
       "Inquire Queue Status on object 'QM1/Q1' returned 2035 Not authorized.\n"},
      {"a short reply", {good.begin(), good.begin() + 20}, 940, 0, 0, kUnreadable},
      {"a cut reply", {good.begin(), good.end() - 1}, 940, 12, 0, kUnreadable},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.Name);
    conn.CommandLevel = c.Level;
    FakeServer::Replies = {c.Given};
    QueueElement queue;
    queue.QueueName.Assign("Q1");
    testing::internal::CaptureStderr();
    CommandServer(conn).InquireSizes({&queue, 1});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.Shown);
    EXPECT_EQ(queue.FileSize, c.Size);
    EXPECT_EQ(queue.MaxFileSize, c.MaxSize);
  }
  // A server that does not answer the first is not asked again.
  FakeServer::Replies = {};
  FakeServer::GetRooms.clear();
  QueueElement several[3];
  testing::internal::CaptureStderr();
  CommandServer(conn).InquireSizes(several);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "MQGET on object 'QM1/AMQ.1234' returned 2033 No message available.\nNo response from command server.\n");
  EXPECT_EQ(FakeServer::GetRooms.size(), 20U);  // one wait of ten seconds, in halves of a second
}

}  // namespace
