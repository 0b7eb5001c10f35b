#pragma once

// Deciding which messages go to the target.

#include "common/console.h"
#include "files/current_message.h"
#include "options/options.h"

class Selection {
 public:
  // `times` gets a line for each put time that is looked at; null: none.
  explicit Selection(const SelectionOptions& wanted, Console* times = nullptr);

  // Whether the message at this position of its source, from 1 on, is the run's. Looks only at delivered bytes.
  bool Takes(const CurrentMessage& message, int position) const;
  // Whether no message behind this position can be taken.
  bool EndsAt(int position) const { return last_ != 0 && position >= last_; }

 private:
  bool InRange(int position) const;
  bool HasPutTime(const MQMD& descriptor) const;

  const SelectionOptions& wanted_;
  bool any_;  // every message meets what is asked for
  Console* times_;
  int first_;  // of the range; 0: there is none
  int last_;   // 0: it is open
};
