#pragma once

// The one record of a run, which only the run driver and its neighbours in this room know. It gathers the options and
// the stations of the road, each of which has its own state and its own header.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "cmdline/command_line.h"
#include "cmdline/queue_checks.h"
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
  // The options are complete and do not change any more.
  explicit Parameters(CommandLine line)
      : Asked(std::move(line.Asked)), Screen(line.Screen), StartTime(line.StartTime), StartCentis(line.StartCentis) {
    for (int i = 0; i < 2; ++i) QMgrs[i].Password = std::move(line.Passwords[i]);
  }

  const Options Asked;
  Console& Screen;
  std::int64_t StartTime;    // seconds since 1970: the instant from which ages are counted
  std::int64_t StartCentis;  // the same instant in hundredths of a second
  // Index 0 is the first named, index 1 the second.
  QMgrConn QMgrs[2] = {{Asked.QMgrs[0], Asked.Display, Screen}, {Asked.QMgrs[1], Asked.Display, Screen}};

  GetMode Gets;        // how messages are taken
  MessagePlace Place;  // of the message in hand
  StatusLines Status{Asked.Display, Screen, StartTime};
  Delay Pause{Asked.Pace};
  InputQueues Inputs;
  std::optional<OutputQueues> TargetQueues;
  AsyncPuts Async{Asked, QMgrs[Asked.Output.QMgr]};
  RunFiles Files;
  std::unique_ptr<InputFiles> In = std::make_unique<InputFiles>();
  PreliminaryCount Count;
  FailureText MessageText;       // printed once at the end
  std::unique_ptr<Source> From;  // of the messages
  std::unique_ptr<Target> To;
  Outcome Done;  // of the transfer that was made last
  ProgressLine Progress{Screen};
  Statistics Summary{StartCentis};
  OutputFiles Outputs{Asked.Input, Asked.Output, Asked.Layout, Asked.Limits, Asked.Units, Files, Screen};

  // What the transfers of the run share.
  RunStations Stations() { return {Screen, QMgrs[Asked.Input.QMgr], QMgrs[Asked.Output.QMgr], Pause, Status, Place}; }

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
inline QMgrNames NamesOf(Parameters& run) { return {InputConn(run).QMgrName, OutputConn(run).QMgrName}; }
