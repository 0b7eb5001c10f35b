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
#include "engine/async_puts.h"
#include "engine/delay.h"
#include "engine/delivery.h"
#include "engine/get.h"
#include "engine/outcome.h"
#include "engine/statistics.h"
#include "files/input_files.h"
#include "files/naming.h"
#include "files/output_files.h"
#include "files/progress.h"
#include "files/run_files.h"
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

  GetMode Gets;        // how messages are taken
  MessagePlace Place;  // of the message in hand
  std::optional<StatusLines> Status;
  std::optional<Delay> Pause;
  InputQueues Inputs;
  std::optional<OutputQueues> TargetQueues;
  std::optional<AsyncPuts> Async;
  RunFiles Files;
  std::unique_ptr<InputFiles> In = std::make_unique<InputFiles>();
  std::int64_t StartTime = 0;  // seconds since 1970: the instant from which ages are counted
  std::int64_t NowCentis = 0;  // the same instant in hundredths of a second
  PreliminaryCount Count;
  FailureText MessageText;       // printed once at the end
  std::unique_ptr<Source> From;  // of the messages
  std::unique_ptr<Target> To;
  Outcome Done;  // of the transfer that was made last
  ProgressLine Progress{Screen};
  std::optional<Statistics> Summary;
  OutputFiles Outputs{Asked.Input, Asked.Output, Asked.Layout, Asked.Limits, Asked.Units, Files, Screen};

  // What the transfers of the run share.
  RunStations Stations() { return {Screen, QMgrs[Asked.Input.QMgr], QMgrs[Asked.Output.QMgr], *Pause, *Status, Place}; }

  // Messages that were put on queues, and those in files.
  WrittenCounts Written() const {
    WrittenCounts written = Outputs.written();
    written.Msgs += Done.Put.Msgs;
    written.Bytes += Done.Put.Bytes;
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
