#include "files/counted_output.h"

#include "common/console.h"
#include "files/writer.h"

void CountedOutput::Start(std::string_view name) {
  Name.Assign(name);
  MsgsInFile = 0;
  msgsSinceFlush_ = 0;
}

void CountedOutput::Count(MQLONG length) {
  if (heldFrom_ != Stream.written()) {
    heldFrom_ = Stream.written();
    heldMsgs_ = heldBytes_ = 0;
  }
  if (Stream.is_open()) {
    ++msgsSinceFlush_;
    ++heldMsgs_;
    heldBytes_ += length;
  }
  ++Written.Msgs;
  Written.Bytes += length;
}

void CountedOutput::Uncount() {
  Written.Msgs -= heldMsgs_;
  Written.Bytes -= heldBytes_;
  heldMsgs_ = heldBytes_ = 0;
}

Result CountedOutput::Flushed(int error) {
  if (error != 0) {
    Uncount();
    const std::string text = FormatText("Error flushing data to file '%s'RC(%d)", Name.c_str(), error);
    return {WriteFailure(Name), WithCause(text, error)};
  }
  heldMsgs_ = heldBytes_ = 0;
  msgsSinceFlush_ = 0;
  return {};
}

Result CountedOutput::Flush(bool toDisk) { return Stream.is_open() ? Flushed(Stream.Flush(toDisk)) : Result(); }

Result CountedOutput::Close(bool toDisk) { return Stream.is_open() ? Flushed(Stream.Close(toDisk)) : Result(); }
