#pragma once

// The queues of a run against the names of its queue managers, as they were given or as the queue managers tell them.

#include <string_view>

#include "common/console.h"
#include "options/options.h"

struct QMgrNames {
  std::string_view Input, Output;
};

// Refuses a run whose input queues are fed by its own output, since it would never end; a message range that ends lets
// it. Returns false after printing why. Made with the names as given, and again when the queue managers have told
// theirs.
bool CheckNotOntoItself(const Options& asked, const QMgrNames& names, Console& screen);

// Whether what this run puts could come back to it without end: both sides are on one queue manager, and no end of a
// range bounds what it reads. Then its queues are opened so that the queue manager tells which queue a name leads to.
bool MayFeedItself(const Options& asked, const QMgrNames& names);

// Refuses an input queue whose name asks for another queue manager than the one that the input queues are read from.
// Returns false after printing why. Made when the queue managers have told their names.
bool CheckInputQMgr(const Options& asked, const QMgrNames& names, Console& screen);
