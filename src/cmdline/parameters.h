#pragma once

// The one record of a run. It only gathers: the options, and one small struct per station of the road, declared in that
// station's header. A station changes its own state; what others need of it goes through its functions.

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "common/console.h"
#include "common/result.h"
#include "common/text.h"
#include "engine/delay.h"
#include "engine/get.h"
#include "engine/handle.h"
#include "engine/put.h"
#include "engine/rate.h"
#include "engine/selection.h"
#include "engine/source.h"
#include "engine/statistics.h"
#include "engine/unit_of_work.h"
#include "files/current_message.h"
#include "files/input_files.h"
#include "files/naming.h"
#include "files/output_files.h"
#include "files/plain_file.h"
#include "files/progress.h"
#include "files/reader.h"
#include "files/run_files.h"
#include "generic/generic.h"
#include "logmode/log_source.h"
#include "mq/connection.h"
#include "mq/destinations.h"
#include "mq/output_queues.h"
#include "options/options.h"

// Plain files may be counted before their messages are taken.
enum class CountingPass { None, Running, Done };

struct PreliminaryCount {
  CountingPass Pass = CountingPass::None;
  int Messages = 0;  // of the file in hand, while it is counted
  int WithProperties = 0;
};

struct Parameters {
  Options Asked;
  Console Screen;
  // Index 0 is the first named, index 1 the second.
  QMgrConn QMgrs[2] = {{Asked.QMgrs[0], Asked.Display, Screen}, {Asked.QMgrs[1], Asked.Display, Screen}};

  std::atomic<bool> Finished{false};  // the input is exhausted or a failure stops the run
  bool RolledBack = false;            // the last unit of work was backed out
  bool CutShort = false;              // an interrupt has ended the transfer before its source did
  bool ReportSilenced = false;        // a failure leaves nothing to report
  bool BrowseFirst = false;           // messages are browsed, and only the selected ones got
  bool DescriptorOnly = false;        // no data is got: nobody looks at it
  StatusState Status;
  InputQueues Inputs;
  std::optional<OutputQueues> TargetQueues;
  RunFiles Files;
  std::unique_ptr<InputFiles> In = std::make_unique<InputFiles>();
  std::optional<MessageFileReader> Reader;     // for the time of a transfer
  std::optional<PlainFileReader> PlainReader;  // the same
  MQLONG Loss = 0;  // the result of a run whose input has lost bytes: what was whole is delivered and committed
  LogState Log;
  WaitState Wait;
  std::optional<Selection> Chosen;
  int MessageIndex = -1;  // position of the message in hand in the source, from 1
  int SelectedCount = 0;  // its ordinal among the selected messages
  UnitOfWork Uow;
  std::int64_t StartTime = 0;  // seconds since 1970: the instant from which ages are counted
  std::int64_t NowCentis = 0;  // the same instant in hundredths of a second
  std::optional<Delay> Pause;
  PreliminaryCount Count;
  FailureText MessageText;  // printed once at the end
  CurrentMessage Message;
  std::int64_t MsgsRead = 0, BytesRead = 0, MsgsPut = 0, BytesPut = 0;
  std::int64_t UowMsgsRead = 0, UowBytesRead = 0, UowMsgsPut = 0, UowBytesPut = 0;
  PutState Put;
  AsyncPuts Async;
  RateState Pace;
  ProgressLine Progress{Screen};
  std::optional<Statistics> Summary;
  GenericState Generic;
  const MessageSource* Source = nullptr;  // set by rooms above the engine; null: queue or file
  std::optional<OutputFiles> Outputs;     // always there; renewed for each queue of a generic unload

  Parameters() { RenewOutputs(); }
  void RenewOutputs() {
    Outputs.emplace(Asked.Input, Asked.Output, Asked.Layout, Asked.Limits, Asked.Units, Files, Screen);
  }
  // The place of the message for which the next output file is opened; the first is opened before any is read.
  MessagePlace NextPlace() const { return {std::max(1, MessageIndex), SelectedCount + 1}; }
  // Messages that were put on queues, and those in files.
  WrittenCounts Written() const {
    WrittenCounts written = Outputs->written();
    written.Msgs += MsgsPut;
    written.Bytes += BytesPut;
    return written;
  }

  MemoryTrace Memory() { return MemoryTrace(Asked.Display.TraceMemory ? &Screen : nullptr); }
  // Keeps a failure's text for the end of the run, and returns its reason.
  MQLONG Keep(const Result& result) {
    if (!result.text().empty()) MessageText.Assign(result.text());
    return result.reason();
  }
};

// The queue manager of the input queues and the one of the output queues (the same for most runs).
inline QMgrConn& InputConn(Parameters& run) { return run.QMgrs[run.Asked.Input.QMgr]; }
inline QMgrConn& OutputConn(Parameters& run) { return run.QMgrs[run.Asked.Output.QMgr]; }
