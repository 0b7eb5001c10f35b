#include "engine/file_sources.h"

#include <cerrno>

namespace {

// Whether the reader failed because its wait was interrupted. That ends the input like its end, but for what had come
// of a message that is not whole.
bool WasInterrupted(const Result& result, InputFiles& files) {
  return result.failed() && files.File().error() == EINTR;
}

template <typename Reader>
Result ReadNext(Reader& reader, InputFiles& files, CurrentMessage& message, Arrival& arrival) {
  Result result = reader.Read(message);
  arrival = Arrival::Interrupted;
  if (WasInterrupted(result, files)) return {};
  arrival = reader.at_end() ? Arrival::End : Arrival::Message;
  return result;
}

}  // namespace

Result MessageFileSource::Start(bool& empty) {
  empty = false;
  if (Result allocated = reader_.Allocate(); allocated.failed()) return allocated;
  Result started = reader_.StartFile(empty);
  if (files_.IsSet()) empty = false;  // later files may hold messages all the same
  return WasInterrupted(started, files_) ? Result() : std::move(started);
}

Result MessageFileSource::Next(CurrentMessage& message, std::int64_t, Arrival& arrival) {
  return ReadNext(reader_, files_, message, arrival);
}

Result PlainFileSource::Start(bool& empty) {
  empty = false;
  return reader_.Prepare();
}

Result PlainFileSource::Next(CurrentMessage& message, std::int64_t, Arrival& arrival) {
  return ReadNext(reader_, files_, message, arrival);
}

std::unique_ptr<Source> MakeFileSource(const PlainFileOptions& asked, InputFiles& files, Console& screen,
                                       MemoryTrace memory, bool lossWasTold) {
  if (!asked.Given) return std::make_unique<MessageFileSource>(files, screen, memory);
  return std::make_unique<PlainFileSource>(files, asked, screen, memory, lossWasTold);
}
