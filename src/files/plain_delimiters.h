#pragma once

// The delimiters of a plain file, made from what the user typed.

#include "common/result.h"
#include "files/plain_scan.h"
#include "options/options.h"

// Ready for scanning; those that are not given have no bytes. A file that is taken whole has none.
struct PlainDelimiters {
  DelimiterRule StartMessage, EndMessage, StartProperty, EndProperty;
};

// "\13" in what was typed is the byte 13, "\n" a line feed, "\\" a backslash. Refuses, with MQRCCF_PARM_VALUE_ERROR,
// what is no delimiter and delimiters that do not go together.
Result MakePlainDelimiters(const PlainFileOptions& asked, PlainDelimiters& delimiters);
