#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

#include "localmq/test_support.h"

namespace localmq {
namespace {

class GetTest : public QueueManagerTest {
 protected:
  void SetUp() override {
    QueueManagerTest::SetUp();
    app_ = std::make_unique<TestConnection>();
    out_ = app_->Opened("Q1", MQOO_OUTPUT);
    in_ = app_->Opened("Q1", kSharedInput);
  }
  void TearDown() override {
    app_.reset();
    QueueManagerTest::TearDown();
  }

  std::unique_ptr<TestConnection> app_;
  MQHOBJ out_{0};
  MQHOBJ in_{0};
};

TEST_F(GetTest, TheCursorMovesByBrowsingAndOutlivesItsMessage) {
  EXPECT_EQ(app_->Get(in_, MQGMO_MSG_UNDER_CURSOR), MQRC_NO_MSG_UNDER_CURSOR);
  for (const char* text : {"a", "b", "c", "d"}) app_->Put(out_, text);
  struct Step {
    MQLONG Options;
    MQLONG Reason;
    const char* Text;
  };
  const Step steps[] = {
      {MQGMO_BROWSE_NEXT, MQRC_NONE, "a"},
      {MQGMO_BROWSE_NEXT, MQRC_NONE, "b"},
      {MQGMO_BROWSE_MSG_UNDER_CURSOR, MQRC_NONE, "b"},
      {MQGMO_MSG_UNDER_CURSOR | MQGMO_SYNCPOINT, MQRC_NONE, "b"},
      {MQGMO_MSG_UNDER_CURSOR | MQGMO_SYNCPOINT, MQRC_NO_MSG_UNDER_CURSOR, ""},
      {MQGMO_BROWSE_NEXT, MQRC_NONE, "c"},
      {MQGMO_SYNCPOINT, MQRC_NONE, "a"},
      {MQGMO_BROWSE_FIRST, MQRC_NONE, "c"},
      {MQGMO_BROWSE_NEXT, MQRC_NONE, "d"},
      {MQGMO_BROWSE_NEXT, MQRC_NO_MSG_AVAILABLE, ""},
      {MQGMO_BROWSE_MSG_UNDER_CURSOR, MQRC_NONE, "d"},
  };
  for (const Step& step : steps) {
    EXPECT_EQ(app_->Get(in_, step.Options), step.Reason) << step.Options;
    EXPECT_EQ(app_->Text, step.Text);
  }
  EXPECT_EQ(app_->BackOut(), MQRC_NONE);
  EXPECT_EQ(app_->Browse("Q1"), "a,b,c,d");
}

TEST_F(GetTest, ATooShortBufferLeavesTheMessageUnlessItIsAccepted) {
  app_->Put(out_, "0123456789");
  app_->Put(out_, "next");
  app_->BufferLength = 4;
  EXPECT_EQ(app_->Get(in_, MQGMO_BROWSE_NEXT), MQRC_TRUNCATED_MSG_FAILED);
  EXPECT_EQ(app_->Length, 10);
  EXPECT_EQ(app_->Get(in_, MQGMO_BROWSE_NEXT | MQGMO_ACCEPT_TRUNCATED_MSG), MQRC_TRUNCATED_MSG_ACCEPTED);
  EXPECT_EQ(app_->CompCode, MQCC_WARNING);
  EXPECT_EQ(app_->Text, "0123") << "the cursor had not moved";
  EXPECT_EQ(app_->Get(in_, MQGMO_BROWSE_NEXT), MQRC_NONE);
  EXPECT_EQ(app_->Text, "next") << "the cursor had moved";
  EXPECT_EQ(app_->Get(in_, MQGMO_SYNCPOINT), MQRC_TRUNCATED_MSG_FAILED);
  EXPECT_EQ(app_->Get(in_, MQGMO_SYNCPOINT | MQGMO_ACCEPT_TRUNCATED_MSG), MQRC_TRUNCATED_MSG_ACCEPTED);
  EXPECT_EQ(app_->Commit(), MQRC_NONE);
  EXPECT_EQ(app_->Depth("Q1"), 1);
}

TEST_F(GetTest, IdentifiersSelect) {
  const auto put = [&](char text, char id, char correlation, char group) {
    MQMD descriptor;
    descriptor.Version = MQMD_VERSION_2;
    descriptor.MsgFlags = MQMF_MSG_IN_GROUP;
    std::memset(descriptor.MsgId, id, sizeof descriptor.MsgId);
    std::memset(descriptor.CorrelId, correlation, sizeof descriptor.CorrelId);
    std::memset(descriptor.GroupId, group, sizeof descriptor.GroupId);
    EXPECT_EQ(app_->Put(out_, std::string_view(&text, 1), MQPMO_NO_SYNCPOINT, descriptor), MQRC_NONE);
  };
  put('a', 1, 5, 8);
  put('b', 2, 5, 9);
  put('c', 2, 6, 9);
  struct Case {
    char MsgId, CorrelId, GroupId;
    MQLONG Version, Match;
    const char* Text;  // null when nothing fits
  };
  const MQLONG both = MQMO_MATCH_MSG_ID | MQMO_MATCH_CORREL_ID;
  const Case cases[] = {
      {0, 0, 0, 1, both, "a"},
      {2, 0, 0, 1, both, "b"},
      {2, 6, 0, 1, both, "c"},
      {1, 6, 0, 1, both, nullptr},
      {2, 6, 0, 1, MQMO_NONE, "c"},  // version 1 does not look at match options
      {2, 6, 0, 2, MQMO_NONE, "a"},
      {2, 6, 0, 2, MQMO_MATCH_MSG_ID, "b"},
      {0, 0, 9, 2, both | MQMO_MATCH_GROUP_ID, "b"},
      {0, 0, 9, 2, both, "a"},
      {0, 0, 7, 2, MQMO_MATCH_GROUP_ID, nullptr},
  };
  for (const Case& test : cases) {
    MQMD match;
    std::memset(match.MsgId, test.MsgId, sizeof match.MsgId);
    std::memset(match.CorrelId, test.CorrelId, sizeof match.CorrelId);
    std::memset(match.GroupId, test.GroupId, sizeof match.GroupId);
    MQGMO get;
    get.Version = test.Version;
    get.MatchOptions = test.Match;
    get.Options = MQGMO_BROWSE_FIRST;
    EXPECT_EQ(app_->GetWith(in_, get, match), test.Text == nullptr ? MQRC_NO_MSG_AVAILABLE : MQRC_NONE);
    EXPECT_EQ(app_->Text, test.Text == nullptr ? "" : test.Text);
  }
}

TEST_F(GetTest, WaitsAreEndedByAnotherConnection) {
  using namespace std::chrono;
  std::thread putter([] {
    std::this_thread::sleep_for(milliseconds(150));
    TestConnection other;
    other.Put(other.Opened("Q1", MQOO_OUTPUT), "woken");
  });
  const auto start = steady_clock::now();
  EXPECT_EQ(app_->Get(in_, MQGMO_WAIT, MQMD(), 120000), MQRC_NONE);
  EXPECT_LT(steady_clock::now() - start, seconds(60));
  EXPECT_EQ(app_->Text, "woken");
  putter.join();
  const auto again = steady_clock::now();
  EXPECT_EQ(app_->Get(in_, MQGMO_WAIT, MQMD(), 120), MQRC_NO_MSG_AVAILABLE);
  EXPECT_GE(steady_clock::now() - again, milliseconds(120));
}

TEST_F(GetTest, NothingBeyondTheVersionIsTouched) {
  MQMD sent;
  sent.Version = MQMD_VERSION_2;
  sent.MsgFlags = MQMF_LAST_MSG_IN_GROUP;
  sent.MsgSeqNumber = 7;
  app_->Put(out_, "text", MQPMO_NO_SYNCPOINT, sent);
  struct Guarded {
    std::uint8_t Bytes[512];
  };
  Guarded descriptor;
  Guarded options;
  std::memset(&descriptor, 0xAB, sizeof descriptor);
  std::memset(&options, 0xAB, sizeof options);
  const MQMD one;
  MQGMO get;
  get.Options = MQGMO_BROWSE_FIRST;
  std::memcpy(&descriptor, &one, MQMD_LENGTH_1);
  std::memcpy(&options, &get, MQGMO_LENGTH_1);
  char buffer[16];
  MQGET(app_->Handle, in_, reinterpret_cast<MQMD*>(&descriptor), reinterpret_cast<MQGMO*>(&options), sizeof buffer,
        buffer, &app_->Length, &app_->CompCode, &app_->Reason);
  EXPECT_EQ(app_->Reason, MQRC_NONE);
  for (std::size_t i = MQMD_LENGTH_1; i < sizeof descriptor; ++i) EXPECT_EQ(descriptor.Bytes[i], 0xAB) << i;
  for (std::size_t i = MQGMO_LENGTH_1; i < sizeof options; ++i) EXPECT_EQ(options.Bytes[i], 0xAB) << i;
  EXPECT_EQ(reinterpret_cast<MQMD*>(&descriptor)->Version, MQMD_VERSION_1);
  app_->Get(in_);
  EXPECT_EQ(app_->Descriptor.MsgSeqNumber, 7);
}

TEST_F(GetTest, ExpiredMessagesVanish) {
  MQMD brief = TestConnection::Persistent();
  brief.Expiry = 1;
  MQMD longer = brief;
  longer.Expiry = 36000;
  app_->Put(out_, "brief", MQPMO_NO_SYNCPOINT, brief);
  app_->Put(out_, "longer", MQPMO_NO_SYNCPOINT, longer);
  std::this_thread::sleep_for(std::chrono::milliseconds(250));
  EXPECT_EQ(app_->Get(in_), MQRC_NONE);
  EXPECT_EQ(app_->Text, "longer");
  EXPECT_GT(app_->Descriptor.Expiry, 35000);
  EXPECT_LT(app_->Descriptor.Expiry, 36000) << "the time on the queue is taken off";
  EXPECT_EQ(app_->Get(in_), MQRC_NO_MSG_AVAILABLE);
  EXPECT_EQ(app_->Depth("Q1"), 0);
}

TEST_F(GetTest, TextIsConverted) {
  struct Case {
    const char* Format;
    MQLONG From;
    std::string Bytes;
    MQLONG To;
    MQLONG Reason;
    std::string Expected;
  };
  const Case cases[] = {
      {MQFMT_STRING, 819, "caf\xE9", 1208, MQRC_NONE, "caf\xC3\xA9"},
      {MQFMT_STRING, 500, "\xC8\x85\x93\x93\x96", 1208, MQRC_NONE, "Hello"},
      {MQFMT_STRING, 1208, "Hello", 37, MQRC_NONE, "\xC8\x85\x93\x93\x96"},
      {MQFMT_STRING, 1208, "plain", 1208, MQRC_NONE, "plain"},
      {MQFMT_STRING, 1208, "\xE2\x82\xAC", 819, MQRC_NOT_CONVERTED, "\xE2\x82\xAC"},
      {MQFMT_STRING, 1208, "odd", 99999, MQRC_NOT_CONVERTED, "odd"},
      {MQFMT_NONE, 819, "raw", 1208, MQRC_FORMAT_ERROR, "raw"},
  };
  for (const Case& test : cases) {
    MQMD descriptor = TestConnection::Persistent();
    descriptor.CodedCharSetId = test.From;
    SetField(descriptor.Format, sizeof descriptor.Format, test.Format);
    app_->Put(out_, test.Bytes, MQPMO_NO_SYNCPOINT, descriptor);
    MQMD wanted;
    wanted.CodedCharSetId = test.To;
    EXPECT_EQ(app_->Get(in_, MQGMO_CONVERT, wanted), test.Reason) << test.Bytes;
    EXPECT_EQ(app_->Text, test.Expected);
    EXPECT_EQ(app_->Descriptor.CodedCharSetId, test.Reason == MQRC_NONE ? test.To : test.From);
  }
}

TEST_F(GetTest, WrongCallsAreRefused) {
  app_->Put(out_, "text");
  const MQHOBJ browse = app_->Opened("Q1", MQOO_BROWSE);
  struct Case {
    MQHOBJ Object;
    MQLONG Options;
    MQLONG Reason;
  };
  const Case cases[] = {
      {9999, 0, MQRC_HOBJ_ERROR},
      {out_, 0, MQRC_NOT_OPEN_FOR_INPUT},
      {browse, MQGMO_SYNCPOINT, MQRC_NOT_OPEN_FOR_INPUT},
      {out_, MQGMO_BROWSE_NEXT, MQRC_NOT_OPEN_FOR_BROWSE},
      {in_, MQGMO_BROWSE_NEXT | MQGMO_BROWSE_FIRST, MQRC_OPTIONS_ERROR},
      {in_, MQGMO_BROWSE_NEXT | MQGMO_SYNCPOINT, MQRC_OPTIONS_ERROR},
      {in_, MQGMO_SYNCPOINT | MQGMO_NO_SYNCPOINT, MQRC_OPTIONS_ERROR},
      {in_, MQGMO_MSG_UNDER_CURSOR | MQGMO_BROWSE_NEXT, MQRC_OPTIONS_ERROR},
      {in_, MQGMO_SET_SIGNAL, MQRC_OPTIONS_ERROR},
  };
  for (const Case& test : cases) EXPECT_EQ(app_->Get(test.Object, test.Options), test.Reason) << test.Options;
  EXPECT_EQ(app_->Get(in_, MQGMO_WAIT, MQMD(), -7), MQRC_WAIT_INTERVAL_ERROR);

  const auto attempt = [&](auto change) {
    MQGMO get;
    MQMD descriptor;
    char buffer[8];
    change(descriptor, get);
    MQGET(app_->Handle, in_, &descriptor, &get, sizeof buffer, buffer, &app_->Length, &app_->CompCode, &app_->Reason);
    return app_->Reason;
  };
  EXPECT_EQ(attempt([](MQMD& md, MQGMO&) { md.StrucId[0] = 'X'; }), MQRC_MD_ERROR);
  EXPECT_EQ(attempt([](MQMD& md, MQGMO&) { md.Version = 3; }), MQRC_MD_ERROR);
  EXPECT_EQ(attempt([](MQMD&, MQGMO& get) { get.Version = 5; }), MQRC_GMO_ERROR);
  EXPECT_EQ(attempt([](MQMD&, MQGMO& get) { get.StrucId[3] = 'X'; }), MQRC_GMO_ERROR);
  const auto matchGroup = [](MQMD&, MQGMO& get) {
    get.Version = MQGMO_VERSION_2;
    get.MatchOptions = MQMO_MATCH_GROUP_ID;
  };
  EXPECT_EQ(attempt(matchGroup), MQRC_WRONG_MD_VERSION);

  Define("Q1", [](QueueAttributes& queue) { queue.InhibitGet = MQQA_GET_INHIBITED; });
  EXPECT_EQ(app_->Get(in_), MQRC_GET_INHIBITED);
  Define("Q1");
  EXPECT_EQ(app_->Get(in_), MQRC_NONE);
}

}  // namespace
}  // namespace localmq
