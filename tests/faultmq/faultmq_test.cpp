// Puts the faulty library between this process and a local queue manager, as other tests do with the program.

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "localmq/platform.h"
#include "localmq/store.h"
#include "mq/mqi_calls.h"
#include "platform/dynamic_library.h"

namespace {

namespace fs = std::filesystem;

std::string Library(const std::string& folder) {
  return std::string(FAULTMQ_LIBRARIES) + "/" + folder + "/libmqm_r.so";
}

template <typename Call>
Call* Entry(const DynamicLibrary& library, const char* name) {
  return reinterpret_cast<Call*>(library.Entry(name));
}

extern "C" void CountCalls(MQHCONN, MQMD*, MQGMO*, void*, MQCBC* context) {
  if (context->CallType == MQCBCT_MSG_REMOVED) ++*static_cast<int*>(context->CallbackArea);
}

TEST(FaultMq, FailsByScriptAndTraces) {
  const fs::path folder = fs::temp_directory_path() / ("faultmq_test." + std::to_string(localmq::ProcessNumber()));
  setenv("LOCALMQ_DATA", (folder / "mq").c_str(), 1);
  setenv("FAULTMQ_LIBRARY", Library("localmq").c_str(), 1);
  setenv("FAULTMQ_TRACE", (folder / "trace").c_str(), 1);
  setenv("FAULTMQ_SCRIPT", "MQPUT@Q1:2=2053;MQPUT@Q1:4-=warn:2104;MQCMIT@QM1:2=after:2003;MQBACK:1=kill;MQOPEN:2=2035",
         1);
  localmq::QueueManagerAttributes manager;
  manager.Name = "QM1";
  ASSERT_EQ(localmq::CreateQueueManager(manager, false), MQRC_NONE);
  std::unique_ptr<localmq::Store> store;
  ASSERT_EQ(localmq::Store::Open("QM1", store), MQRC_NONE);
  localmq::QueueAttributes attributes;
  attributes.Name = "Q1";
  ASSERT_EQ(store->DefineQueue(attributes, false), MQRC_NONE);

  DynamicLibrary library;
  std::string problem;
  ASSERT_EQ(library.Load(Library("faultmq"), problem), 0) << problem;
  MQLONG code = 0;
  MQLONG reason = 0;
  MQHCONN hconn = 0;
  char name[48] = "QM1";
  Entry<MqConnCall>(library, "MQCONN")(name, &hconn, &code, &reason);
  ASSERT_EQ(reason, MQRC_NONE);
  MQOD od;
  std::memcpy(od.ObjectName, "Q1", 2);
  MQHOBJ hobj = 0;
  MQHOBJ refused = 0;
  const MQLONG options = MQOO_OUTPUT | MQOO_INPUT_SHARED | MQOO_FAIL_IF_QUIESCING;
  Entry<MqOpenCall>(library, "MQOPEN")(hconn, &od, options, &hobj, &code, &reason);
  ASSERT_EQ(reason, MQRC_NONE);
  Entry<MqOpenCall>(library, "MQOPEN")(hconn, &od, options, &refused, &code, &reason);
  EXPECT_EQ(reason, MQRC_NOT_AUTHORIZED);
  EXPECT_EQ(refused, MQHO_UNUSABLE_HOBJ);

  struct Expected {
    MQLONG Code;
    MQLONG Reason;
  };
  const Expected puts[] = {{MQCC_OK, 0}, {MQCC_FAILED, 2053}, {MQCC_OK, 0}, {MQCC_WARNING, 2104}, {MQCC_WARNING, 2104}};
  for (const Expected& expected : puts) {
    MQMD md;
    MQPMO pmo;
    pmo.Options = MQPMO_SYNCPOINT;
    Entry<MqPutCall>(library, "MQPUT")(hconn, hobj, &md, &pmo, 3, "abc", &code, &reason);
    EXPECT_EQ(code, expected.Code);
    EXPECT_EQ(reason, expected.Reason);
  }
  Entry<MqCmitCall>(library, "MQCMIT")(hconn, &code, &reason);
  EXPECT_EQ(reason, MQRC_NONE);
  Entry<MqCmitCall>(library, "MQCMIT")(hconn, &code, &reason);
  EXPECT_EQ(reason, MQRC_BACKED_OUT);
  localmq::QueueStatus status;
  EXPECT_EQ(store->ReadQueueStatus("Q1", status), MQRC_NONE);
  EXPECT_EQ(status.Depth, 4);

  int consumed = 0;
  MQCBD cbd;
  cbd.CallbackFunction = reinterpret_cast<MQPTR>(&CountCalls);
  cbd.CallbackArea = &consumed;
  MQMD md;
  MQGMO gmo;
  gmo.Options = MQGMO_NO_SYNCPOINT | MQGMO_WAIT;
  MQCTLO ctlo;
  Entry<MqCbCall>(library, "MQCB")(hconn, MQOP_REGISTER, &cbd, hobj, &md, &gmo, &code, &reason);
  ASSERT_EQ(reason, MQRC_NONE);
  Entry<MqCtlCall>(library, "MQCTL")(hconn, MQOP_START, &ctlo, &code, &reason);
  ASSERT_EQ(reason, MQRC_NONE);
  for (int i = 0; i < 6000 && store->ReadQueueStatus("Q1", status) == MQRC_NONE && status.Depth > 0; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  Entry<MqCtlCall>(library, "MQCTL")(hconn, MQOP_STOP, &ctlo, &code, &reason);
  EXPECT_EQ(consumed, 4);
  EXPECT_EXIT(Entry<MqBackCall>(library, "MQBACK")(hconn, &code, &reason), testing::KilledBySignal(SIGKILL), "");
  Entry<MqDiscCall>(library, "MQDISC")(&hconn, &code, &reason);
  EXPECT_EQ(reason, MQRC_NONE);

  std::ifstream file(folder / "trace");
  const std::string trace{std::istreambuf_iterator<char>(file), {}};
  const std::string lines[] = {
      "MQCONN #1 qmgr=QM1 cc=0 reason=0\n",
      "MQOPEN #1 qmgr=QM1 object=Q1 od=1 type=1 objectqmgr=- options=8210 cc=0 reason=0\n",
      "MQPUT #2 qmgr=QM1 object=Q1 pmo=1 options=2 context=0 md=1 length=3 cc=2 reason=2053 fault=2053\n",
      "MQPUT #4 qmgr=QM1 object=Q1 pmo=1 options=2 context=0 md=1 length=3 cc=1 reason=2104 fault=warn:2104\n",
      "MQCMIT #2 qmgr=QM1 cc=2 reason=2003 fault=after:2003\n",
      "MQBACK #1 qmgr=QM1 fault=kill\n",
      "MQDISC #1 qmgr=QM1 cc=0 reason=0\n",
  };
  for (const std::string& line : lines) EXPECT_NE(trace.find(line), std::string::npos) << line << "in\n" << trace;
  EXPECT_NE(trace.find("\nCALLBACK #4 qmgr=QM1 object=Q1 calltype=6"), std::string::npos) << trace;
  store.reset();
  fs::remove_all(folder);
}

TEST(FaultMq, VariantsLackEntries) {
  struct Variant {
    const char* Folder;
    std::vector<const char*> Lacks;
  };
  const Variant variants[] = {{"faultmq-without-MQSET", {"MQSET"}},
                              {"faultmq-without-MQCB", {"MQCB", "MQCTL"}},
                              {"faultmq-without-optional", {"MQCONNX", "MQCB", "MQSTAT", "MQINQMP"}}};
  for (const Variant& variant : variants) {
    DynamicLibrary library;
    std::string problem;
    ASSERT_EQ(library.Load(Library(variant.Folder), problem), 0) << problem;
    EXPECT_NE(library.Entry("MQGET"), nullptr);
    for (const char* entry : variant.Lacks) EXPECT_EQ(library.Entry(entry), nullptr) << entry;
  }
}

}  // namespace
