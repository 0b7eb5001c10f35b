#include <atomic>
#include <thread>

#include "localmq/test_support.h"

namespace localmq {
namespace {

// What a callback was told.
struct Record {
  std::string Seen;  // messages, "." for an empty queue, "!" for another event
  bool DeregisterWhenEmpty{false};
  std::atomic<int> Calls{0};
  std::thread::id Thread;
  MQLONG LastReason{0};
};

extern "C" void Consume(MQHCONN connection, MQMD*, MQGMO*, void* buffer, MQCBC* context) {
  auto& record = *static_cast<Record*>(context->ConnectionArea);
  record.Thread = std::this_thread::get_id();
  if (context->CallType == MQCBCT_MSG_REMOVED || context->CallType == MQCBCT_MSG_NOT_REMOVED) {
    record.Seen.append(static_cast<char*>(buffer), static_cast<std::size_t>(context->DataLength));
  } else if (context->CallType == MQCBCT_EVENT_CALL && context->Reason == MQRC_NO_MSG_AVAILABLE) {
    EXPECT_EQ(context->CompCode, MQCC_WARNING);
    record.Seen += '.';
    if (record.DeregisterWhenEmpty) {
      MQLONG compCode = 0;
      MQLONG reason = 0;
      MQCB(connection, MQOP_DEREGISTER, nullptr, context->Hobj, nullptr, nullptr, &compCode, &reason);
      EXPECT_EQ(reason, MQRC_NONE);
    }
  } else {
    record.Seen += '!';
    record.LastReason = context->Reason;
  }
  ++record.Calls;
}

class ConsumersTest : public QueueManagerTest {
 protected:
  void SetUp() override {
    QueueManagerTest::SetUp();
    app_ = std::make_unique<TestConnection>();
  }
  void TearDown() override {
    app_.reset();
    QueueManagerTest::TearDown();
  }

  void Register(const char* queue, MQLONG options = MQGMO_SYNCPOINT) {
    MQCBD callback;
    callback.CallbackFunction = reinterpret_cast<MQPTR>(&Consume);
    MQMD descriptor;
    MQGMO get;
    get.Options = options | MQGMO_WAIT;
    const MQHOBJ object = app_->Opened(queue, kSharedInput);
    MQCB(app_->Handle, MQOP_REGISTER, &callback, object, &descriptor, &get, &app_->CompCode, &app_->Reason);
    EXPECT_EQ(app_->Reason, MQRC_NONE);
  }
  MQLONG Control(MQLONG operation) {
    MQCTLO options;
    options.ConnectionArea = &record_;
    MQCTL(app_->Handle, operation, &options, &app_->CompCode, &app_->Reason);
    return app_->Reason;
  }
  // In one unit of work: a consumer sees all of them at once, whatever its pace.
  void PutAll(const char* queue, std::string_view texts) {
    TestConnection putter;
    const MQHOBJ object = putter.Opened(queue, MQOO_OUTPUT);
    for (const char text : texts) putter.Put(object, std::string_view(&text, 1), MQPMO_SYNCPOINT);
    EXPECT_EQ(putter.Commit(), MQRC_NONE);
  }
  void AwaitCalls(int count) {
    for (int i = 0; i < 60000 && record_.Calls < count; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    ASSERT_GE(record_.Calls, count);
  }

  std::unique_ptr<TestConnection> app_;
  Record record_;
};

TEST_F(ConsumersTest, StartWaitEndsWhenEveryQueueHasDeregistered) {
  record_.DeregisterWhenEmpty = true;
  for (const char* thread : {"", "caller"}) {
    PutAll("Q1", "abc");
    PutAll("Q2", "xy");
    Register("Q1");
    Register("Q2");
    record_.Seen.clear();
    SetEnvironment("LOCALMQ_CALLBACK_THREAD", thread);
    EXPECT_EQ(Control(MQOP_START_WAIT), MQRC_NO_CALLBACKS_ACTIVE);
    EXPECT_EQ(app_->CompCode, MQCC_FAILED);
    SetEnvironment("LOCALMQ_CALLBACK_THREAD", "");
    EXPECT_EQ(record_.Seen, "axbyc..") << "one message of each queue in turn";
    EXPECT_EQ(record_.Thread == std::this_thread::get_id(), *thread != '\0');
    EXPECT_EQ(app_->Commit(), MQRC_NONE);
    EXPECT_EQ(app_->Browse("Q1") + app_->Browse("Q2"), "");
  }
}

TEST_F(ConsumersTest, StartedConnectionsAreForTheCallbacksOnly) {
  Register("Q1");
  EXPECT_EQ(Control(MQOP_START), MQRC_NONE);
  EXPECT_EQ(app_->Commit(), MQRC_HCONN_ASYNC_ACTIVE);
  EXPECT_EQ(Control(MQOP_START), MQRC_OPERATION_NOT_ALLOWED);
  AwaitCalls(1);
  PutAll("Q1", "late");
  AwaitCalls(6);
  EXPECT_EQ(Control(MQOP_STOP), MQRC_NONE);
  EXPECT_EQ(record_.Seen, ".late.") << "an empty queue is reported once, until something has come";
  PutAll("Q1", "z");
  EXPECT_EQ(app_->Commit(), MQRC_NONE);
  EXPECT_EQ(Control(MQOP_START), MQRC_NONE);
  AwaitCalls(7);
  EXPECT_EQ(app_->Disconnect(), MQRC_NONE);
  EXPECT_EQ(record_.Seen.substr(0, 7), ".late.z");
}

TEST_F(ConsumersTest, BrowseLeavesTheMessagesAndFailuresAreEvents) {
  PutAll("Q1", "ab");
  Register("Q1", MQGMO_BROWSE_NEXT);
  EXPECT_EQ(Control(MQOP_START), MQRC_NONE);
  AwaitCalls(3);
  Define("Q1", [](QueueAttributes& queue) { queue.InhibitGet = MQQA_GET_INHIBITED; });
  AwaitCalls(4);
  EXPECT_EQ(Control(MQOP_STOP), MQRC_NONE);
  EXPECT_EQ(record_.Seen, "ab.!");
  EXPECT_EQ(record_.LastReason, MQRC_GET_INHIBITED);
}

TEST_F(ConsumersTest, RegistrationIsChecked) {
  const MQHOBJ object = app_->Opened("Q1", MQOO_OUTPUT);
  const MQHOBJ input = app_->Opened("Q1", MQOO_INPUT_SHARED);
  const auto attempt = [&](MQLONG operation, MQHOBJ handle, auto change) {
    MQCBD callback;
    callback.CallbackFunction = reinterpret_cast<MQPTR>(&Consume);
    MQMD descriptor;
    MQGMO get;
    change(callback, get);
    MQCB(app_->Handle, operation, &callback, handle, &descriptor, &get, &app_->CompCode, &app_->Reason);
    return app_->Reason;
  };
  const auto nothing = [](MQCBD&, MQGMO&) {};
  EXPECT_EQ(attempt(MQOP_REGISTER, 999, nothing), MQRC_HOBJ_ERROR);
  EXPECT_EQ(attempt(MQOP_REGISTER, object, nothing), MQRC_NOT_OPEN_FOR_INPUT);
  EXPECT_EQ(attempt(MQOP_REGISTER, input, [](MQCBD& c, MQGMO&) { c.Version = 2; }), MQRC_CBD_ERROR);
  EXPECT_EQ(attempt(MQOP_REGISTER, input, [](MQCBD& c, MQGMO&) { c.CallbackFunction = nullptr; }),
            MQRC_CALLBACK_ROUTINE_ERROR);
  EXPECT_EQ(attempt(MQOP_REGISTER, input, [](MQCBD& c, MQGMO&) { c.CallbackType = 7; }), MQRC_CALLBACK_TYPE_ERROR);
  EXPECT_EQ(attempt(MQOP_REGISTER, input, [](MQCBD&, MQGMO& g) { g.Options = MQGMO_BROWSE_NEXT; }),
            MQRC_NOT_OPEN_FOR_BROWSE);
  EXPECT_EQ(attempt(MQOP_DEREGISTER, input, nothing), MQRC_CALLBACK_NOT_REGISTERED);
  EXPECT_EQ(attempt(12345, input, nothing), MQRC_OPERATION_ERROR);
  EXPECT_EQ(Control(MQOP_START_WAIT), MQRC_NO_CALLBACKS_ACTIVE);
  EXPECT_EQ(Control(12345), MQRC_OPERATION_ERROR);
}

}  // namespace
}  // namespace localmq
