#pragma once

// What the generic unload and load share: reading the directory, asking the user, and telling how queues failed.

#include <set>
#include <string>
#include <string_view>

#include "common/console.h"
#include "mq/mqi.h"

// Adds the name of every file (not directory) in the directory. Returns 0, or MQRC_NOT_AUTHORIZED after "Can not scan
// for files.".
MQLONG ScanDirectory(Console& screen, const std::string& directory, std::set<std::string>& names);

// Reads the answer to a question that stands on the terminal. False at the end of input, and, after a line that says
// so, without a terminal: both mean no.
bool AskTerminal(Console& screen, std::string& answer);
// Prints the question and reads the answer: true only when it starts with 'Y' or 'y' (a line end follows then), or
// without a question when the user forces the run (-F).
bool Confirm(Console& screen, bool forced, const char* question);

// The result of a generic run: the reason of the first failure.
class QueueFailures {
 public:
  void Add(MQLONG reason) {
    if (first_ == 0) first_ = reason;
  }
  // The same for a queue whose line is not ended yet: ends it with "RC(%d) %s".
  void EndLine(MQLONG reason);
  // The same with the system's error of its first file.
  void EndLineOfFile(int error);
  MQLONG first() const { return first_; }

 private:
  MQLONG first_ = 0;
};

// Writes the text with which a queue's transfer ended, if any, on standard error.
void ShowText(Console& screen, std::string_view text);
