#include "engine/delay.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <random>

#include "common/console.h"
#include "common/units.h"
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

// Milliseconds from one put time to another.
std::int64_t PutDistance(const char* fromDate, const char* fromTime, const MQMD& to) {
  std::int64_t distance = MillisecondOfDay(to.PutTime) - MillisecondOfDay(fromTime);
  if (std::memcmp(fromDate, to.PutDate, sizeof to.PutDate) != 0) {
    static constexpr char kMidnight[] = "00000000";
    distance += (PutTimeLocal(to.PutDate, kMidnight) - PutTimeLocal(fromDate, kMidnight)) * 1000;
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

}  // namespace

void Delay::Before(const MQMD& descriptor) {
  if (pace_.DelayRelative) {
    AsPut(descriptor);
  } else if (pace_.Delay > 0) {
    clock_.Sleep(pace_.Delay);
  } else if (pace_.Delay < 0) {
    AtRandom();
  }
}

// The messages follow each other as they were put, each at its own instant after a reference message, so that what
// handling a message takes adds up to no delay.
void Delay::AsPut(const MQMD& descriptor) {
  if (PutTimeUtc(descriptor.PutDate, descriptor.PutTime) < 0) return;  // no time to keep to
  const std::int64_t distance = start_ ? PutDistance(startDate_, startTime_, descriptor) : -1;
  if (distance < 0) {
    start_ = clock_.Ticks();
    std::memcpy(startDate_, descriptor.PutDate, sizeof startDate_);
    std::memcpy(startTime_, descriptor.PutTime, sizeof startTime_);
    return;
  }
  const double after = std::clamp(static_cast<double>(distance) * pace_.Delay / 100, 0.0, kLongestReplay);
  const std::int64_t wait = *start_ + static_cast<std::int64_t>(after) - clock_.Ticks();
  if (wait <= 0) return;
  if (wait > kAnnouncedWait) AnnounceSleep(wait);
  clock_.Sleep(wait);
}

void Delay::AtRandom() {
  std::minstd_rand random(random_ != 0 ? random_ : static_cast<std::uint32_t>(clock_.Ticks()));
  random_ = static_cast<std::uint32_t>(random());
  clock_.Sleep(-static_cast<std::int64_t>(pace_.Delay) * (random_ % (kRandomRange + 1)) / kRandomRange);
}
