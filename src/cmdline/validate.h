#pragma once

// The options against each other: what does not go together is refused, and what follows from other options is filled
// in. The mode of the run then follows from which inputs and outputs there are.

struct Parameters;

// Returns false after printing the reason. Completes file names, put times, limits and insert flags on the way.
bool ValidateOptions(Parameters& run);

// Refuses a run whose input queues are fed by its own output, since it would never end; a message range that ends lets
// it. Returns false after printing why. Made with the names as given, and again when the queue managers have told
// their names.
bool CheckNotOntoItself(Parameters& run);

// Whether what this run puts could come back to it without end: both sides are on one queue manager, and no end of a
// range bounds what it reads. Then its queues are opened so that the queue manager tells which queue a name leads to.
bool MayFeedItself(Parameters& run);

// Refuses an input queue whose name asks for another queue manager than the one that the input queues are read from.
// Returns false after printing why. Made when the queue managers have told their names.
bool CheckInputQMgr(Parameters& run);
