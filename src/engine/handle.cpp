#include "engine/handle.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>

#include "cmdline/parameters.h"
#include "common/units.h"
#include "engine/code_pages.h"
#include "mq/put_time.h"

namespace {

constexpr std::int64_t kAnnouncedWait = 5000;  // milliseconds; longer sleeps are told
constexpr double kLongestReplay = 1e15;        // milliseconds; put dates and percentages are anybody's
constexpr std::int64_t kRandomRange = 32767;

int TwoDigits(const char* text) {
  int value = 0;
  for (int i = 0; i < 2; ++i) {
    if (text[i] >= '0' && text[i] <= '9') value = value * 10 + (text[i] - '0');
  }
  return value;
}

// The time of day of a PutTime ("HHMMSSTH") in milliseconds.
std::int64_t MillisecondOfDay(const char* putTime) {
  const std::int64_t minutes = TwoDigits(putTime) * 60 + TwoDigits(putTime + 2);
  return ((minutes * 60 + TwoDigits(putTime + 4)) * 100 + TwoDigits(putTime + 6)) * 10;
}

std::int64_t PutDistance(const ReplayState& from, const MQMD& to) {
  std::int64_t distance = MillisecondOfDay(to.PutTime) - MillisecondOfDay(from.ReplayPutTime);
  if (std::memcmp(from.ReplayPutDate, to.PutDate, sizeof to.PutDate) != 0) {
    static constexpr char kMidnight[] = "00000000";
    distance += (PutTimeLocal(to.PutDate, kMidnight) - PutTimeLocal(from.ReplayPutDate, kMidnight)) * 1000;
  }
  return distance;
}

void AnnounceSleep(std::int64_t milliseconds) {
  const std::time_t now = std::time(nullptr);
  char clock[8] = "";
  if (const std::tm* local = std::localtime(&now); local != nullptr) {
    std::strftime(clock, sizeof clock, "%H:%M", local);
  }
  PrintOutput("%5.5s - sleeping for %s\n", clock, FormatDuration((milliseconds + 500) / 1000).c_str());
  std::fflush(stdout);
}

// -Dr: the messages follow each other as they were put, each at its own instant after a reference message, so that what
// handling a message takes adds up to no delay.
void DelayAsPut(Parameters& run) {
  ReplayState& replay = run.Replay;
  const MQMD& descriptor = run.Message.Descriptor;
  if (PutTimeUtc(descriptor.PutDate, descriptor.PutTime) < 0) return;  // no time to keep to
  const std::int64_t distance = replay.ReplayStart ? PutDistance(replay, descriptor) : -1;
  if (distance < 0) {
    replay.ReplayStart = run.Pace.Clock->Ticks();
    std::memcpy(replay.ReplayPutDate, descriptor.PutDate, sizeof replay.ReplayPutDate);
    std::memcpy(replay.ReplayPutTime, descriptor.PutTime, sizeof replay.ReplayPutTime);
    return;
  }
  const double after = std::clamp(static_cast<double>(distance) * run.Asked.Pace.Delay / 100, 0.0, kLongestReplay);
  const std::int64_t wait = *replay.ReplayStart + static_cast<std::int64_t>(after) - run.Pace.Clock->Ticks();
  if (wait <= 0) return;
  if (wait > kAnnouncedWait) AnnounceSleep(wait);
  run.Pace.Clock->Sleep(wait);
}

void Delay(Parameters& run) {
  if (run.Asked.Pace.DelayRelative) {
    DelayAsPut(run);
  } else if (run.Asked.Pace.Delay > 0) {
    run.Pace.Clock->Sleep(run.Asked.Pace.Delay);
  } else if (run.Asked.Pace.Delay < 0) {
    const auto seed =
        run.Replay.RandomState != 0 ? run.Replay.RandomState : static_cast<std::uint32_t>(run.Pace.Clock->Ticks());
    std::minstd_rand random(seed);
    run.Replay.RandomState = static_cast<std::uint32_t>(random());
    run.Pace.Clock->Sleep(-static_cast<std::int64_t>(run.Asked.Pace.Delay) *
                          (run.Replay.RandomState % (kRandomRange + 1)) / kRandomRange);
  }
}

// Takes `bytes` off the front of the message in hand.
void SkipData(CurrentMessage& message, std::size_t bytes) {
  const auto skipped = static_cast<MQLONG>(bytes);
  message.Data += skipped;
  message.Length -= skipped;
  message.Delivered -= skipped;
}

void CopyText(char* to, const char* from, std::size_t bytes, bool ebcdic) {
  for (std::size_t i = 0; i < bytes; ++i) {
    to[i] = ebcdic ? EbcdicToAscii(static_cast<unsigned char>(from[i])) : from[i];
  }
}

MQLONG InOrder(MQLONG value, bool swapped) {
  return swapped ? std::bit_cast<MQLONG>(__builtin_bswap32(std::bit_cast<std::uint32_t>(value))) : value;
}

// -h: a dead-letter header, then a transmission-queue header are taken off, and the descriptor says again what it said
// of the message inside. A message that is too short for the header its format announces has none.
void StripHeaders(CurrentMessage& message) {
  MQMD& descriptor = message.Descriptor;
  const bool swap = (descriptor.Encoding & MQENC_INTEGER_NORMAL) != 0;
  const bool ebcdic = IsEbcdicCcsid(descriptor.CodedCharSetId);
  if (IsFormat(descriptor.Format, MQFMT_DEAD_LETTER_HEADER) &&
      message.Delivered >= static_cast<MQLONG>(sizeof(MQDLH))) {
    MQDLH header;
    std::memcpy(&header, message.Data, sizeof header);
    descriptor.Encoding = InOrder(header.Encoding, swap);
    descriptor.CodedCharSetId = InOrder(header.CodedCharSetId, swap);
    descriptor.PutApplType = InOrder(header.PutApplType, swap);
    CopyText(descriptor.Format, header.Format, sizeof header.Format, ebcdic);
    CopyText(descriptor.PutApplName, header.PutApplName, sizeof header.PutApplName, ebcdic);
    CopyText(descriptor.PutDate, header.PutDate, sizeof header.PutDate, ebcdic);
    CopyText(descriptor.PutTime, header.PutTime, sizeof header.PutTime, ebcdic);
    SkipData(message, sizeof header);
  }
  if (IsFormat(descriptor.Format, MQFMT_XMIT_Q_HEADER) && message.Delivered >= static_cast<MQLONG>(sizeof(MQXQH))) {
    std::memcpy(static_cast<void*>(&descriptor), message.Data + offsetof(MQXQH, MsgDesc), sizeof(MQMD1));
    if (swap || ebcdic) ConvertDescriptor(descriptor, swap, ebcdic);
    // Whatever stood in the header, the descriptor that follows it is one of version 1.
    if (descriptor.Version != MQMD_VERSION_2) descriptor.Version = MQMD_VERSION_1;
    SkipData(message, sizeof(MQXQH));
  }
}

// Only a message that this run takes off its queue is requeued; one that is browsed stays where it is.
bool BelongsOnBackoutQueue(const Parameters& run, const QueueElement* queue) {
  return !run.Asked.Input.NoBackoutQueue && run.Asked.Input.Remove && queue != nullptr && queue->BackoutThreshold > 0 &&
         run.Message.Descriptor.BackoutCount >= queue->BackoutThreshold;
}

// A message whose data was not fetched must not go anywhere with bytes that are not its own.
MQLONG CheckWhole(Parameters& run) {
  const CurrentMessage& message = run.Message;
  if (message.Delivered == message.Length) return 0;
  run.MessageText.Format("Only %d of %d bytes of the message were fetched", message.Delivered, message.Length);
  return MQRC_UNEXPECTED_ERROR;
}

}  // namespace

MQLONG HandleMessage(Parameters& run, QueueElement* queue) {
  if (run.Asked.Pace.Delay != 0 || run.Asked.Pace.DelayRelative) Delay(run);
  const bool summary = run.Asked.Display.Summary;
  // The backout queue gets the message as it was on its queue, headers included.
  if (!summary && BelongsOnBackoutQueue(run, queue)) {
    if (const MQLONG reason = CheckWhole(run); reason != 0) return reason;
    const CurrentMessage& message = run.Message;
    return RequeueToBackout(run, *queue, message.Descriptor, message.Data, message.Length);
  }
  if (run.Asked.Output.StripHeaders) StripHeaders(run.Message);
  if (summary) {
    run.Summary->Add(run.Message.Descriptor, run.Message.Length);
    return 0;
  }
  if (run.Asked.Output.HasQueues()) {
    if (const MQLONG reason = CheckWhole(run); reason != 0) return reason;
    return PutMessage(run, queue);
  }
  return WriteFileMessage(run);
}
