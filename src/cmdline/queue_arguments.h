#pragma once

// Queue arguments and destination files: from texts to the queues that a run reads and writes.

#include <optional>
#include <string_view>

#include "options/options.h"

class Console;

// How the queue arguments of one command line are read, and where they go.
struct QueueArguments {
  Options& Asked;
  Console& Screen;
  char Separator = 0;  // -$, between queue manager and queue; 0: the first of '#', ',', '\' and '/' that occurs
};

enum class ListKind { Output, Input };

// Splits `text`, without the single quotes around it, at the separator. `what` is what the messages call it. Nothing
// after printing why a name does not fit.
std::optional<QueueName> SplitNames(const QueueArguments& arguments, std::string_view text, const char* what);

// Adds the queue of `text` to the queues of `kind`; "file:<name>" adds those of that destination file, and a text in
// single quotes sets Options::CaseCounts. False after printing why, also for a text without a queue name and for a file
// without a queue.
bool AddDestination(const QueueArguments& arguments, std::string_view text, ListKind kind);
