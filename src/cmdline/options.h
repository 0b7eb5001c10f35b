#pragma once

// The command line scanner: walks the arguments in the manner of getopt (letters may be clustered, an argument may be
// attached or follow, "--" ends the options; on Windows '/' opens options too) and hands each option of its table to
// the option's handler.

#include "common/paths.h"
#include "mq/mqi.h"

struct CommandLine;

struct ParseOutcome {
  bool GoOn;        // to the validation
  MQLONG ExitCode;  // of the stopped run: 0 where there were no arguments, MQRC_OPTIONS_ERROR after anything else
};

// Takes the passwords out of `argv` before anything else, so that neither the system's list of processes nor the echo
// of the arguments shows one, and echoes the arguments where that is asked for. Then fills `run`, whose start time and
// console are set up already. What is refused has been explained to the user. When scanning completes, the banner has
// been shown and the format self-test has run if it was asked for. Pointers into `argv` are kept; its strings stand one
// behind the other in memory, as the system lays them out.
ParseOutcome ParseOptions(CommandLine& line, int argc, char** argv, PathStyle style = NativePathStyle());
