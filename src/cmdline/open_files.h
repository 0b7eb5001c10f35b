#pragma once

// The files of a run: opening them, counting plain files first, and closing them.

#include "mq/mqi.h"

struct RunEnd;
struct Parameters;

// Opens the files of the run. Plain files are counted first when there is somebody to look at the count, who is asked
// then. `goOn` is cleared when the run ends here. Returns 0, or the reason of a failure with MessageText.
MQLONG OpenRunFiles(Parameters& run, RunEnd& end, bool& goOn);

// Closes both files; what the output file could not take to the disk is the run's failure if nothing else was.
MQLONG CloseRunFiles(Parameters& run, MQLONG result);
