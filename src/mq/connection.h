#pragma once

// One queue manager of a run: its library, its connection and the unit of work that is open on it.

#include <optional>
#include <string_view>

#include "common/secret.h"
#include "common/text.h"
#include "mq/api.h"
#include "options/options.h"

class Console;

// How a call ended.
struct CallEnd {
  MQLONG CompCode = MQCC_FAILED;
  MQLONG Reason = MQRC_NONE;
  bool failed() const { return CompCode == MQCC_FAILED; }
  // The reason of a failure, never 0 then; 0 for anything else.
  MQLONG Failure() const {
    if (!failed()) return 0;
    return Reason != 0 ? Reason : MQRC_UNEXPECTED_ERROR;
  }
};

// There is no destructor that disconnects: a disconnect commits, so whoever ends the run decides on it. A connection
// that is left to the end of the process has its unit of work backed out by the queue manager.
class QMgrConn {
 public:
  QMgrConn(const QMgrOptions& asked, const DisplayOptions& display, Console& screen)
      : asked_(asked), display_(display), screen_(screen) {
    QMgrName.Assign(asked.Name);
  }
  QMgrConn(const QMgrConn&) = delete;
  QMgrConn& operator=(const QMgrConn&) = delete;

  // Loads the library, connects (once more with older connect options when they are refused) and asks the queue manager
  // for its name, command level and platform. Returns 0, the reason of a connect that failed or ended with a warning
  // (reported), MQRC_ENVIRONMENT_ERROR when the library cannot be loaded, or MQRC_OPTIONS_ERROR without a password. The
  // password is wiped from memory.
  MQLONG Connect();

  // Disconnects when connected. A unit of work that is still open is backed out first; when that fails, or consumers
  // may add to it all the time, the connection is left to the end of the process, and a line says so.
  void Disconnect();

  // MQCMIT and MQBACK. The unit of work is closed by a commit that ends with MQCC_OK, and by a backout that does not
  // fail. A commit that ends with a warning was backed out, or left its outcome open.
  CallEnd Commit();
  CallEnd Backout();

  // The one line of a call, where calls are traced, or `always`.
  void Trace(std::string_view call, std::string_view object, MQLONG reason, bool always = false) const {
    if (always || TracesCalls()) TellCall(call, object, reason);
  }
  // The line of a call that failed, with the line `hint` below it when there is one; of any other where calls are
  // traced.
  void Report(std::string_view call, std::string_view object, const CallEnd& end, std::string_view hint = {}) const;
  bool TracesCalls() const { return display_.TraceCalls; }
  Console& screen() const { return screen_; }

  // Whether it gives message properties back as MQRFH2 header.
  bool KnowsProperties() const { return CommandLevel >= 700; }

  MqApiTable Api;     // filled when the queue manager is connected
  Text<48> QMgrName;  // as given, then as the queue manager reports itself
  MQHCONN Hconn = MQHC_UNUSABLE_HCONN;
  MQLONG CommandLevel = 0;  // 0: not known
  MQLONG Platform = 0;
  std::optional<Secret> Password;  // -U, or what was typed at the prompt; gone after the connect
  // Something was got or put under syncpoint on this connection since its last commit or backout. A disconnect would
  // commit it, so a failed run backs it out first.
  bool UnitOpen = false;
  // Its consumers could not be stopped: they may take messages until the process ends.
  bool StillDelivers = false;

 private:
  void TellCall(std::string_view call, std::string_view object, MQLONG reason) const;
  void Inquire();
  bool PromptPassword();
  MQCSP UserAndPassword() const;
  CallEnd TryConnect(MQCSP* csp, bool withApplName);
  CallEnd CallMqback();

  const QMgrOptions& asked_;
  const DisplayOptions& display_;
  Console& screen_;
};
