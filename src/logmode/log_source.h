#pragma once

// The formatted dump of a queue manager's recovery log as a source of messages: from a file, or from the log formatter
// run as a child process. The dump's records are put together again to the messages that were put to one queue.

#include <functional>
#include <string>
#include <string_view>

#include "common/console.h"
#include "engine/source.h"
#include "files/run_files.h"
#include "logmode/log_messages.h"
#include "logmode/log_reader.h"
#include "options/options.h"

// Reads the -j argument: path[(start[-end])]; `qmgr` is the queue manager whose log it is, which stands before it, or
// empty. False after printing why.
bool ParseLogParameter(LogOptions& asked, const std::string& qmgr, Console& screen, std::string_view text);

class LogSource : public Source {
 public:
  // `written`: how many messages the run has written so far, for the progress line.
  LogSource(const LogOptions& asked, WantedQueue queue, Console& screen, std::function<std::int64_t()> written);
  // The progress line is drawn a last time and ended, and diagnostics show no line number any more.
  ~LogSource() override;

  // Opens the dump file, which joins the files of the run, or starts the formatter. Returns 0, MQRC_OPTIONS_ERROR,
  // MQRC_FILE_SYSTEM_ERROR or MQRC_UNEXPECTED_ERROR, reported.
  MQLONG Open(RunFiles& files);

  Result Start(bool& empty) override;
  Result Next(CurrentMessage& message, std::int64_t wait, Arrival& arrival) override;
  Result Check(CurrentMessage& message) override;

 private:
  MQLONG StartFormatter();
  MQLONG OpenDumpFile(RunFiles& files, const std::string& name);
  void End();

  const LogOptions& asked_;
  WantedQueue queue_;
  Console& screen_;
  LogReader log_;
  std::string file_;  // the dump file that is read; empty: the formatter's pipe
  bool started_ = false;
};
