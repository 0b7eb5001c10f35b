#pragma once

// The road from an exported entry to the call behind it: finds and locks the connection, keeps exceptions inside, and
// stores how the call ended.

#include <new>

#include "localmq/calls.h"

namespace localmq {

inline void Finish(const Outcome& outcome, MQLONG* compCode, MQLONG* reason) {
  if (compCode != nullptr) *compCode = outcome.CompCode;
  if (reason != nullptr) *reason = outcome.Reason;
}

// Runs a call that needs no connection.
template <typename Call>
void Run(MQLONG* compCode, MQLONG* reason, Call call) {
  Outcome outcome;
  try {
    outcome = call();
  } catch (const std::bad_alloc&) {
    outcome = Failed(MQRC_STORAGE_NOT_AVAILABLE);
  } catch (...) {
    outcome = Failed(MQRC_UNEXPECTED_ERROR);
  }
  Finish(outcome, compCode, reason);
}

// A connection that this thread may use now, locked; or the reason why it may not.
struct Admission {
  std::shared_ptr<Connection> Admitted;
  std::unique_lock<std::recursive_mutex> Lock;
  MQLONG Reason{MQRC_NONE};
};
Admission Admit(MQHCONN handle);

// MQCTL and MQDISC, which find their own way to the connection: a consumer may be running on it.
Outcome ControlConsumers(MQHCONN handle, MQLONG operation, const MQCTLO* options);
Outcome EndConnection(MQHCONN* handle);

// Runs a call on a connection: `call` takes it and returns an Outcome.
template <typename Call>
void RunOn(MQHCONN handle, MQLONG* compCode, MQLONG* reason, Call call) {
  Run(compCode, reason, [&]() -> Outcome {
    const Admission admission = Admit(handle);
    if (admission.Reason != MQRC_NONE) return Failed(admission.Reason);
    return call(*admission.Admitted);
  });
}

}  // namespace localmq
