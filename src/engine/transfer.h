#pragma once

// The transfer loop: takes one message at a time from the run's single source, offers it to the selection and hands it
// to its one target, under units of work. It owns the order of the steps, the end conditions, the counters and the
// commit or backout at the end.

#include "mq/mqi.h"

struct Parameters;
struct QueueElement;

// Refuses options that do not go together in a transfer; `queue` as below. Returns 0, or a reason with MessageText.
MQLONG CheckTransfer(Parameters& run, const QueueElement* queue);

// Runs the transfer. `queue` is the input queue, or null for file and log input (and for several input queues, which
// the consumer reads). `terminal`: standard input is a terminal. Returns 0 or the reason of the first failing step,
// with its text in MessageText; the counters, Finished and RolledBack tell the rest.
MQLONG TransferMessages(Parameters& run, QueueElement* queue, bool terminal);

// One message that the source has yielded: counts, selects, gets a browsed message, rotates the output file, hands the
// message to its target and keeps the unit of work. Called by the loop and by the consumer's callback.
MQLONG ProcessMessage(Parameters& run, QueueElement* queue, bool terminal);

// Ends a transfer that is to be interrupted, as if its source had no further message. Asked between two messages, and
// wherever a source waits for one; answers whether it did.
bool EndIfInterrupted(Parameters& run);
