#pragma once

// Opening the input queues of a run.

#include "mq/mqi.h"

struct Parameters;

// Opens every queue of InputList into InputList->Elements and asks each for its backout queue and its limits. Where
// inquiring is not allowed, the run goes on without backout processing. On a terminal a run that would empty its queues
// into nothing asks first; a no is MQRC_OBJECT_ALREADY_EXISTS. Returns 0, or the reason of the step that failed, which
// has been reported. Decides whether messages are browsed first and only the selected ones got.
MQLONG OpenInputQueues(Parameters& run);
