#pragma once

// Carries out MQSC commands on a queue manager, as people who run queue managers expect it:
//
//   DEFINE (DEF) QLOCAL | QALIAS | QREMOTE | QMODEL (name) [attributes] [LIKE(name)] [REPLACE | NOREPLACE]
//   ALTER (ALT) QLOCAL | QALIAS | QREMOTE | QMODEL (name) attributes       ALTER QMGR attributes
//   DELETE QLOCAL | QALIAS | QREMOTE | QMODEL (name) [PURGE | NOPURGE]
//   CLEAR QLOCAL(name)
//   DISPLAY (DIS) QUEUE | QLOCAL | QALIAS | QREMOTE | QMODEL | QSTATUS (generic name) [attributes | ALL] [WHERE(...)]
//   DISPLAY QMGR [attributes | ALL]
//   PING QMGR, and END to stop reading
//
// QL, QA, QR, QM, Q and QS stand for the object types. Each command gets one answer line that begins with a code ending
// in I (done), W (nothing found) or E (not done); a command that is not done changes nothing.

#include <iosfwd>
#include <string_view>

#include "localmq/store.h"

namespace localmq {

struct MqscTotals {
  int Commands{0};
  int SyntaxErrors{0};
  int Failures{0};  // commands that were understood, but could not be carried out
};

// Runs all commands of `input`. `echo` repeats each line of it in the output, with its number.
MqscTotals RunMqsc(Store& store, std::istream& input, std::ostream& output, bool echo);

// The text for the reasons that administration meets, or "reason code <n>".
std::string DescribeReason(MQLONG reason);

}  // namespace localmq
