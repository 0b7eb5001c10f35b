// Formatted dumps of a recovery log. Any text is read to its end or to a failure that is told, and no more messages
// come out than were put.

#include <memory>

#include "fuzz.h"
#include "logmode/log_reader.h"
#include "logmode/log_source.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  WriteFile("dump.txt", AsText(data, size));
  const auto owner = std::make_unique<Parameters>();
  Parameters& run = *owner;
  Require(ParseLogParameter(run, "dump.txt") && StartLogReading(run, "Q1") == 0);
  bool empty = false;
  std::uint32_t messages = 0;
  MQLONG reason = run.Source->Prepare(run, empty);
  while (reason == 0) {
    reason = run.Source->Read(run, nullptr);
    if (reason != 0 || run.Finished) break;
    DataOf(run.Message);
    reason = run.Source->Check(run);
    if (reason == 0) Require(DataOf(run.Message).size() == static_cast<std::size_t>(run.Message.ExpectedLength));
    ++messages;
  }
  EndLogReading(run);
  Require(messages <= run.Log.Reader->WantedPuts && !run.Screen.StandsInPlace());
  return 0;
}
