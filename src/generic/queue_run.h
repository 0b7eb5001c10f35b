#pragma once

// What the generic unload and load share: reading the directory, asking the user, and resetting the run between queues.

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "generic/queue_files.h"
#include "mq/mqi.h"

struct Parameters;
class QMgrConn;

// Calls `take` for the name of every file (not directory) in the run's directory, in order. Returns 0, or
// MQRC_NOT_AUTHORIZED after "Can not scan for files.".
MQLONG ScanDirectory(Parameters& run, const std::function<MQLONG(std::string_view name)>& take);

// Reads the answer to a question that stands on the terminal. False at the end of input, and, after a line that says
// so, without a terminal: both mean no.
bool AskTerminal(Parameters& run, std::string& answer);
// Prints the question and reads the answer: true only when it starts with 'Y' or 'y' (a line end follows then), or
// without a question when the user forces the run (-F).
bool Confirm(Parameters& run, const char* question);

// Whether this run shows progress.
bool ShowsProgress(const Parameters& run);

// Writes a failed queue's outcome on its line ("RC(%d) %s\n") and keeps the reason of the first failure.
void ReportQueueFailure(MQLONG reason, MQLONG& firstFailure);

// Writes the text that the last transfer left, if any, on standard error.
void ShowMessageText(Parameters& run);

// Opens a queue of the run, with a message selector when one is given; a failure is returned as its reason, 0
// otherwise.
MQLONG OpenQueue(QMgrConn& conn, std::string_view queue, std::string_view qmgr, MQLONG options, MQHOBJ& hobj,
                 const std::optional<std::string>& selector = {});
void CloseQueue(QMgrConn& conn, MQHOBJ& hobj);
