#pragma once

// The command line scanner: walks the arguments in the manner of getopt (letters may be clustered, '/' opens options
// too, an argument may be attached or follow) and hands each option of its table to the option's handler.

#include "mq/mqi.h"

struct Parameters;

struct ParseOutcome {
  bool GoOn;        // to the validation
  MQLONG ExitCode;  // of the stopped run: 0 after the short usage, MQRC_OPTIONS_ERROR after anything else
};

// Fills `run`, whose start time and console are set up already. What is refused has been explained to the user. When
// scanning completes, the banner has been shown and the format self-test has run if it was asked for.
// Pointers into `argv` are kept.
ParseOutcome ParseOptions(Parameters& run, int argc, char** argv);
