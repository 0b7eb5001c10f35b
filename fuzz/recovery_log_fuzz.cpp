// Formatted dumps of a recovery log. Any text is read to its end or to a failure that is told.

#include "fuzz.h"
#include "logmode/log_source.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  WriteFile("dump.txt", AsText(data, size));
  LogOptions asked;
  Console screen;
  RunFiles files;
  Require(ParseLogParameter(asked, "", screen, "dump.txt"));
  {
    LogSource source(asked, {"Q1"}, screen, [] { return 0; });
    Require(source.Open(files) == 0);
    CurrentMessage message;
    Arrival arrival = Arrival::Message;
    bool empty = false;
    Result result = source.Start(empty);
    while (!result.failed()) {
      result = source.Next(message, 0, arrival);
      if (result.failed() || arrival != Arrival::Message) break;
      DataOf(message);
      result = source.Check(message);
      if (!result.failed()) Require(DataOf(message).size() == static_cast<std::size_t>(message.ExpectedLength));
    }
  }
  Require(!screen.StandsInPlace());
  return 0;
}
