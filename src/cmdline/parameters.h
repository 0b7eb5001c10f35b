#pragma once

// The one record of a run. It only gathers: the options as the command line gives them, in the order in which they are
// documented, and one small struct per station of the road, declared in that station's header. A station changes its
// own state; what others need of it goes through its functions.

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "common/console.h"
#include "common/result.h"
#include "common/text.h"
#include "engine/get.h"
#include "engine/handle.h"
#include "engine/put.h"
#include "engine/rate.h"
#include "engine/selection.h"
#include "engine/source.h"
#include "engine/statistics.h"
#include "engine/unit_of_work.h"
#include "files/current_message.h"
#include "files/line_buffer.h"
#include "files/naming.h"
#include "files/plain_file.h"
#include "files/progress.h"
#include "files/writer.h"
#include "generic/generic.h"
#include "logmode/log_source.h"
#include "mq/connection.h"
#include "mq/destinations.h"

// Bits of Parameters::Flags.
inline constexpr std::uint32_t FLAG_QUIET = 0x1;                    // no banner, no report lines
inline constexpr std::uint32_t FLAG_GET = 0x2;                      // remove messages from the input queues
inline constexpr std::uint32_t FLAG_FORCE = 0x4;                    // overwrite the output file
inline constexpr std::uint32_t FLAG_CTX_SET_ALL_TIMES = 0x8;        // set all context and update times
inline constexpr std::uint32_t FLAG_ASCII_LINES = 0x10;             // ASCII lines rather than hex
inline constexpr std::uint32_t FLAG_ASCII_COLUMNS = 0x20;           // ASCII columns in the hex file
inline constexpr std::uint32_t FLAG_CONVERT = 0x40;                 // ask the queue manager to convert data
inline constexpr std::uint32_t FLAG_CTX_DEFAULT = 0x80;             // default context
inline constexpr std::uint32_t FLAG_CTX_PASS_ALL = 0x100;           // pass all context
inline constexpr std::uint32_t FLAG_CTX_PASS_IDENTITY = 0x200;      // pass identity context
inline constexpr std::uint32_t FLAG_CTX_SET_ALL = 0x400;            // set all context (the default)
inline constexpr std::uint32_t FLAG_CTX_SET_IDENTITY = 0x800;       // set identity context
inline constexpr std::uint32_t FLAG_CTX_NONE = 0x1000;              // no context
inline constexpr std::uint32_t FLAG_INPUT_BROWSE_FORMAT = 0x10000;  // the input file is a browse listing
inline constexpr std::uint32_t FLAG_WRITE_INDEX = 0x20000;          // write the message index
inline constexpr std::uint32_t FLAG_SELECTING = 0x40000;            // some selection criterion is active
inline constexpr std::uint32_t FLAG_PURGE = 0x80000;                // purge the source queue
inline constexpr std::uint32_t FLAG_INPUT_INSERTS = 0x100000;       // the input file name holds index inserts
inline constexpr std::uint32_t FLAG_OUTPUT_INSERTS = 0x200000;      // the output file name holds them, or is generic
inline constexpr std::uint32_t FLAG_SHOW_TIME_ON_QUEUE = 0x400000;  // display time on queue
inline constexpr std::uint32_t FLAG_DELAY_RELATIVE = 0x800000;      // Delay is a percentage
inline constexpr std::uint32_t FLAG_STRIP_HEADERS = 0x1000000;      // strip headers
inline constexpr std::uint32_t FLAG_APPLDATA_CHAR = 0x2000000;      // application data fields as characters
inline constexpr std::uint32_t FLAG_SUMMARY = 0x4000000;            // display the queue summary
inline constexpr std::uint32_t FLAG_SHOW_MSGID = 0x8000000;         // message identifiers in the summary
inline constexpr std::uint32_t FLAG_SHOW_CORRELID = 0x10000000;     // correlation identifiers in the summary
inline constexpr std::uint32_t FLAG_BY_MSGID = 0x20000000;          // select by SelMsgId
inline constexpr std::uint32_t FLAG_BY_CORRELID = 0x40000000;       // select by SelCorrelId
inline constexpr std::uint32_t FLAG_BY_GROUPID = 0x80000000;        // select by SelGroupId

// The seven context bits, of which exactly one is set.
inline constexpr std::uint32_t kContextFlags = FLAG_CTX_SET_ALL_TIMES | FLAG_CTX_DEFAULT | FLAG_CTX_PASS_ALL |
                                               FLAG_CTX_PASS_IDENTITY | FLAG_CTX_SET_ALL | FLAG_CTX_SET_IDENTITY |
                                               FLAG_CTX_NONE;
inline constexpr std::uint32_t kIdentifierFlags = FLAG_BY_MSGID | FLAG_BY_CORRELID | FLAG_BY_GROUPID;

// Bits of Parameters::Flags2.
inline constexpr std::uint32_t FLAG2_PRINTABLE = 0x1;                   // write printable characters
inline constexpr std::uint32_t FLAG2_TEXT_LINES = 0x2;                  // write text lines
inline constexpr std::uint32_t FLAG2_NO_MQMD = 0x4;                     // no descriptor in the file
inline constexpr std::uint32_t FLAG2_NO_FILE_HEADER = 0x8;              // no file header
inline constexpr std::uint32_t FLAG2_READ_AHEAD = 0x10;                 // recorded; no open option depends on it
inline constexpr std::uint32_t FLAG2_ASYNC_PUT = 0x20;                  // asynchronous put
inline constexpr std::uint32_t FLAG2_NO_FORCE_RFH2 = 0x40;              // do not force MQRFH2 properties
inline constexpr std::uint32_t FLAG2_MACHINE_INFO = 0x80;               // print machine information
inline constexpr std::uint32_t FLAG2_INDIVIDUAL_QUEUES = 0x100;         // several destinations one by one
inline constexpr std::uint32_t FLAG2_EXCLUSIVE_INPUT = 0x200;           // open the input queue exclusively
inline constexpr std::uint32_t FLAG2_RAW = 0x400;                       // write raw bytes
inline constexpr std::uint32_t FLAG2_GENERIC = 0x800;                   // wildcard unload or load
inline constexpr std::uint32_t FLAG2_BY_TARGET = 0x1000;                // select dead-letter messages by target queue
inline constexpr std::uint32_t FLAG2_INVERT = 0x2000;                   // invert the selection
inline constexpr std::uint32_t FLAG2_BY_DLQ_REASON = 0x4000;            // select dead-letter messages by reason
inline constexpr std::uint32_t FLAG2_QUOTED_NAME = 0x8000;              // a queue argument was in single quotes
inline constexpr std::uint32_t FLAG2_NON_TARVO = 0x10000;               // the input file is a plain file
inline constexpr std::uint32_t FLAG2_WHOLE_FILE = 0x20000;              // the whole file is one message
inline constexpr std::uint32_t FLAG2_INCLUDE_MSG_DELIMS = 0x40000;      // keep the message delimiters
inline constexpr std::uint32_t FLAG2_EXCLUDE_MSG_DELIMS = 0x80000;      // drop the message delimiters
inline constexpr std::uint32_t FLAG2_SAME_DELIMS = 0x100000;            // start and end delimiters may be the same
inline constexpr std::uint32_t FLAG2_COUNT_FIRST = 0x200000;            // the counting pass is running
inline constexpr std::uint32_t FLAG2_NO_PRELIM_COUNT = 0x400000;        // no preliminary count
inline constexpr std::uint32_t FLAG2_COUNTED = 0x800000;                // the preliminary count has been made
inline constexpr std::uint32_t FLAG2_INCLUDE_PROP_DELIMS = 0x1000000;   // keep the property delimiters
inline constexpr std::uint32_t FLAG2_EXCLUDE_PROP_DELIMS = 0x2000000;   // drop the property delimiters
inline constexpr std::uint32_t FLAG2_KEEP_PROP_WHITESPACE = 0x4000000;  // keep white space around properties
inline constexpr std::uint32_t FLAG2_NO_BACKOUT = 0x8000000;            // no backout-queue processing
inline constexpr std::uint32_t FLAG2_COUNT = 0x10000000;                // count messages
inline constexpr std::uint32_t FLAG2_FULL_GET = 0x20000000;             // always get the message data
inline constexpr std::uint32_t FLAG2_DESCRIPTOR_ONLY = 0x40000000;      // get descriptors only
inline constexpr std::uint32_t FLAG2_NO_QSTATUS = 0x80000000;           // no queue-status inquiry in the summary

// Bits of Parameters::Verbose and Parameters::Debug.
inline constexpr std::uint32_t VERBOSE_APIS = 1, VERBOSE_DESTINATIONS = 2, VERBOSE_STATUS = 4, VERBOSE_RATE = 8;
inline constexpr std::uint32_t DEBUG_MEMORY = 1, DEBUG_TIME = 2, DEBUG_TIME_TEST = 4, DEBUG_WORD_SIZE = 8;

// Bits of Parameters::DelimFlags, PcfFlags and OverrideMask.
inline constexpr std::uint32_t DELIM_NO_BRACKETS = 1;
inline constexpr std::uint32_t PCF_CFH3 = 1;
inline constexpr std::uint32_t OVERRIDE_REPLY_QUEUE = 1, OVERRIDE_FORMAT = 2, OVERRIDE_MSG_TYPE = 4, OVERRIDE_CCSID = 8,
                               OVERRIDE_PRIORITY = 16, OVERRIDE_EXPIRY = 32;

struct Parameters {
  // Queue managers: index 0 is the first named, index 1 the second.
  QMgrConn QMgrs[2];
  int InputQMgr = 0;
  int OutputQMgr = 0;

  std::atomic<bool> Finished{false};  // the input is exhausted or a failure stops the run
  std::uint32_t Flags = FLAG_CTX_SET_ALL;
  std::uint32_t Flags2 = 0;
  std::uint32_t DelimFlags = 0;
  std::uint32_t PcfFlags = 0;
  bool RolledBack = false;  // the last unit of work was backed out
  bool CutShort = false;    // an interrupt has ended the transfer before its source did
  std::uint32_t Verbose = 0;
  std::uint32_t Debug = 0;
  int StatusEveryMsgs = 1000;
  int StatusEverySecs = 300;
  StatusState Status;
  char QueueSeparator = 0;  // 0: none given
  Text<48> OutputQMgrName;
  Text<48> OutputQueueName;  // not empty: an output queue was named
  std::unique_ptr<QueueList> OutputList;
  std::unique_ptr<QueueList> InputList;
  MQHOBJ OutputHobj = MQHO_UNUSABLE_HOBJ;
  Text<255> InputFileName;  // the template
  int FilesRead = 0;
  int FilesWritten = 0;
  Text<255> OutputFileName;  // the template
  FileNaming Naming;
  WriterState Writer;
  ReaderState Reader;
  bool LogMode = false;
  LogState Log;
  bool NullOutput = false;
  int WaitInterval = 0;  // seconds; -1: without limit
  WaitState Wait;
  int DataWidth = 25;  // data bytes per hex line
  SearchString AsciiSearch[kSearchStrings], AsciiNotSearch[kSearchStrings];
  SearchString EbcdicSearch[kSearchStrings], EbcdicNotSearch[kSearchStrings];
  SearchString HexSearch[kSearchStrings], HexNotSearch[kSearchStrings];
  MQLONG ConvertCcsid = 0;
  MQLONG ConvertEncoding = 0;
  int RangeStart = 0;  // 1-based positions; 0: open
  int RangeEnd = 0;
  int MessageIndex = -1;       // position of the message in hand in the source, from 1
  int SelectedCount = 0;       // its ordinal among the selected messages
  int TransactionLimit = 200;  // messages per unit of work; 0: none, -1: no commit by count
  UnitOfWork Uow;
  const char* FileAccessMode = nullptr;  // -a
  std::int64_t StartTime = 0;            // seconds since 1970: the instant from which ages are counted
  std::int64_t NowCentis = 0;            // the same instant in hundredths of a second
  std::int64_t PutBefore = 0;            // 0: none
  std::int64_t PutAfter = 0;
  int OlderThan = 0;  // seconds; 0: none
  int YoungerThan = 0;
  int Delay = 0;  // milliseconds, or percent with FLAG_DELAY_RELATIVE
  ReplayState Replay;
  int InitialBufferSize = 1;  // bytes
  MQLONG SizeBelow = -1;      // -1: none
  MQLONG SizeAtLeast = -1;
  MQLONG PriorityAtLeast = -1;
  MQLONG PriorityAtMost = -1;
  MQBYTE24 SelMsgId{}, SelCorrelId{}, SelGroupId{};
  std::unique_ptr<std::string> Selector;  // null: none
  Text<48> TargetQMgrMask;
  Text<48> TargetQueueMask;
  MQLONG DlqReason = 0;
  PlainFileState Plain;
  FailureText MessageText;  // printed once at the end
  CurrentMessage Message;
  std::int64_t MsgsRead = 0, BytesRead = 0, MsgsWritten = 0, BytesWritten = 0;
  std::int64_t UowMsgsRead = 0, UowBytesRead = 0, UowMsgsWritten = 0, UowBytesWritten = 0;
  PutState Put;
  AsyncPuts Async;
  bool LimitsActive = false;
  int LimitMsgs = 1;           // messages per output file
  std::int64_t LimitSize = 0;  // bytes; 0: none
  int LimitAge = 0;            // seconds; 0: none
  int Rate = 0;                // messages per second; 0: none, -1: adaptive
  int RateDuration = 0;        // seconds; 0: none, -1: no end
  RateState Pace;
  std::uint32_t OverrideMask = 0;
  MQMD OverrideMd;
  ProgressState Progress;
  SummaryState Summary;
  GenericState Generic;
  const MessageSource* Source = nullptr;  // set by rooms above the engine; null: queue or file
  IncludeRecord* IncludeChain = nullptr;  // innermost destination file being read
  Console Screen;

  bool Has(std::uint32_t flag) const { return (Flags & flag) != 0; }
  bool Has2(std::uint32_t flag) const { return (Flags2 & flag) != 0; }
  bool HasInputQueues() const { return InputList != nullptr && InputList->Count() > 0; }
  bool HasOutputQueue() const { return !OutputQueueName.empty(); }
};

// The program's version, shown in the banner and written into file headers.
inline constexpr char kVersion[] = "9.1.1";
