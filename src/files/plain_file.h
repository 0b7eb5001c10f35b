#pragma once

// Plain files: data that is not in the message file format, cut into messages at delimiters (or taken whole), with an
// optional block of message properties that becomes an MQRFH2 header. Messages are not copied: the message in hand
// points into the read buffer until the next one is read.

#include "files/plain_delimiters.h"
#include "files/plain_input.h"
#include "files/plain_scan.h"
#include "mq/mqi.h"

struct Parameters;

// Plain files may be counted before their messages are taken.
enum class CountingPass { None, Running, Done };

struct PlainFileState {
  CountingPass Pass = CountingPass::None;
  int MessagesFound = 0;           // preliminary count
  int MessagesWithProperties = 0;  // preliminary count

  PlainDelimiters Delimiters;
  BracketStack Brackets;
  PlainInput Input;
  TrackedBlock Properties;  // the message in hand when it carries properties: MQRFH2 header, properties, data
};

// Prepares a run over plain files: the delimiters and an empty read buffer. Returns 0 or MQRCCF_PARM_VALUE_ERROR with
// MessageText.
MQLONG PreparePlainFile(Parameters& run);

// The next message into the message in hand (data pointer and descriptor included), going on through an indexed set of
// files; sets Finished at the end of the input. Returns 0; MQRC_FILE_SYSTEM_ERROR or MQRC_STORAGE_NOT_AVAILABLE with
// MessageText.
MQLONG ReadPlainMessage(Parameters& run);

// One message of the current file: the next delimited one, or the whole file. Sets Finished at the end of that file.
MQLONG ReadDelimitedMessage(Parameters& run);
MQLONG ReadWholeFile(Parameters& run);

// The preliminary count: reads every message (without building it) and counts it in MsgsRead and in the counts above.
// Afterwards the input is at its start again, Finished is clear. Returns the result of the last read.
MQLONG CountPlainFile(Parameters& run);

// Gives the read buffer and the properties buffer back at the end of a transfer.
void ReleasePlainBuffers(Parameters& run);
