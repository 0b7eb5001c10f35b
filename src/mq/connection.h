#pragma once

// Connecting to the queue managers of a run and opening its output side.

#include <optional>
#include <string_view>

#include "common/secret.h"
#include "common/text.h"
#include "mq/api.h"

struct Parameters;

// One queue manager of the run.
struct QMgrConn {
  MqApiTable Api;     // filled when the queue manager is connected
  Text<48> QMgrName;  // as given, then as the queue manager reports itself
  MQHCONN Hconn = MQHC_UNUSABLE_HCONN;
  MQLONG CommandLevel = 0;  // 0: not known
  MQLONG Platform = 0;
  // Whether it gives message properties back as MQRFH2 header.
  bool KnowsProperties() const { return CommandLevel >= 700; }
  std::optional<Secret> Password;  // -U, or what was typed at the prompt; gone after the connect
  // Something was got or put under syncpoint on this connection since its last commit or backout. A disconnect would
  // commit it, so a failed run backs it out first.
  bool UnitOpen = false;
  // Its consumers could not be stopped: they may take messages until the process ends.
  bool StillDelivers = false;
};

// Loads the library, connects (once more with older connect options when they are refused) and asks the queue manager
// for its name, command level and platform. Returns 0, the reason of a connect that failed or ended with a warning
// (reported), MQRC_ENVIRONMENT_ERROR when the library cannot be loaded, or MQRC_OPTIONS_ERROR without a password. The
// password is wiped from memory.
MQLONG ConnectQMgr(Parameters& run, int index);

// Disconnects when connected. A unit of work that is still open is backed out first; when that fails, or consumers may
// add to it all the time, the connection is left to the end of the process, at which the queue manager backs it out,
// and a line says so.
void DisconnectQMgr(Parameters& run, QMgrConn& conn);

// Whether what this run puts could come back to it without end: both sides are on one queue manager, and no end of a
// range bounds what it reads. Then its queues are opened so that the queue manager tells which queue a name leads to.
bool MayFeedItself(Parameters& run);
// Tells that `queue` would be copied or moved onto itself. Returns MQRC_OPTIONS_ERROR.
MQLONG RefuseOntoItself(Parameters& run, std::string_view queue);

// Opens the queue, the distribution list or the individual queues of the output side, and for an adaptive rate the
// inquire handle of the target queue. An output that leads back to an input of the run is refused. Returns 0 or the
// reason (reported).
MQLONG OpenOutputs(Parameters& run);

// The queue manager of the input queues and the one of the output queues (the same for most runs).
QMgrConn& InputConn(Parameters& run);
QMgrConn& OutputConn(Parameters& run);
