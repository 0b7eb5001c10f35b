#include <algorithm>
#include <cstring>
#include <thread>

#include "localmq/test_support.h"

namespace localmq {
namespace {

MQLONG Connect(const char* name, const MQCNO* options, MQHCONN& handle) {
  MQCHAR48 padded;
  SetField(padded, sizeof padded, name);
  MQLONG compCode = 0;
  MQLONG reason = 0;
  MQCNO copy = options == nullptr ? MQCNO() : *options;
  MQCONNX(padded, &copy, &handle, &compCode, &reason);
  return reason;
}

class ConnectTest : public QueueManagerTest {
 protected:
  // Connects, disconnects again, and returns how the connect ended.
  static MQLONG Attempt(const char* name, const MQCNO& options) {
    MQHCONN handle = MQHC_UNUSABLE_HCONN;
    const MQLONG result = Connect(name, &options, handle);
    MQLONG compCode = 0;
    MQLONG reason = 0;
    if (handle != MQHC_UNUSABLE_HCONN) MQDISC(&handle, &compCode, &reason);
    return result;
  }
};

TEST_F(ConnectTest, NamesAndVersions) {
  MQCNO options;
  EXPECT_EQ(Attempt("QM1", options), MQRC_NONE);
  EXPECT_EQ(Attempt("", options), MQRC_NONE) << "the default queue manager";
  EXPECT_EQ(Attempt("NONE", options), MQRC_Q_MGR_NAME_ERROR);
  EXPECT_EQ(Attempt("bad name", options), MQRC_Q_MGR_NAME_ERROR);
  for (MQLONG version = 0; version <= 9; ++version) {
    options.Version = version;
    EXPECT_EQ(Attempt("QM1", options), version >= 1 && version <= 8 ? MQRC_NONE : MQRC_CNO_ERROR) << version;
  }
  SetEnvironment("LOCALMQ_MAX_CNO", "6");
  options.Version = MQCNO_VERSION_7;
  EXPECT_EQ(Attempt("QM1", options), MQRC_CNO_ERROR);
  SetEnvironment("LOCALMQ_MAX_CNO", "");
  options = MQCNO();
  options.Options = MQCNO_HANDLE_SHARE_BLOCK | MQCNO_HANDLE_SHARE_NONE;
  EXPECT_EQ(Attempt("QM1", options), MQRC_OPTIONS_ERROR);
}

TEST_F(ConnectTest, HandlesBelongToTheirThreadUnlessShared) {
  MQHCONN own = MQHC_UNUSABLE_HCONN;
  ASSERT_EQ(Connect("QM1", nullptr, own), MQRC_NONE);
  MQHCONN again = MQHC_UNUSABLE_HCONN;
  EXPECT_EQ(Connect("QM1", nullptr, again), MQRC_ALREADY_CONNECTED);
  EXPECT_EQ(again, own);
  TestConnection shared;
  MQLONG compCode = 0;
  MQLONG ownReason = 0;
  MQLONG sharedReason = 0;
  std::thread([&] {
    MQCMIT(own, &compCode, &ownReason);
    MQCMIT(shared.Handle, &compCode, &sharedReason);
  }).join();
  EXPECT_EQ(ownReason, MQRC_HCONN_ERROR);
  EXPECT_EQ(sharedReason, MQRC_NONE);
  MQLONG reason = 0;
  MQDISC(&own, &compCode, &reason);
  EXPECT_EQ(reason, MQRC_NONE);
  EXPECT_EQ(own, MQHC_UNUSABLE_HCONN);
  MQDISC(&again, &compCode, &reason);
  EXPECT_EQ(reason, MQRC_HCONN_ERROR);
}

class OpenTest : public QueueManagerTest {};

TEST_F(OpenTest, NamesResolveThroughDefinitions) {
  Define("ALIAS", [](QueueAttributes& q) { q.Type = MQQT_ALIAS, q.BaseName = "Q1"; });
  Define("LOST", [](QueueAttributes& q) { q.Type = MQQT_ALIAS, q.BaseName = "NOWHERE"; });
  Define("TWICE", [](QueueAttributes& q) { q.Type = MQQT_ALIAS, q.BaseName = "ALIAS"; });
  Define("XMIT", [](QueueAttributes& q) { q.Usage = 1; });
  Define("FAR", [](QueueAttributes& q) {
    q.Type = MQQT_REMOTE, q.RemoteName = "THERE", q.RemoteQMgrName = "QM9", q.XmitQName = "XMIT";
  });
  Define("FARTHER", [](QueueAttributes& q) { q.Type = MQQT_REMOTE, q.RemoteName = "THERE", q.RemoteQMgrName = "QM8"; });
  Define("BADXMIT", [](QueueAttributes& q) {
    q.Type = MQQT_REMOTE, q.RemoteName = "THERE", q.RemoteQMgrName = "QM8", q.XmitQName = "Q1";
  });
  TestConnection app;
  struct Case {
    const char* Name;
    const char* Manager;
    MQLONG Options;
    MQLONG Reason;
    const char* Resolved;
  };
  const Case cases[] = {
      {"Q1", "", MQOO_INPUT_SHARED, MQRC_NONE, "Q1/QM1"},
      {"Q1", "QM1", MQOO_OUTPUT, MQRC_NONE, "Q1/QM1"},
      {"Q1", "QM9", MQOO_OUTPUT, MQRC_UNKNOWN_REMOTE_Q_MGR, ""},
      {"NONE", "", MQOO_OUTPUT, MQRC_UNKNOWN_OBJECT_NAME, ""},
      {"", "", MQOO_OUTPUT, MQRC_UNKNOWN_OBJECT_NAME, ""},
      {"ALIAS", "", MQOO_OUTPUT, MQRC_NONE, "Q1/QM1"},
      {"LOST", "", MQOO_OUTPUT, MQRC_UNKNOWN_ALIAS_BASE_Q, ""},
      {"LOST", "", MQOO_INQUIRE, MQRC_NONE, nullptr},
      {"TWICE", "", MQOO_OUTPUT, MQRC_ALIAS_BASE_Q_TYPE_ERROR, ""},
      {"FAR", "", MQOO_OUTPUT, MQRC_NONE, "THERE/QM9"},
      {"FAR", "", MQOO_INPUT_SHARED, MQRC_OPTION_NOT_VALID_FOR_TYPE, ""},
      {"FARTHER", "", MQOO_OUTPUT, MQRC_UNKNOWN_REMOTE_Q_MGR, ""},
      {"BADXMIT", "", MQOO_OUTPUT, MQRC_XMIT_Q_USAGE_ERROR, ""},
      {"ANY", "XMIT", MQOO_OUTPUT, MQRC_NONE, "ANY/XMIT"},
      {"Q1", "", 0, MQRC_OPTIONS_ERROR, ""},
      {"Q1", "", MQOO_INPUT_SHARED | MQOO_INPUT_EXCLUSIVE, MQRC_OPTIONS_ERROR, ""},
      {"Q1", "", MQOO_INPUT_SHARED | MQOO_SET_ALL_CONTEXT, MQRC_OPTIONS_ERROR, ""},
      {"Q1", "", MQOO_BROWSE | MQOO_SAVE_ALL_CONTEXT, MQRC_OPTIONS_ERROR, ""},
  };
  for (const Case& test : cases) {
    MQOD descriptor;
    descriptor.Version = MQOD_VERSION_3;
    SetField(descriptor.ObjectName, 48, test.Name);
    SetField(descriptor.ObjectQMgrName, 48, test.Manager);
    MQHOBJ object = MQHO_UNUSABLE_HOBJ;
    MQOPEN(app.Handle, &descriptor, test.Options, &object, &app.CompCode, &app.Reason);
    EXPECT_EQ(app.Reason, test.Reason) << test.Name << "/" << test.Manager << " " << test.Options;
    if (test.Reason == MQRC_NONE && test.Resolved != nullptr) {
      EXPECT_EQ(FieldText(descriptor.ResolvedQName, 48) + "/" + FieldText(descriptor.ResolvedQMgrName, 48),
                test.Resolved);
    }
    if (object != MQHO_UNUSABLE_HOBJ) app.Close(object);
  }
  // A message for a remote queue travels behind a header that names it.
  EXPECT_EQ(app.Put(app.Opened("FAR", MQOO_OUTPUT), "far"), MQRC_NONE);
  EXPECT_EQ(app.Get(app.Opened("XMIT", MQOO_INPUT_SHARED)), MQRC_NONE);
  EXPECT_EQ(FieldText(app.Descriptor.Format, 8), "MQXMIT");
  ASSERT_EQ(app.Text.size(), sizeof(MQXQH) + 3);
  EXPECT_EQ(app.Text.substr(8, 5) + app.Text.substr(sizeof(MQXQH)), "THEREfar");
}

TEST_F(OpenTest, InputIsSharedOrNot) {
  Define("NOSHARE", [](QueueAttributes& q) { q.Shareability = MQQA_NOT_SHAREABLE; });
  TestConnection app;
  TestConnection other;
  MQHOBJ object = 0;
  const MQHOBJ shared = app.Opened("Q1", MQOO_INPUT_SHARED);
  EXPECT_EQ(other.Open("Q1", MQOO_INPUT_SHARED, object), MQRC_NONE);
  EXPECT_EQ(other.Inquire(other.Opened("Q1", MQOO_INQUIRE), MQIA_OPEN_INPUT_COUNT), 2);
  other.Close(object);
  EXPECT_EQ(other.Open("Q1", MQOO_INPUT_EXCLUSIVE, object), MQRC_OBJECT_IN_USE);
  EXPECT_EQ(other.Open("Q1", MQOO_BROWSE, object), MQRC_NONE);
  app.Close(shared);
  EXPECT_EQ(other.Open("Q1", MQOO_INPUT_EXCLUSIVE, object), MQRC_NONE);
  EXPECT_EQ(app.Open("Q1", MQOO_INPUT_AS_Q_DEF, object), MQRC_OBJECT_IN_USE);
  app.Opened("NOSHARE", MQOO_INPUT_SHARED);
  EXPECT_EQ(other.Open("NOSHARE", MQOO_INPUT_SHARED, object), MQRC_OBJECT_IN_USE);
  EXPECT_EQ(Admin->DeleteQueue("NOSHARE", true), MQRC_OBJECT_IN_USE);
}

TEST_F(OpenTest, ModelsMakeQueuesThatLiveAsLongAsTheirHandle) {
  Define("PERM", [](QueueAttributes& q) { q.Type = MQQT_MODEL, q.DefinitionType = MQQDT_PERMANENT_DYNAMIC; });
  TestConnection app;
  const auto open = [&](const char* model, const char* dynamic, std::string& name) {
    MQOD descriptor;
    SetField(descriptor.ObjectName, 48, model);
    SetField(descriptor.DynamicQName, 48, dynamic);
    MQHOBJ object = MQHO_UNUSABLE_HOBJ;
    MQOPEN(app.Handle, &descriptor, MQOO_INPUT_SHARED, &object, &app.CompCode, &app.Reason);
    name = FieldText(descriptor.ObjectName, 48);
    return object;
  };
  std::string first;
  std::string second;
  const MQHOBJ one = open("SYSTEM.DEFAULT.MODEL.QUEUE", "AMQ.*", first);
  open("SYSTEM.DEFAULT.MODEL.QUEUE", "AMQ.*", second);
  EXPECT_EQ(first.substr(0, 4), "AMQ.");
  EXPECT_NE(first, second);
  const MQHOBJ out = app.Opened(first, MQOO_OUTPUT);
  EXPECT_EQ(app.Put(out, "x"), MQRC_PERSISTENT_NOT_ALLOWED);
  EXPECT_EQ(app.Put(out, "x", MQPMO_NO_SYNCPOINT, MQMD()), MQRC_NONE);
  app.Close(out);
  EXPECT_EQ(app.Close(one), MQRC_NONE);
  Queue queue;
  EXPECT_EQ(Admin->FindQueue(first, queue), MQRC_UNKNOWN_OBJECT_NAME);
  app.Disconnect();
  EXPECT_EQ(Admin->FindQueue(second, queue), MQRC_UNKNOWN_OBJECT_NAME);

  TestConnection later;
  app.Handle = later.Handle;
  std::string name;
  const MQHOBJ permanent = open("PERM", "KEEP", name);
  EXPECT_EQ(name, "KEEP");
  open("PERM", "KEEP", name);
  EXPECT_EQ(app.Reason, MQRC_OBJECT_ALREADY_EXISTS);
  later.Put(later.Opened("KEEP", MQOO_OUTPUT), "x");
  EXPECT_EQ(later.Close(permanent, MQCO_DELETE), MQRC_Q_NOT_EMPTY);
  EXPECT_EQ(later.Close(permanent), MQRC_NONE);
  EXPECT_EQ(Admin->FindQueue("KEEP", queue), MQRC_NONE);
  app.Handle = MQHC_UNUSABLE_HCONN;
}

TEST_F(OpenTest, InquiriesAnswerWhatTheObjectHas) {
  Define("ALIAS", [](QueueAttributes& q) { q.Type = MQQT_ALIAS, q.BaseName = "Q1"; });
  Define("Q1", [](QueueAttributes& q) { q.BackoutRequeueName = "Q1.BACK", q.BackoutThreshold = 3; });
  TestConnection app;
  const auto inquire = [&](MQHOBJ object, std::vector<MQLONG> selectors, std::size_t integers, std::size_t characters) {
    std::vector<MQLONG> numbers(integers, -9);
    std::string text(characters, '-');
    MQINQ(app.Handle, object, static_cast<MQLONG>(selectors.size()), selectors.data(), static_cast<MQLONG>(integers),
          numbers.data(), static_cast<MQLONG>(characters), text.data(), &app.CompCode, &app.Reason);
    std::string all = FieldText(text.data(), text.size());
    for (const MQLONG number : numbers) all += " " + std::to_string(number);
    return all;
  };
  const MQHOBJ queue = app.Opened("Q1", MQOO_INQUIRE);
  EXPECT_EQ(
      inquire(queue, {MQCA_BACKOUT_REQ_Q_NAME, MQIA_BACKOUT_THRESHOLD, MQIA_MAX_Q_DEPTH, MQIA_MAX_MSG_LENGTH}, 3, 48),
      "Q1.BACK 3 5000 4194304");
  EXPECT_EQ(app.Reason, MQRC_NONE);
  EXPECT_EQ(inquire(queue, {MQIA_MAX_Q_DEPTH, MQIA_Q_TYPE}, 1, 0), " 5000");
  EXPECT_EQ(app.Reason, MQRC_INT_ATTR_COUNT_TOO_SMALL);
  EXPECT_EQ(inquire(queue, {MQCA_BACKOUT_REQ_Q_NAME}, 0, 4), "Q1.B");
  EXPECT_EQ(app.Reason, MQRC_CHAR_ATTRS_TOO_SHORT);
  for (const MQLONG selector : {MQIA_COMMAND_LEVEL, MQCA_Q_MGR_NAME, 1999, 5000}) {
    inquire(queue, {selector}, 1, 48);
    EXPECT_EQ(app.Reason, MQRC_SELECTOR_ERROR) << selector;
  }
  const MQHOBJ alias = app.Opened("ALIAS", MQOO_INQUIRE);
  EXPECT_EQ(inquire(alias, {MQCA_BASE_Q_NAME, MQIA_Q_TYPE, MQIA_MAX_Q_DEPTH}, 2, 48), "Q1 3 -1");
  EXPECT_EQ(app.Reason, MQRC_SELECTOR_NOT_FOR_TYPE);
  EXPECT_EQ(app.CompCode, MQCC_WARNING);
  EXPECT_EQ(inquire(alias, {MQCA_BACKOUT_REQ_Q_NAME}, 0, 3), "***");

  MQOD manager;
  manager.ObjectType = MQOT_Q_MGR;
  MQHOBJ object = MQHO_UNUSABLE_HOBJ;
  MQOPEN(app.Handle, &manager, MQOO_INQUIRE, &object, &app.CompCode, &app.Reason);
  EXPECT_EQ(inquire(object, {MQCA_Q_MGR_NAME, MQIA_COMMAND_LEVEL, MQIA_PLATFORM}, 2, 48),
            "QM1 940 " + std::to_string(MQPL_NATIVE));
  MQOPEN(app.Handle, &manager, MQOO_OUTPUT, &object, &app.CompCode, &app.Reason);
  EXPECT_EQ(app.Reason, MQRC_OPTION_NOT_VALID_FOR_TYPE);
  inquire(app.Opened("Q1", MQOO_BROWSE), {MQIA_Q_TYPE}, 1, 0);
  EXPECT_EQ(app.Reason, MQRC_NOT_OPEN_FOR_INQUIRE);
}

TEST_F(OpenTest, WhatIsNotOfferedSaysSo) {
  TestConnection app;
  MQHOBJ object = MQHO_UNUSABLE_HOBJ;
  MQHOBJ subscription = MQHO_UNUSABLE_HOBJ;
  MQSUB(app.Handle, nullptr, &object, &subscription, &app.CompCode, &app.Reason);
  EXPECT_EQ(app.Reason, MQRC_FUNCTION_NOT_SUPPORTED);
  MQSET(app.Handle, app.Opened("Q1", MQOO_INQUIRE), 0, nullptr, 0, nullptr, 0, nullptr, &app.CompCode, &app.Reason);
  EXPECT_EQ(app.Reason, MQRC_NOT_OPEN_FOR_SET);
  std::string selection = "Root.MQMD.Priority < 6";
  MQOD selecting;
  selecting.Version = MQOD_VERSION_4;
  SetField(selecting.ObjectName, sizeof selecting.ObjectName, "Q1");
  selecting.SelectionString.VSPtr = selection.data();
  selecting.SelectionString.VSLength = static_cast<MQLONG>(selection.size());
  MQOPEN(app.Handle, &selecting, MQOO_OUTPUT, &object, &app.CompCode, &app.Reason);
  EXPECT_EQ(app.Reason, MQRC_SELECTOR_INVALID_FOR_TYPE);
}

}  // namespace
}  // namespace localmq
