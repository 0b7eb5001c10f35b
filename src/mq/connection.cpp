#include "mq/connection.h"

#include <cstdio>
#include <string>

#include "common/console.h"
#include "mq/reasons.h"
#include "platform/interrupt.h"
#include "platform/terminal.h"

namespace {

constexpr std::string_view kApplicationName = "Orvex Software TARVO";
constexpr std::size_t kLongestPassword = 201;
constexpr MQLONG kCnoVersionWithSecurity = 5;
constexpr MQLONG kCnoVersionWithApplName = 7;

}  // namespace

void QMgrConn::TellCall(std::string_view call, std::string_view object, MQLONG reason) const {
  ReportMqCall(screen_, call, QMgrName, object, reason);
}

void QMgrConn::Report(std::string_view call, std::string_view object, const CallEnd& end, std::string_view hint) const {
  Trace(call, object, end.Reason, end.failed());
  if (end.failed() && !hint.empty()) screen_.PrintText(std::string(hint) + '\n');
}

MQLONG QMgrConn::Connect() {
  const std::string library = asked_.Library.value_or("");
  std::string explanation;
  if (const int error = LoadMqApi(library, Api, &explanation); error != 0) {
    screen_.Print("Error loading MQAPI DLL %s RC(%d)\n%s", library.c_str(), error, explanation.c_str());
    return MQRC_ENVIRONMENT_ERROR;
  }
  MQCSP csp;
  if (asked_.UserId) {
    if (!Password && !PromptPassword()) return MQRC_OPTIONS_ERROR;
    csp = UserAndPassword();
  }
  MQCSP* security = asked_.UserId ? &csp : nullptr;
  CallEnd end = TryConnect(security, true);
  // A library of an earlier version knows no application name in its connect options.
  if (end.failed() && end.Reason == MQRC_CNO_ERROR) end = TryConnect(security, false);
  Password.reset();
  // A warning ends the run like a failure, so it is told like one.
  const CallEnd told{end.Reason != MQRC_NONE ? MQCC_FAILED : end.CompCode, end.Reason};
  const bool refusesUser = asked_.UserId && end.Reason == MQRC_NOT_AUTHORIZED;
  Report("MQCONN", {}, told, refusesUser ? "Option -u names the user." : "");
  if (!end.failed()) Inquire();
  return end.Reason;
}

void QMgrConn::Disconnect() {
  if (Hconn == MQHC_UNUSABLE_HCONN) return;
  if (StillDelivers) {
    screen_.Print(
        "Queue manager '%s' could not be stopped delivering messages. It is not disconnected, so that what it "
        "has delivered is backed out when this program ends.\n",
        QMgrName.c_str());
    Hconn = MQHC_UNUSABLE_HCONN;
    return;
  }
  if (UnitOpen) {
    const CallEnd end = CallMqback();
    Report("MQBACK", {}, end);
    if (end.failed()) {
      screen_.Print(
          "The open unit of work on queue manager '%s' could not be backed out. It is not disconnected, so "
          "that the queue manager backs the unit of work out when this program ends.\n",
          QMgrName.c_str());
      Hconn = MQHC_UNUSABLE_HCONN;
      return;
    }
  }
  CallEnd end;
  Api.MQDISC(&Hconn, &end.CompCode, &end.Reason);
  Trace("MQDISC", {}, end.Reason);
  Hconn = MQHC_UNUSABLE_HCONN;
}

CallEnd QMgrConn::Commit() {
  CallEnd end;
  Api.MQCMIT(Hconn, &end.CompCode, &end.Reason);
  Trace("MQCMIT", {}, end.Reason);
  if (end.CompCode == MQCC_OK) UnitOpen = false;
  return end;
}

CallEnd QMgrConn::Backout() {
  const CallEnd end = CallMqback();
  Trace("MQBACK", {}, end.Reason);
  return end;
}

CallEnd QMgrConn::CallMqback() {
  CallEnd end;
  Api.MQBACK(Hconn, &end.CompCode, &end.Reason);
  if (!end.failed()) UnitOpen = false;
  return end;
}

// Asks for name, command level and platform. What cannot be learnt stays unknown; that stops nothing.
void QMgrConn::Inquire() {
  MQOD od;
  od.ObjectType = MQOT_Q_MGR;
  MQHOBJ hobj = MQHO_UNUSABLE_HOBJ;
  CallEnd end;
  Api.MQOPEN(Hconn, &od, MQOO_INQUIRE, &hobj, &end.CompCode, &end.Reason);
  Trace("MQOPEN", {}, end.Reason);
  if (end.failed()) return;

  const MQLONG selectors[] = {MQCA_Q_MGR_NAME, MQIA_COMMAND_LEVEL, MQIA_PLATFORM};
  MQLONG values[2] = {};
  MQCHAR48 name{};
  Api.MQINQ(Hconn, hobj, 3, selectors, 2, values, sizeof name, name, &end.CompCode, &end.Reason);
  Trace("MQINQ", {}, end.Reason);
  if (!end.failed()) {
    QMgrName.Assign(NameInField(name, sizeof name));
    CommandLevel = values[0];
    Platform = values[1];
  }
  Api.MQCLOSE(Hconn, &hobj, MQCO_NONE, &end.CompCode, &end.Reason);
  Trace("MQCLOSE", {}, end.Reason);
}

// Reads a password from the console without showing it. False when there is no console, after printing why, or when an
// interrupt came instead.
bool QMgrConn::PromptPassword() {
  if (!StdinIsTerminal()) {
    screen_.Print("Password prompt not supported for non-stdin file\n");
    return false;
  }
  SecretInput input;
  if (!input.usable()) {
    screen_.Print("Can not access input stream for password\n");
    return false;
  }
  if (QMgrName.empty()) {
    screen_.Print("Please enter password for User(%s) >", asked_.UserId->c_str());
  } else {
    screen_.Print("Please enter password for QM(%s) User(%s) >", QMgrName.c_str(), asked_.UserId->c_str());
  }
  Secret& password = Password.emplace(kLongestPassword);
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
  screen_.AnswerInterrupted = InterruptSignal() != 0;
  return !screen_.AnswerInterrupted;
}

// The security parameters for the user; the texts stay where they are.
MQCSP QMgrConn::UserAndPassword() const {
  const std::string_view password = Password->view();
  MQCSP csp;
  csp.AuthenticationType = MQCSP_AUTH_USER_ID_AND_PWD;
  csp.CSPUserIdPtr = const_cast<char*>(asked_.UserId->data());
  csp.CSPUserIdLength = static_cast<MQLONG>(asked_.UserId->size());
  csp.CSPPasswordPtr = const_cast<char*>(password.data());
  csp.CSPPasswordLength = static_cast<MQLONG>(password.size());
  return csp;
}

CallEnd QMgrConn::TryConnect(MQCSP* csp, bool withApplName) {
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
  FillField(name, sizeof name, QMgrName, '\0');
  MQHCONN hconn = MQHC_UNUSABLE_HCONN;
  CallEnd end;
  Api.MQCONNX(name, &cno, &hconn, &end.CompCode, &end.Reason);
  if (!end.failed()) Hconn = hconn;
  return end;
}
