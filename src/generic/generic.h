#pragma once

// Whole queue managers by wildcard: every matching queue into a file of its own, and a set of such files back onto
// their queues.

#include <list>
#include <string>

#include "mq/mqi.h"

struct Parameters;

struct GenericState {};

MQLONG GenericUnload(Parameters& run);
MQLONG GenericLoad(Parameters& run);
