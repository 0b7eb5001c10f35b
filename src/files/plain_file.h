#pragma once

// Plain files: data that is not in the message file format, cut into messages at delimiters (or taken whole), with an
// optional block of message properties that becomes an MQRFH2 header. Messages are not copied: the message in hand
// points into the read buffer until the next one is read.

#include "common/console.h"
#include "common/memory_trace.h"
#include "common/result.h"
#include "files/current_message.h"
#include "files/input_files.h"
#include "files/plain_delimiters.h"
#include "files/plain_input.h"
#include "files/plain_scan.h"
#include "mq/mqi.h"
#include "options/options.h"

// Reads the messages of plain files that are opened one after the other.
class PlainFileReader {
 public:
  // What stands behind the last message of a file is told, unless the user was told before (`lossWasTold`).
  PlainFileReader(InputFiles& files, const PlainFileOptions& asked, Console& screen, MemoryTrace memory = {},
                  bool lossWasTold = false)
      : files_(files),
        asked_(asked),
        screen_(screen),
        tellsLoss_(!lossWasTold),
        properties_(memory),
        input_(files, memory) {}

  // Makes the delimiters. Returns 0, or MQRCCF_PARM_VALUE_ERROR with its text.
  Result Prepare() { return MakePlainDelimiters(asked_, delimiters_); }

  // The next message (data pointer and descriptor included), from the next file of a set where the one in hand holds no
  // further one; none (at_end) at the end of the last. Returns 0; MQRC_FILE_SYSTEM_ERROR or MQRC_STORAGE_NOT_AVAILABLE
  // with its text.
  Result Read(CurrentMessage& message);
  // Goes over the next delimited message without building it, for a preliminary count. Returns as above.
  Result Skip(bool& hasProperties);
  bool at_end() const { return atEnd_; }
  // The result of a run whose input has lost bytes: what was whole is delivered and committed all the same.
  MQLONG loss() const { return loss_; }

 private:
  // Part of the input, as offsets in the file.
  struct Span {
    std::int64_t From = 0;
    std::int64_t To = 0;
    std::size_t Length() const { return static_cast<std::size_t>(To - From); }
  };
  // A message as it lies in the file: with its delimiters and without.
  struct Cut {
    bool End = false;  // there is none: the file holds no further one
    Span Outer, Inner;
    bool HasProperties = false;
    Span OuterProperties, InnerProperties;
  };

  Result FindStart(Cut& cut);
  Result FindProperties(Cut& cut);
  Result FindEnd(Cut& cut);
  Result FindInFile(Cut& cut);
  Result Find(Cut& cut);
  Result DropTail(Cut& cut);
  Result EndFile();
  Result ReadWholeFile(CurrentMessage& message);
  Result BuildWithProperties(CurrentMessage& message, Span properties, Span data);

  InputFiles& files_;
  const PlainFileOptions& asked_;
  Console& screen_;
  bool tellsLoss_;
  PlainDelimiters delimiters_;
  BracketStack brackets_;
  TrackedBlock properties_;  // the message in hand when it carries properties: MQRFH2 header, properties, data
  PlainInput input_;
  bool atEnd_ = false;
  MQLONG loss_ = 0;
};
