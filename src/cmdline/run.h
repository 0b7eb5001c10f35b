#pragma once

// The run driver: from the command line to the exit code, as the list of steps that it is.

#include "mq/mqi.h"

// Returns the result code of the run: 0, or an MQ reason code.
MQLONG RunTarvo(int argc, char** argv);
