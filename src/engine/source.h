#pragma once

// Where the messages of a run come from. The loop picks one table per run; rooms above the engine (the recovery log)
// hand theirs in through Parameters::Source.

#include "mq/mqi.h"

struct Parameters;
struct QueueElement;

struct MessageSource {
  // Prepares the source before the first message. Sets `empty` when the loop has nothing to do and ends with result 0.
  MQLONG (*Prepare)(Parameters& run, bool& empty);
  // Reads the next message into the message in hand (its data pointer included), or sets Finished.
  MQLONG (*Read)(Parameters& run, QueueElement* queue);
  // Looks at a selected message before it goes to its target; may be null.
  MQLONG (*Check)(Parameters& run);
};

// The source of this run: the one in Parameters::Source, else a queue, a plain file, or a message file.
const MessageSource& ChooseSource(const Parameters& run, const QueueElement* queue);
