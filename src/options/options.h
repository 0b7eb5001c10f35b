#pragma once

// What the user asked for: the command line as plain structs, one a topic. The parser fills them, validation completes
// them, and from then on they are const: a station is handed the topic that it needs. What a run learns on its way (a
// right that is missing, a call that is refused) is kept by the station that learnt it. The comment of a member names
// the option that sets it, or the bit by which other documents know it.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// A queue as it was named; each part has at most 48 characters, and the queue manager's name may be empty.
struct QueueName {
  std::string QMgr;
  std::string Queue;
};

// One queue manager of the run.
struct QMgrOptions {
  std::string Name;                    // -m, at most 48 characters; empty: the default one
  std::optional<std::string> Library;  // -l
  std::optional<std::string> UserId;   // -u
};

// Where messages come from, and how they are taken.
struct InputOptions {
  int QMgr = 0;                   // which queue manager the queues belong to
  std::vector<QueueName> Queues;  // -i, -I, in the order given
  bool Remove = false;            // FLAG_GET
  bool Purge = false;             // FLAG_PURGE: what is not selected goes too
  bool Exclusive = false;         // FLAG2_EXCLUSIVE_INPUT
  bool ReadAhead = false;         // FLAG2_READ_AHEAD
  bool NoBackoutQueue = false;    // FLAG2_NO_BACKOUT
  bool NoForcedRfh2 = false;      // FLAG2_NO_FORCE_RFH2
  bool AlwaysData = false;        // FLAG2_FULL_GET: also where descriptors would do
  bool Convert = false;           // FLAG_CONVERT
  std::int32_t ConvertCcsid = 0;
  std::int32_t ConvertEncoding = 0;
  int WaitInterval = 0;       // -w, seconds; -1: without limit
  int InitialBufferSize = 1;  // -b, bytes

  std::string FileName;  // the template, at most 255 characters
  bool FileSet = false;  // FLAG_INPUT_INSERTS: the template numbers a set of files
  bool Generic = false;  // FLAG2_GENERIC: the template stands for the files of many queues

  bool HasQueues() const { return !Queues.empty(); }
  bool HasFile() const { return !FileName.empty(); }
};

// The context with which messages are put.
enum class PutContext {
  SetAll,        // FLAG_CTX_SET_ALL
  SetAllTimes,   // FLAG_CTX_SET_ALL_TIMES: and update times
  SetIdentity,   // FLAG_CTX_SET_IDENTITY
  PassAll,       // FLAG_CTX_PASS_ALL
  PassIdentity,  // FLAG_CTX_PASS_IDENTITY
  Default,       // FLAG_CTX_DEFAULT
  None,          // FLAG_CTX_NONE
};

// What -A puts over fields of the descriptor.
struct OverrideOptions {
  std::optional<std::int32_t> CodedCharSetId, Priority, Expiry, MsgType;
  std::optional<std::string> Format;
  std::optional<QueueName> ReplyTo;
};

// Where messages go.
struct OutputOptions {
  int QMgr = 0;                   // which queue manager the queues belong to
  std::vector<QueueName> Queues;  // -o, in the order given, those of destination files included
  bool AsList = false;            // named more than once, or in a destination file: a distribution list
  bool Individually = false;      // FLAG2_INDIVIDUAL_QUEUES: one put a queue
  bool AsyncPut = false;          // FLAG2_ASYNC_PUT
  bool StripHeaders = false;      // FLAG_STRIP_HEADERS
  bool RaiseCfhVersion = false;   // PCF_CFH3
  PutContext Context = PutContext::SetAll;
  OverrideOptions Override;

  std::string FileName;                   // the template, at most 255 characters; "stdout" and "null" are special
  std::optional<std::string> AccessMode;  // -a, of both files
  bool FileInserts = false;               // FLAG_OUTPUT_INSERTS: files are numbered, or one a queue
  bool Generic = false;                   // FLAG2_GENERIC: a file for every queue
  bool Overwrite = false;                 // FLAG_FORCE

  bool HasQueues() const { return !Queues.empty(); }
  bool HasFile() const { return !FileName.empty(); }
  bool PassesContext() const { return Context == PutContext::PassAll || Context == PutContext::PassIdentity; }
  // Whether the queue manager makes the context of what is put.
  bool OwnContext() const { return Context == PutContext::Default || Context == PutContext::None; }
};

// How messages stand in an output file.
struct LayoutOptions {
  bool AsciiLines = false;      // FLAG_ASCII_LINES rather than hex
  bool AsciiColumns = false;    // FLAG_ASCII_COLUMNS in the hex file
  bool Printable = false;       // FLAG2_PRINTABLE
  bool TextLines = false;       // FLAG2_TEXT_LINES
  bool Raw = false;             // FLAG2_RAW
  bool Index = false;           // FLAG_WRITE_INDEX
  bool ApplDataAsText = false;  // FLAG_APPLDATA_CHAR
  bool NoDescriptor = false;    // FLAG2_NO_MQMD
  bool NoHeader = false;        // FLAG2_NO_FILE_HEADER
  bool TimeOnQueue = false;     // FLAG_SHOW_TIME_ON_QUEUE instead of messages
  int DataWidth = 25;           // -dw: data bytes of a hex line
};

using Identifier = std::array<unsigned char, 24>;

// Which messages are the run's. Search strings are the bytes that are looked for, at most three of a kind.
struct SelectionOptions {
  bool Active = false;                         // FLAG_SELECTING: there is some criterion other than an identifier
  bool Invert = false;                         // FLAG2_INVERT
  std::vector<std::string> Ascii, AsciiNot;    // -s, -S
  std::vector<std::string> Ebcdic, EbcdicNot;  // -e, -E
  std::vector<std::string> Hex, HexNot;        // -x, -X
  int RangeStart = 0;                          // -r: positions from 1 on, as given; 0: open
  int RangeEnd = 0;
  std::int64_t PutBefore = 0;  // -T: seconds since 1970; 0: none
  std::int64_t PutAfter = 0;
  int OlderThan = 0;  // -T: seconds; 0: none
  int YoungerThan = 0;
  std::int32_t SizeBelow = -1;  // -z: bytes; -1: none
  std::int32_t SizeAtLeast = -1;
  std::int32_t PriorityAtLeast = -1;  // -P; -1: none
  std::int32_t PriorityAtMost = -1;
  std::optional<Identifier> MsgId;        // FLAG_BY_MSGID
  std::optional<Identifier> CorrelId;     // FLAG_BY_CORRELID
  std::optional<Identifier> GroupId;      // FLAG_BY_GROUPID
  std::optional<std::string> Selector;    // -H
  std::optional<QueueName> Target;        // FLAG2_BY_TARGET: masks of a dead letter's destination
  std::optional<std::int32_t> DlqReason;  // FLAG2_BY_DLQ_REASON

  bool HasIdentifier() const { return MsgId || CorrelId || GroupId; }
  bool LooksAtData() const {
    return !Ascii.empty() || !AsciiNot.empty() || !Ebcdic.empty() || !EbcdicNot.empty() || !Hex.empty() ||
           !HexNot.empty() || Target || DlqReason;
  }
};

struct UnitOptions {
  int MessageLimit = 200;  // -t: messages of a unit of work; 0: no units, -1: no commit by count
};

struct PaceOptions {
  int Delay = 0;               // -D: milliseconds, negative: random up to that; percent when it is relative
  bool DelayRelative = false;  // FLAG_DELAY_RELATIVE
  int Rate = 0;                // -R: messages a second; 0: none, -1: adaptive
  int RateDuration = 0;        // seconds; 0: none, -1: no end
};

// A plain file as the input: how it is cut into messages.
struct PlainFileOptions {
  bool Given = false;                    // FLAG2_NON_TARVO
  bool WholeFile = false;                // FLAG2_WHOLE_FILE
  bool IncludeMsgDelims = false;         // FLAG2_INCLUDE_MSG_DELIMS
  bool ExcludeMsgDelims = false;         // FLAG2_EXCLUDE_MSG_DELIMS
  bool IncludePropDelims = false;        // FLAG2_INCLUDE_PROP_DELIMS
  bool ExcludePropDelims = false;        // FLAG2_EXCLUDE_PROP_DELIMS
  bool SameDelims = false;               // FLAG2_SAME_DELIMS: start and end delimiters may be the same
  bool NoBrackets = false;               // DELIM_NO_BRACKETS
  bool NoPreliminaryCount = false;       // FLAG2_NO_PRELIM_COUNT
  bool KeepPropWhitespace = false;       // FLAG2_KEEP_PROP_WHITESPACE
  std::string StartMessage, EndMessage;  // delimiters as typed, at most 99 characters
  std::string StartProperty, EndProperty;
};

// When the next file of an output set begins.
struct LimitOptions {
  bool Active = false;
  int Msgs = 1;           // -Lm; 0: none
  std::int64_t Size = 0;  // -Ls: bytes; 0: none
  int Age = 0;            // -La: seconds; 0: none
};

// The recovery log as the input.
struct LogOptions {
  bool Given = false;            // -j
  std::string File;              // at most 255 characters; empty: the queue manager's own log
  std::string FormatterCommand;  // what the log formatter is started with
};

// What is shown, and on the way told.
struct DisplayOptions {
  bool Quiet = false;             // FLAG_QUIET: no banner, no report lines
  bool Summary = false;           // FLAG_SUMMARY
  bool MsgIds = false;            // FLAG_SHOW_MSGID in the summary
  bool CorrelIds = false;         // FLAG_SHOW_CORRELID
  bool NoQueueStatus = false;     // FLAG2_NO_QSTATUS
  bool Count = false;             // FLAG2_COUNT: messages are counted only
  bool TraceCalls = false;        // VERBOSE_APIS
  bool ShowDestinations = false;  // VERBOSE_DESTINATIONS
  bool Status = false;            // VERBOSE_STATUS
  bool RateDetails = false;       // VERBOSE_RATE
  int StatusEveryMsgs = 1000;
  int StatusEverySecs = 300;
  bool TraceMemory = false;  // DEBUG_MEMORY
  bool TraceTimes = false;   // DEBUG_TIME
  bool WordSize = false;     // DEBUG_WORD_SIZE
};

struct Options {
  QMgrOptions QMgrs[2];     // the first and the second that was named
  bool CaseCounts = false;  // FLAG2_QUOTED_NAME: a queue argument stood in single quotes
  InputOptions Input;
  OutputOptions Output;
  LayoutOptions Layout;
  SelectionOptions Selection;
  UnitOptions Units;
  PaceOptions Pace;
  PlainFileOptions Plain;
  LimitOptions Limits;
  LogOptions Log;
  DisplayOptions Display;
};
