#include "mq/connection.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <optional>

#include "cmdline/parameters.h"
#include "common/console.h"
#include "mq/destinations.h"
#include "mq/option_behind.h"
#include "mq/reasons.h"
#include "platform/interrupt.h"
#include "platform/terminal.h"

namespace {

constexpr std::string_view kApplicationName = "Orvex Software TARVO";
constexpr std::size_t kLongestPassword = 201;
constexpr MQLONG kCnoVersionWithSecurity = 5;
constexpr MQLONG kCnoVersionWithApplName = 7;

// A failed call is always reported, any other only when calls are traced.
void Report(Parameters& run, const QMgrConn& conn, MqStep step, std::string_view call, std::string_view object,
            MQLONG compCode, MQLONG reason) {
  if (compCode == MQCC_FAILED) return ReportFailedCall(run, step, call, conn.QMgrName, object, reason);
  if (run.Asked.Display.TraceCalls) ReportMqCall(run.Screen, call, conn.QMgrName, object, reason);
}

void Trace(Parameters& run, const QMgrConn& conn, std::string_view call, MQLONG reason) {
  if (run.Asked.Display.TraceCalls) ReportMqCall(run.Screen, call, conn.QMgrName, {}, reason);
}

// Asks for name, command level and platform. What cannot be learnt stays unknown; that stops nothing.
void InquireQMgr(Parameters& run, QMgrConn& conn) {
  MQOD od;
  od.ObjectType = MQOT_Q_MGR;
  MQHOBJ hobj = MQHO_UNUSABLE_HOBJ;
  MQLONG compCode = MQCC_FAILED;
  MQLONG reason = MQRC_NONE;
  conn.Api.MQOPEN(conn.Hconn, &od, MQOO_INQUIRE, &hobj, &compCode, &reason);
  Trace(run, conn, "MQOPEN", reason);
  if (compCode == MQCC_FAILED) return;

  const MQLONG selectors[] = {MQCA_Q_MGR_NAME, MQIA_COMMAND_LEVEL, MQIA_PLATFORM};
  MQLONG values[2] = {};
  MQCHAR48 name{};
  conn.Api.MQINQ(conn.Hconn, hobj, 3, selectors, 2, values, sizeof name, name, &compCode, &reason);
  Trace(run, conn, "MQINQ", reason);
  if (compCode != MQCC_FAILED) {
    conn.QMgrName.Assign(NameInField(name, sizeof name));
    conn.CommandLevel = values[0];
    conn.Platform = values[1];
  }
  conn.Api.MQCLOSE(conn.Hconn, &hobj, MQCO_NONE, &compCode, &reason);
  Trace(run, conn, "MQCLOSE", reason);
}

// Reads a password from the console without showing it. False when there is no console, after printing why, or when an
// interrupt came instead.
bool PromptPassword(Parameters& run, const std::string& user, QMgrConn& conn) {
  if (!StdinIsTerminal()) {
    run.Screen.Print("Password prompt not supported for non-stdin file\n");
    return false;
  }
  SecretInput input;
  if (!input.usable()) {
    run.Screen.Print("Can not access input stream for password\n");
    return false;
  }
  if (conn.QMgrName.empty()) {
    run.Screen.Print("Please enter password for User(%s) >", user.c_str());
  } else {
    run.Screen.Print("Please enter password for QM(%s) User(%s) >", conn.QMgrName.c_str(), user.c_str());
  }
  Secret& password = conn.Password.emplace(kLongestPassword);
  while (password.view().size() < kLongestPassword) {
    const int c = input.Read();
    if (c < 0 || c == '\n' || c == '\r') break;
    if (c == '\b') {
      if (password.empty()) continue;
      password.RemoveLast();
      std::fputs("\b \b", stdout);
    } else {
      password.Append(static_cast<char>(c));
      std::fputc('*', stdout);
    }
    std::fflush(stdout);
  }
  std::fputc('\n', stdout);
  std::fflush(stdout);
  run.Screen.AnswerInterrupted = InterruptSignal() != 0;
  return !run.Screen.AnswerInterrupted;
}

// The security parameters for a user; the texts belong to the arguments.
MQCSP SecurityParameters(const std::string& user, const QMgrConn& conn) {
  const std::string_view password = conn.Password->view();
  MQCSP csp;
  csp.AuthenticationType = MQCSP_AUTH_USER_ID_AND_PWD;
  csp.CSPUserIdPtr = const_cast<char*>(user.data());
  csp.CSPUserIdLength = static_cast<MQLONG>(user.size());
  csp.CSPPasswordPtr = const_cast<char*>(password.data());
  csp.CSPPasswordLength = static_cast<MQLONG>(password.size());
  return csp;
}

MQLONG TryConnect(QMgrConn& conn, MQCSP* csp, bool withApplName, MQLONG& compCode) {
  MQCNO cno;
  cno.Options = MQCNO_HANDLE_SHARE_BLOCK;
  if (csp != nullptr) {
    cno.Version = kCnoVersionWithSecurity;
    cno.SecurityParmsPtr = csp;
  }
  if (withApplName) {
    cno.Version = kCnoVersionWithApplName;
    FillField(cno.ApplName, sizeof cno.ApplName, kApplicationName);
  }
  MQCHAR48 name;
  FillField(name, sizeof name, conn.QMgrName, '\0');
  MQHCONN hconn = MQHC_UNUSABLE_HCONN;
  MQLONG reason = MQRC_NONE;
  conn.Api.MQCONNX(name, &cno, &hconn, &compCode, &reason);
  if (compCode != MQCC_FAILED) conn.Hconn = hconn;
  return reason;
}

// The context with which messages are put decides how the output queues are opened.
std::optional<MQLONG> OutputOpenOptions(const Parameters& run) {
  static constexpr struct {
    PutContext Context;
    MQLONG Options;
  } kOptions[] = {
      {PutContext::SetAll, MQOO_OUTPUT | MQOO_SET_ALL_CONTEXT},
      {PutContext::SetAllTimes, MQOO_OUTPUT | MQOO_SET_ALL_CONTEXT},
      {PutContext::SetIdentity, MQOO_OUTPUT | MQOO_SET_IDENTITY_CONTEXT},
      {PutContext::PassAll, MQOO_OUTPUT | MQOO_PASS_ALL_CONTEXT},
      {PutContext::PassIdentity, MQOO_OUTPUT | MQOO_PASS_IDENTITY_CONTEXT},
      {PutContext::Default, MQOO_OUTPUT},
      {PutContext::None, MQOO_OUTPUT},
  };
  for (const auto& row : kOptions) {
    if (run.Asked.Output.Context == row.Context) return row.Options;
  }
  return std::nullopt;
}

// Refuses an output queue, just opened, that leads back to an input queue under another name.
MQLONG CheckLeadsElsewhere(Parameters& run, const MQOD& od) {
  if (!MayFeedItself(run)) return MQRC_NONE;
  if (InputConn(run).QMgrName.view() != NameInField(od.ResolvedQMgrName, sizeof od.ResolvedQMgrName)) return MQRC_NONE;
  for (const QueueElement& input : run.Inputs.Elements) {
    const bool same = input.LocalName.view() == NameInField(od.ResolvedQName, sizeof od.ResolvedQName);
    if (same && !input.LocalName.empty()) return RefuseOntoItself(run, input.QueueName);
  }
  return MQRC_NONE;
}

// The descriptor of a queue of the output list. Where the run may feed itself it has room for what the name leads to.
MQOD DescriptorOf(Parameters& run, const MQOR& entry) {
  MQOD od;
  if (MayFeedItself(run)) od.Version = MQOD_VERSION_3;
  std::copy(std::begin(entry.ObjectName), std::end(entry.ObjectName), od.ObjectName);
  std::copy(std::begin(entry.ObjectQMgrName), std::end(entry.ObjectQMgrName), od.ObjectQMgrName);
  return od;
}

// A distribution list does not tell which queues its names lead to, so each is opened by itself for a moment. Whatever
// else is wrong with one is told when the list is opened.
MQLONG CheckListLeadsElsewhere(Parameters& run, QMgrConn& conn, const QueueList& list) {
  if (!MayFeedItself(run)) return MQRC_NONE;
  for (const MQOR& entry : list.Entries) {
    MQOD od = DescriptorOf(run, entry);
    MQHOBJ hobj = MQHO_UNUSABLE_HOBJ;
    MQLONG compCode = MQCC_FAILED;
    MQLONG reason = MQRC_NONE;
    conn.Api.MQOPEN(conn.Hconn, &od, MQOO_OUTPUT, &hobj, &compCode, &reason);
    if (compCode == MQCC_FAILED) continue;
    conn.Api.MQCLOSE(conn.Hconn, &hobj, MQCO_NONE, &compCode, &reason);
    if (const MQLONG refusal = CheckLeadsElsewhere(run, od); refusal != MQRC_NONE) return refusal;
  }
  return MQRC_NONE;
}

// Opens every destination of the list by itself. All are tried; the reason of the last failure is returned.
MQLONG OpenIndividually(Parameters& run, QMgrConn& conn, QueueList& list, MQLONG options) {
  try {
    list.Elements.assign(list.Entries.size(), QueueElement());
  } catch (const std::bad_alloc&) {
    run.Screen.Print("Can not allocate queue element array. Max Destinations = %d\n", list.Count());
    return MQRC_OPTIONS_ERROR;
  }
  MQLONG result = MQRC_NONE;
  for (std::size_t i = 0; i < list.Entries.size(); ++i) {
    const MQOR& entry = list.Entries[i];
    QueueElement& element = list.Elements[i];
    element.QueueName.Assign(NameInField(entry.ObjectName, sizeof entry.ObjectName));
    MQOD od = DescriptorOf(run, entry);
    MQLONG compCode = MQCC_FAILED;
    MQLONG reason = MQRC_NONE;
    conn.Api.MQOPEN(conn.Hconn, &od, options, &element.Hobj, &compCode, &reason);
    Report(run, conn, MqStep::OpenOutput, "MQOPEN", DestinationText(entry.ObjectQMgrName, entry.ObjectName), compCode,
           reason);
    if (compCode == MQCC_FAILED) {
      element.Hobj = MQHO_UNUSABLE_HOBJ;
      result = reason;
    } else if (const MQLONG refusal = CheckLeadsElsewhere(run, od); refusal != MQRC_NONE) {
      result = refusal;
    }
  }
  return result;
}

// Reports each destination of a distribution list that did not open; returns the last one's reason, 0 without any.
MQLONG ReportFailedDestinations(Parameters& run, const QMgrConn& conn, const QueueList& list) {
  MQLONG result = MQRC_NONE;
  for (std::size_t i = 0; i < list.Responses.size(); ++i) {
    if (list.Responses[i].CompCode != MQCC_FAILED) continue;
    const MQOR& entry = list.Entries[i];
    result = list.Responses[i].Reason;
    const std::string name = DestinationText(entry.ObjectQMgrName, entry.ObjectName);
    ReportFailedCall(run, MqStep::OpenOutput, "MQOPEN", conn.QMgrName, name, result);
  }
  return result;
}

// Opens the local queue that receives the messages for asking its depth.
MQLONG OpenDepthHandle(Parameters& run, QMgrConn& conn, const MQCHAR48& resolvedName) {
  const std::string name(NameInField(resolvedName, sizeof resolvedName));
  MQOD od;
  FillField(od.ObjectName, sizeof od.ObjectName, name, '\0');
  MQLONG compCode = MQCC_FAILED;
  MQLONG reason = MQRC_NONE;
  conn.Api.MQOPEN(conn.Hconn, &od, MQOO_INQUIRE, &run.Pace.RateHobj, &compCode, &reason);
  Report(run, conn, MqStep::Other, "MQOPEN(INQUIRE)", name, compCode, reason);
  if (compCode == MQCC_FAILED) {
    run.Pace.RateHobj = MQHO_UNUSABLE_HOBJ;
    return reason;
  }
  run.Screen.Print("Monitoring depth of queue '%.48s'\n\n", name.c_str());
  return MQRC_NONE;
}

// The list of destinations, with room for what becomes of each. False after printing why.
bool MakeTargetList(Parameters& run) {
  const auto& queues = run.Asked.Output.Queues;
  try {
    run.TargetList = std::make_unique<QueueList>();
    for (const QueueName& queue : queues) run.TargetList->Entries.push_back(ObjectRecord(queue));
    run.TargetList->Responses.assign(queues.size(), MQRR());
  } catch (const std::bad_alloc&) {
    run.Screen.Print("Can not allocate destination array. Max Destinations = %d\n", static_cast<int>(queues.size()));
    return false;
  }
  return true;
}

}  // namespace

QMgrConn& InputConn(Parameters& run) { return run.QMgrs[run.Asked.Input.QMgr]; }
QMgrConn& OutputConn(Parameters& run) { return run.QMgrs[run.Asked.Output.QMgr]; }

MQLONG ConnectQMgr(Parameters& run, int index) {
  const QMgrOptions& asked = run.Asked.QMgrs[index];
  QMgrConn& conn = run.QMgrs[index];
  const std::string library = asked.Library.value_or("");
  std::string explanation;
  if (const int error = LoadMqApi(library, conn.Api, &explanation); error != 0) {
    run.Screen.Print("Error loading MQAPI DLL %s RC(%d)\n%s", library.c_str(), error, explanation.c_str());
    return MQRC_ENVIRONMENT_ERROR;
  }
  MQCSP csp;
  if (asked.UserId) {
    if (!conn.Password && !PromptPassword(run, *asked.UserId, conn)) return MQRC_OPTIONS_ERROR;
    csp = SecurityParameters(*asked.UserId, conn);
  }
  MQCSP* security = asked.UserId ? &csp : nullptr;
  MQLONG compCode = MQCC_FAILED;
  MQLONG reason = TryConnect(conn, security, true, compCode);
  // A library of an earlier version knows no application name in its connect options.
  if (compCode == MQCC_FAILED && reason == MQRC_CNO_ERROR) reason = TryConnect(conn, security, false, compCode);
  conn.Password.reset();
  // A warning ends the run like a failure, so it is told like one.
  const MqStep step = security != nullptr ? MqStep::ConnectUser : MqStep::Other;
  Report(run, conn, step, "MQCONN", {}, reason != MQRC_NONE ? MQCC_FAILED : compCode, reason);
  if (compCode != MQCC_FAILED) InquireQMgr(run, conn);
  return reason;
}

void DisconnectQMgr(Parameters& run, QMgrConn& conn) {
  if (conn.Hconn == MQHC_UNUSABLE_HCONN) return;
  MQLONG compCode = MQCC_FAILED;
  MQLONG reason = MQRC_NONE;
  if (conn.StillDelivers) {
    run.Screen.Print(
        "Queue manager '%s' could not be stopped delivering messages. It is not disconnected, so that what it "
        "has delivered is backed out when this program ends.\n",
        conn.QMgrName.c_str());
    conn.Hconn = MQHC_UNUSABLE_HCONN;
    return;
  }
  if (conn.UnitOpen) {
    conn.Api.MQBACK(conn.Hconn, &compCode, &reason);
    Report(run, conn, MqStep::Other, "MQBACK", {}, compCode, reason);
    if (compCode == MQCC_FAILED) {
      run.Screen.Print(
          "The open unit of work on queue manager '%s' could not be backed out. It is not disconnected, so "
          "that the queue manager backs the unit of work out when this program ends.\n",
          conn.QMgrName.c_str());
      conn.Hconn = MQHC_UNUSABLE_HCONN;
      return;
    }
    conn.UnitOpen = false;
  }
  conn.Api.MQDISC(&conn.Hconn, &compCode, &reason);
  Trace(run, conn, "MQDISC", reason);
  conn.Hconn = MQHC_UNUSABLE_HCONN;
}

bool MayFeedItself(Parameters& run) {
  return run.Asked.Input.HasQueues() && !run.Asked.Log.Given && run.Asked.Output.HasQueues() &&
         run.Asked.Selection.RangeEnd == 0 && InputConn(run).QMgrName.view() == OutputConn(run).QMgrName.view();
}

MQLONG RefuseOntoItself(Parameters& run, std::string_view queue) {
  run.Screen.Print("Sorry, copying or moving queue '%.*s' onto itself would never end, specify a range end\n",
                   static_cast<int>(queue.size()), queue.data());
  return MQRC_OPTIONS_ERROR;
}

MQLONG OpenOutputs(Parameters& run) {
  if (run.Asked.Display.ShowDestinations) ShowDestinations(run.Screen, run.Asked.Output.Queues);
  const std::optional<MQLONG> contextOptions = OutputOpenOptions(run);
  if (!contextOptions.has_value()) return MQRC_OPTIONS_ERROR;
  MQLONG options = *contextOptions;
  QMgrConn& conn = OutputConn(run);
  if (run.Asked.Output.AsList) {
    if (!MakeTargetList(run)) return MQRC_OPTIONS_ERROR;
  } else {
    run.TargetQueueName.Assign(run.Asked.Output.Queues.front().Queue);
    run.TargetQMgrName.Assign(run.Asked.Output.Queues.front().QMgr);
  }
  QueueList* list = run.TargetList.get();

  MQOD od;
  if (list != nullptr) {
    if (run.Asked.Output.Individually) return OpenIndividually(run, conn, *list, options);
    if (const MQLONG refusal = CheckListLeadsElsewhere(run, conn, *list); refusal != MQRC_NONE) return refusal;
    od.Version = MQOD_VERSION_2;
    od.RecsPresent = list->Count();
    od.ObjectRecPtr = list->Entries.data();
    od.ResponseRecPtr = list->Responses.data();
  } else {
    FillField(od.ObjectName, sizeof od.ObjectName, run.TargetQueueName, '\0');
    FillField(od.ObjectQMgrName, sizeof od.ObjectQMgrName, run.TargetQMgrName, '\0');
  }
  const bool adaptiveRate = run.Asked.Pace.Rate == -1;
  if (adaptiveRate) options |= MQOO_RESOLVE_LOCAL_Q;
  if (adaptiveRate || (list == nullptr && MayFeedItself(run))) od.Version = MQOD_VERSION_3;
  MQLONG compCode = MQCC_FAILED;
  MQLONG reason = MQRC_NONE;
  conn.Api.MQOPEN(conn.Hconn, &od, options, &run.OutputHobj, &compCode, &reason);
  const MQLONG failedDestination =
      list != nullptr && reason == MQRC_MULTIPLE_REASONS ? ReportFailedDestinations(run, conn, *list) : MQRC_NONE;
  const std::string object =
      list != nullptr ? "<Distribution List>" : DestinationText(od.ObjectQMgrName, od.ObjectName);
  Report(run, conn, MqStep::OpenOutput, "MQOPEN", object, compCode, reason);
  if (compCode == MQCC_FAILED) {
    run.OutputHobj = MQHO_UNUSABLE_HOBJ;
    return failedDestination != MQRC_NONE ? failedDestination : reason;
  }
  if (failedDestination != MQRC_NONE) return failedDestination;
  if (const MQLONG refusal = CheckLeadsElsewhere(run, od); refusal != MQRC_NONE) return refusal;
  return adaptiveRate ? OpenDepthHandle(run, conn, od.ResolvedQName) : MQRC_NONE;
}
