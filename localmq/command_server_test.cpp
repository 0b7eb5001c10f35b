#include "localmq/command_server.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <string>

#include "localmq/test_support.h"

namespace localmq {
namespace {

// A request, built field by field in either byte order.
struct RequestBuilder {
  MQLONG Encoding{MQENC_REVERSED};
  std::vector<std::uint8_t> Bytes{};

  RequestBuilder& Integers(std::initializer_list<MQLONG> values) {
    for (const MQLONG value : values) {
      for (unsigned i = 0; i < 4; ++i) {
        const unsigned shift = Encoding == MQENC_REVERSED ? 8 * i : 24 - 8 * i;
        Bytes.push_back(static_cast<std::uint8_t>(static_cast<std::uint32_t>(value) >> shift));
      }
    }
    return *this;
  }
  RequestBuilder& Header(MQLONG command, MQLONG count) { return Integers({1, 36, 2, command, 1, 1, 0, 0, count}); }
  RequestBuilder& Text(MQLONG id, std::string text) {
    const auto length = static_cast<MQLONG>(text.size());
    text.resize((text.size() + 3) / 4 * 4, ' ');
    Integers({MQCFT_STRING, 20 + static_cast<MQLONG>(text.size()), id, 0, length});
    Bytes.insert(Bytes.end(), text.begin(), text.end());
    return *this;
  }
};

struct ParsedReply {
  MQCFH Header;
  std::map<MQLONG, MQLONG> Numbers;
  std::map<MQLONG, std::string> Texts;
};

ParsedReply Parse(const std::vector<std::uint8_t>& bytes) {
  ParsedReply reply;
  std::memcpy(&reply.Header, bytes.data(), sizeof reply.Header);
  std::size_t at = sizeof reply.Header;
  for (MQLONG i = 0; i < reply.Header.ParameterCount; ++i) {
    std::array<MQLONG, 5> fields;  // Type, StrucLength, Parameter, then Value, or CodedCharSetId and StringLength
    std::memcpy(fields.data(), bytes.data() + at, std::min(sizeof fields, bytes.size() - at));
    if (fields[0] == MQCFT_INTEGER) {
      reply.Numbers[fields[2]] = fields[3];
    } else {
      const auto* text = reinterpret_cast<const char*>(bytes.data()) + at + 20;
      reply.Texts[fields[2]].assign(text, static_cast<std::size_t>(fields[4]));
    }
    at += static_cast<std::size_t>(fields[1]);
  }
  EXPECT_EQ(at, bytes.size());
  return reply;
}

std::string Padded(std::string text, std::size_t length = 48) {
  text.resize(length, ' ');
  return text;
}

class CommandServerTest : public QueueManagerTest {
 protected:
  void SetUp() override {
    QueueManagerTest::SetUp();
    for (const char* name : {"APP.1", "APP.2", "app.3"}) Define(name);
    Define("APP.A", [](QueueAttributes& queue) { queue.Type = MQQT_ALIAS; });
  }

  std::vector<ParsedReply> Ask(const RequestBuilder& request, const char* format = MQFMT_ADMIN) {
    MQMD md;
    md.MsgType = MQMT_REQUEST;
    md.Encoding = request.Encoding;
    std::memcpy(md.Format, format, 8);
    std::vector<ParsedReply> replies;
    // A copy of the exact size, so that the address sanitizer sees a read beyond it.
    const std::vector<std::uint8_t> exact(request.Bytes);
    for (const auto& reply : AnswerCommand(*Admin, exact, md)) replies.push_back(Parse(reply));
    for (std::size_t i = 0; i < replies.size(); ++i) {
      EXPECT_EQ(replies[i].Header.Control, i + 1 == replies.size() ? MQCFC_LAST : MQCFC_NOT_LAST);
      EXPECT_EQ(replies[i].Header.MsgSeqNumber, static_cast<MQLONG>(i) + 1);
    }
    return replies;
  }
  void ExpectFailure(const RequestBuilder& request, MQLONG reason, const char* format = MQFMT_ADMIN) {
    const std::vector<ParsedReply> replies = Ask(request, format);
    ASSERT_EQ(replies.size(), 2U);
    EXPECT_EQ(replies[0].Header.Reason, reason);
    EXPECT_EQ(replies[0].Header.CompCode, MQCC_FAILED);
    EXPECT_EQ(replies[1].Header.Reason, MQRCCF_COMMAND_FAILED);
  }
};

TEST_F(CommandServerTest, InquiresQueues) {
  for (const MQLONG encoding : {MQENC_REVERSED, MQENC_NORMAL}) {
    const auto replies = Ask(RequestBuilder{encoding}
                                 .Header(MQCMD_INQUIRE_Q, 3)
                                 .Text(MQCA_Q_NAME, "APP.*")
                                 .Integers({MQCFT_INTEGER, 16, MQIA_Q_TYPE, MQQT_LOCAL})
                                 .Integers({MQCFT_INTEGER_LIST, 32, MQIACF_Q_ATTRS, 4, MQCA_Q_NAME, MQIA_Q_TYPE,
                                            MQIA_CURRENT_Q_DEPTH, MQIA_DEFINITION_TYPE}));
    ASSERT_EQ(replies.size(), 2U);
    EXPECT_EQ(replies[0].Texts.at(MQCA_Q_NAME), Padded("APP.1"));
    EXPECT_EQ(replies[1].Texts.at(MQCA_Q_NAME), Padded("APP.2"));
    EXPECT_EQ(replies[1].Header.Command, MQCMD_INQUIRE_Q);
    EXPECT_EQ(replies[1].Header.Type, MQCFT_RESPONSE);
    const std::map<MQLONG, MQLONG> numbers{
        {MQIA_Q_TYPE, MQQT_LOCAL}, {MQIA_CURRENT_Q_DEPTH, 0}, {MQIA_DEFINITION_TYPE, MQQDT_PREDEFINED}};
    EXPECT_EQ(replies[1].Numbers, numbers);
  }
  // All attributes of all types; an alias has no depth.
  const auto all = Ask(RequestBuilder{}.Header(MQCMD_INQUIRE_Q, 1).Text(MQCA_Q_NAME, "APP.A"));
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].Numbers.at(MQIA_Q_TYPE), MQQT_ALIAS);
  EXPECT_EQ(all[0].Numbers.count(MQIA_CURRENT_Q_DEPTH), 0U);
}

TEST_F(CommandServerTest, RefusesWrongRequests) {
  const auto request = [](MQLONG count) { return RequestBuilder{}.Header(MQCMD_INQUIRE_Q, count); };
  struct Case {
    const char* What;
    RequestBuilder Request;
    MQLONG Reason;
  };
  const Case cases[] = {
      {"unknown name", request(1).Text(MQCA_Q_NAME, "NONE"), MQRC_UNKNOWN_OBJECT_NAME},
      {"no generic match", request(1).Text(MQCA_Q_NAME, "NONE.*"), MQRC_UNKNOWN_OBJECT_NAME},
      {"status of an alias", RequestBuilder{}.Header(MQCMD_INQUIRE_Q_STATUS, 1).Text(MQCA_Q_NAME, "APP.A"),
       MQRC_UNKNOWN_OBJECT_NAME},
      {"unknown command", RequestBuilder{}.Header(99, 0), MQRCCF_CFH_COMMAND_ERROR},
      {"no name", request(0), MQRCCF_PARM_COUNT_TOO_SMALL},
      {"blank name", request(1).Text(MQCA_Q_NAME, "    "), MQRCCF_CFST_STRING_LENGTH_ERR},
      {"long name", request(1).Text(MQCA_Q_NAME, std::string(49, 'A')), MQRCCF_CFST_STRING_LENGTH_ERR},
      {"more parameters than said", request(0).Text(MQCA_Q_NAME, "APP.1"), MQRCCF_PARM_COUNT_TOO_SMALL},
      {"fewer parameters than said", request(2).Text(MQCA_Q_NAME, "APP.1"), MQRCCF_PARM_COUNT_TOO_BIG},
      {"negative count", request(-1), MQRCCF_CFH_PARM_COUNT_ERROR},
      {"wrong type", RequestBuilder{}.Integers({2, 36, 1, 13, 1, 1, 0, 0, 0}), MQRCCF_CFH_TYPE_ERROR},
      {"wrong length", RequestBuilder{}.Integers({1, 40, 1, 13, 1, 1, 0, 0, 0}), MQRCCF_CFH_LENGTH_ERROR},
      {"wrong version", RequestBuilder{}.Integers({1, 36, 4, 13, 1, 1, 0, 0, 0}), MQRCCF_CFH_VERSION_ERROR},
      {"not last", RequestBuilder{}.Integers({1, 36, 1, 13, 1, 0, 0, 0, 0}), MQRCCF_CFH_CONTROL_ERROR},
      {"text longer than its structure", request(1).Integers({4, 24, MQCA_Q_NAME, 0, 5, 0}),
       MQRCCF_CFST_STRING_LENGTH_ERR},
      {"text of negative length", request(1).Integers({4, 24, MQCA_Q_NAME, 0, -5, 0}), MQRCCF_CFST_STRING_LENGTH_ERR},
      {"text beyond the message", request(1).Integers({4, 28, MQCA_Q_NAME, 0, 8, 0}), MQRCCF_CFST_LENGTH_ERROR},
      {"text of no length", request(1).Integers({4, 0, MQCA_Q_NAME}), MQRCCF_CFST_LENGTH_ERROR},
      {"huge list", request(1).Integers({5, 20, MQIACF_Q_ATTRS, 0x40000001, 0}), MQRCCF_CFIL_LENGTH_ERROR},
      {"list of negative count", request(1).Integers({5, 16, MQIACF_Q_ATTRS, -1}), MQRCCF_CFIL_COUNT_ERROR},
      {"list beyond the message", request(1).Integers({5, 0x7FFFFFFC, MQIACF_Q_ATTRS, 1}), MQRCCF_CFIL_LENGTH_ERROR},
      {"integer cut off", request(1).Integers({3, 16, MQIA_Q_TYPE}), MQRCCF_CFIN_LENGTH_ERROR},
      {"half a parameter", request(1).Integers({3, 16}), MQRCCF_MSG_LENGTH_ERROR},
      {"a group", request(1).Integers({20, 16, 1, 1}), MQRCCF_STRUCTURE_TYPE_ERROR},
      {"foreign integer", request(2).Text(MQCA_Q_NAME, "A*").Integers({3, 16, 1, 1}), MQRCCF_CFIN_PARM_ID_ERROR},
      {"foreign text", request(1).Text(MQCA_Q_DESC, "x"), MQRCCF_CFST_PARM_ID_ERROR},
      {"foreign list", request(1).Integers({5, 16, 1, 0}), MQRCCF_CFIL_PARM_ID_ERROR},
      {"no queue type", request(2).Text(MQCA_Q_NAME, "A*").Integers({3, 16, MQIA_Q_TYPE, -3}), MQRCCF_Q_TYPE_ERROR},
      {"no attribute", request(2).Text(MQCA_Q_NAME, "A*").Integers({5, 20, MQIACF_Q_ATTRS, 1, 77}),
       MQRCCF_PARM_VALUE_ERROR},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.What);
    ExpectFailure(test.Request, test.Reason);
  }
  RequestBuilder cut = request(1).Text(MQCA_Q_NAME, "APP.1");
  cut.Bytes.resize(35);
  ExpectFailure(cut, MQRCCF_MSG_LENGTH_ERROR);
  ExpectFailure(request(1).Text(MQCA_Q_NAME, "APP.1"), MQRCCF_MD_FORMAT_ERROR, MQFMT_STRING);
}

TEST_F(CommandServerTest, IsSilentWhenItIsOff) {
  const RequestBuilder request = RequestBuilder{}.Header(MQCMD_INQUIRE_Q, 1).Text(MQCA_Q_NAME, "APP.1");
  EXPECT_EQ(Ask(request).size(), 1U);
  QueueManagerAttributes manager;
  ASSERT_EQ(Admin->ReadQueueManager(manager), MQRC_NONE);
  manager.CommandServer = 0;
  ASSERT_EQ(Admin->AlterQueueManager(manager), MQRC_NONE);
  EXPECT_TRUE(Ask(request).empty());
}

}  // namespace
}  // namespace localmq
