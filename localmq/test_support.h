#pragma once

// A queue manager for tests, in a folder of its own, and the calls of the interface in short form: each returns its
// reason code, and the completion code is checked against the kind of reason that a test names.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>

#include "localmq/connection.h"
#include "localmq/store.h"
#include "mq/mqi_calls.h"

extern "C" {
MqConnCall MQCONN;
MqConnxCall MQCONNX;
MqDiscCall MQDISC;
MqOpenCall MQOPEN;
MqCloseCall MQCLOSE;
MqInqCall MQINQ;
MqSetCall MQSET;
MqGetCall MQGET;
MqPutCall MQPUT;
MqPut1Call MQPUT1;
MqCmitCall MQCMIT;
MqBackCall MQBACK;
MqCbCall MQCB;
MqCtlCall MQCTL;
MqStatCall MQSTAT;
MqSubCall MQSUB;
}

namespace localmq {

// An empty value takes the variable away.
inline void SetEnvironment(const char* name, const std::string& value) {
#ifdef _WIN32
  _putenv_s(name, value.c_str());
#else
  value.empty() ? unsetenv(name) : setenv(name, value.c_str(), 1);
#endif
}

inline constexpr MQLONG kSharedInput = MQOO_INPUT_SHARED | MQOO_BROWSE;

// One connection to QM1 with the calls that tests use again and again.
class TestConnection {
 public:
  TestConnection() {
    MQCNO options;
    options.Options = MQCNO_HANDLE_SHARE_BLOCK;
    MQCONNX("QM1", &options, &Handle, &CompCode, &Reason);
    EXPECT_EQ(Reason, MQRC_NONE);
  }
  ~TestConnection() { Disconnect(); }
  TestConnection(const TestConnection&) = delete;
  TestConnection& operator=(const TestConnection&) = delete;

  MQLONG Disconnect() {
    MQDISC(&Handle, &CompCode, &Reason);
    return Reason;
  }

  MQLONG Open(std::string_view name, MQLONG options, MQHOBJ& object) {
    MQOD descriptor;
    SetField(descriptor.ObjectName, sizeof descriptor.ObjectName, name);
    MQOPEN(Handle, &descriptor, options, &object, &CompCode, &Reason);
    return Reason;
  }
  MQHOBJ Opened(std::string_view name, MQLONG options) {
    MQHOBJ object = MQHO_UNUSABLE_HOBJ;
    EXPECT_EQ(Open(name, options, object), MQRC_NONE) << name;
    return object;
  }
  MQLONG Close(MQHOBJ object, MQLONG options = MQCO_NONE) {
    MQCLOSE(Handle, &object, options, &CompCode, &Reason);
    return Reason;
  }

  MQLONG Put(MQHOBJ object, std::string_view text, MQLONG options = MQPMO_NO_SYNCPOINT,
             MQMD descriptor = Persistent()) {
    MQPMO put;
    put.Options = options;
    MQPUT(Handle, object, &descriptor, &put, static_cast<MQLONG>(text.size()), text.data(), &CompCode, &Reason);
    return Reason;
  }
  // Gets into Text and Descriptor, which gives what to match.
  MQLONG Get(MQHOBJ object, MQLONG options = MQGMO_NO_SYNCPOINT, MQMD match = MQMD(), MQLONG wait = 0) {
    MQGMO get;
    get.Options = options;
    get.WaitInterval = wait;
    return GetWith(object, get, match);
  }
  MQLONG GetWith(MQHOBJ object, MQGMO& get, MQMD match = MQMD()) {
    Descriptor = match;
    Descriptor.Version = MQMD_VERSION_2;
    Text.assign(BufferLength, '\0');
    MQGET(Handle, object, &Descriptor, &get, BufferLength, Text.data(), &Length, &CompCode, &Reason);
    Text.resize(CompCode == MQCC_FAILED ? 0 : static_cast<std::size_t>(std::min(Length, BufferLength)));
    return Reason;
  }
  MQLONG Commit() {
    MQCMIT(Handle, &CompCode, &Reason);
    return Reason;
  }
  MQLONG BackOut() {
    MQBACK(Handle, &CompCode, &Reason);
    return Reason;
  }
  MQLONG Inquire(MQHOBJ object, MQLONG selector) {
    MQLONG value = -2;
    MQINQ(Handle, object, 1, &selector, 1, &value, 0, nullptr, &CompCode, &Reason);
    return value;
  }
  MQLONG Depth(std::string_view queue) {
    const MQHOBJ object = Opened(queue, MQOO_INQUIRE);
    const MQLONG depth = Inquire(object, MQIA_CURRENT_Q_DEPTH);
    Close(object);
    return depth;
  }
  // All messages on a queue, in delivery order, by browsing: "a,b,c".
  std::string Browse(std::string_view queue) {
    const MQHOBJ object = Opened(queue, MQOO_BROWSE);
    std::string all;
    while (Get(object, MQGMO_BROWSE_NEXT) == MQRC_NONE) all += (all.empty() ? "" : ",") + Text;
    EXPECT_EQ(Reason, MQRC_NO_MSG_AVAILABLE);
    Close(object);
    return all;
  }

  static MQMD Persistent() {
    MQMD descriptor;
    descriptor.Persistence = MQPER_PERSISTENT;
    return descriptor;
  }

  MQHCONN Handle{MQHC_UNUSABLE_HCONN};
  MQLONG CompCode{MQCC_OK};
  MQLONG Reason{MQRC_NONE};
  MQMD Descriptor;
  std::string Text;
  MQLONG Length{0};
  MQLONG BufferLength{4096};
};

// QM1, the default queue manager, with the local queues Q1 and Q2.
class QueueManagerTest : public testing::Test {
 protected:
  void SetUp() override {
    directory_ =
        std::filesystem::temp_directory_path() / ("localmq_test_" + std::to_string(ProcessNumber()) + "_" +
                                                  testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(directory_);
    std::filesystem::create_directories(directory_);
    SetEnvironment("LOCALMQ_DATA", directory_.string());
    QueueManagerAttributes attributes;
    attributes.Name = "QM1";
    ASSERT_EQ(CreateQueueManager(attributes, true), MQRC_NONE);
    ASSERT_EQ(Store::Open("QM1", Admin), MQRC_NONE);
    Define("Q1");
    Define("Q2");
  }
  void TearDown() override {
    Admin.reset();
    std::error_code error;
    std::filesystem::remove_all(directory_, error);
  }

  // Defines a queue, after `change` has set its attributes.
  template <typename Change>
  void Define(const char* name, Change change) {
    QueueAttributes attributes;
    attributes.Name = name;
    change(attributes);
    ASSERT_EQ(Admin->DefineQueue(attributes, true), MQRC_NONE);
  }
  void Define(const char* name) {
    Define(name, [](QueueAttributes&) {});
  }

  std::unique_ptr<Store> Admin;

 private:
  std::filesystem::path directory_;
};

}  // namespace localmq
