#include "engine/source.h"

#include <cerrno>

#include "cmdline/parameters.h"
#include "engine/get.h"
#include "engine/transfer.h"
#include "files/plain_file.h"
#include "files/reader.h"

namespace {

// A queue is opened by the run driver: nothing is left to prepare.
MQLONG PrepareQueue(Parameters&, bool&) { return 0; }

// The reader's failure, unless it is that its wait was interrupted: that ends the input like its end, but for what had
// come of a message that is not whole.
MQLONG UnlessInterrupted(Parameters& run, MQLONG reason) {
  if (reason == 0 || run.In->File().error() != EINTR) return reason;
  run.MessageText.clear();
  EndIfInterrupted(run);
  return 0;
}

MQLONG ReadQueue(Parameters& run, QueueElement* queue) { return GetQueueMessage(run, *queue, false); }

// What a preliminary count has told of an input's loss is not told again.
MQLONG PreparePlain(Parameters& run, bool&) {
  const bool counted = run.Count.Pass == CountingPass::Done;
  run.PlainReader.emplace(*run.In, run.Asked.Plain, run.Screen, run.Memory(), counted);
  return run.Keep(run.PlainReader->Prepare());
}

// The message stays where the reader has it: in the read buffer of the file.
MQLONG ReadPlain(Parameters& run, QueueElement*) {
  const MQLONG reason = UnlessInterrupted(run, run.Keep(run.PlainReader->Read(run.Message)));
  if (run.PlainReader->at_end()) run.Finished = true;
  return reason;
}

MQLONG PrepareMessageFile(Parameters& run, bool& empty) {
  const MQLONG reason = UnlessInterrupted(run, run.Keep(run.Reader->StartFile(empty)));
  if (run.In->IsSet()) empty = false;  // later files may hold messages all the same
  return reason;
}

MQLONG ReadMessageFile(Parameters& run, QueueElement*) {
  const MQLONG reason = UnlessInterrupted(run, run.Keep(run.Reader->Read(run.Message)));
  if (run.Reader->at_end()) run.Finished = true;
  return reason;
}

constexpr MessageSource kQueueSource{PrepareQueue, ReadQueue, nullptr};
constexpr MessageSource kPlainFileSource{PreparePlain, ReadPlain, nullptr};
constexpr MessageSource kMessageFileSource{PrepareMessageFile, ReadMessageFile, nullptr};

}  // namespace

const MessageSource& ChooseSource(const Parameters& run, const QueueElement* queue) {
  if (run.Source != nullptr) return *run.Source;
  if (queue != nullptr) return kQueueSource;
  return run.Asked.Plain.Given ? kPlainFileSource : kMessageFileSource;
}
