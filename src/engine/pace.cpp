#include "engine/pace.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <limits>

#include "common/console.h"

namespace {

constexpr int kPeriod = 1000;        // milliseconds
constexpr int kFirstGuess = 1000;    // messages a second
constexpr int kDeepQueue = 5000;     // a target deeper than this is drained rather than kept level
constexpr int kOnTime = 5;           // milliseconds by which a period may be off and still counts as full
constexpr int kShortestSleep = 30;   // milliseconds
constexpr int kCautiousGuess = 500;  // from here on adjustments may be limited
constexpr double kSmallestStep = 0.95;
constexpr double kBiggestStep = 1.05;

}  // namespace

Pace::Pace(const PaceOptions& asked, bool details, const OutputQueues& queues, const PaceClock& clock)
    : asked_(asked), details_(details), queues_(queues), clock_(clock), guess_(kFirstGuess) {
  StartPeriod();
  if (asked_.Rate == -1) depth_ = queues_.Depth();
  if (asked_.RateDuration > 0) endTime_ = clock_.Seconds() + asked_.RateDuration;
}

void Pace::StartPeriod() {
  count_ = 0;
  periodStart_ = clock_.Ticks();
}

bool Pace::EndTimePassed() const {
  if (!over()) return false;
  PrintOutput("Required Rate End Time Reached.\n");
  std::fflush(stdout);
  return true;
}

Result Pace::After(UnitOfWork& unit, bool& ended) {
  ++count_;
  return asked_.Rate == -1 ? Adaptive(unit, ended) : Fixed(unit, ended);
}

Result Pace::Fixed(UnitOfWork& unit, bool& ended) {
  if (count_ < asked_.Rate) return {};
  const std::int64_t elapsed = Elapsed();
  const std::int64_t remain = kPeriod - elapsed;
  if (remain < 0) {
    PrintOutput("Can not achieve %d msgs/second, took %.1f seconds\n", asked_.Rate,
                static_cast<double>(elapsed) / kPeriod);
  } else {
    PrintOutput("%d msgs sent in %d milliseconds\n", asked_.Rate, static_cast<int>(elapsed));
  }
  std::fflush(stdout);
  if (remain > 0) clock_.Sleep(remain);
  if (Result committed = unit.Commit(); committed.failed()) return committed;
  ended = EndTimePassed();
  StartPeriod();
  return {};
}

void Pace::ShowPeriodRate(const Period& period) const {
  if (details_) {
    PrintOutput("%5" PRId64 " msgs sent in %4" PRId64 " milliseconds\n", period.Consumed, period.Elapsed);
  } else {
    PrintOutput("Message Rate %5" PRId64 " msgs/sec\n", period.Consumed);
  }
}

// By how much the quota of the next period differs, before it is limited.
double Pace::Adjustment(const Period& period) {
  double factor = 1.0;
  if (period.Remain > kOnTime) {
    factor = period.Elapsed == 0 ? 2.0 : static_cast<double>(kPeriod) / static_cast<double>(period.Elapsed);
  } else if (period.Remain < -kOnTime) {
    clamp_ = true;
    factor = static_cast<double>(kPeriod) / static_cast<double>(period.Elapsed);
  }
  if (period.Depth > kDeepQueue && guess_ > 0) {
    const auto consumed = static_cast<double>(std::max<std::int64_t>(period.Consumed, 0));
    factor = static_cast<double>(static_cast<std::int64_t>(consumed * factor)) / guess_;
  }
  return factor;
}

void Pace::AdjustGuess(const Period& period) {
  double factor = Adjustment(period);
  constexpr std::int64_t kMost = std::numeric_limits<int>::max();
  if (period.Consumed == 0) {
    PrintOutput("Target Queue does not appear to be being processed.\n");
    clamp_ = false;
  } else {
    if (period.Depth < kDeepQueue && guess_ == 0) {
      guess_ = static_cast<int>(std::clamp<std::int64_t>(period.Consumed, 0, kMost));
    }
    ShowPeriodRate(period);
  }
  std::fflush(stdout);
  if (guess_ < kCautiousGuess) clamp_ = false;
  if (clamp_) factor = std::clamp(factor, kSmallestStep, kBiggestStep);
  if (details_) PrintOutput("  Adjust:%.2f\n", factor);
  guess_ = static_cast<int>(std::min(guess_ * factor, static_cast<double>(kMost)));
}

void Pace::SleepThrough(const Period& period) const {
  const bool sleeps = period.Remain > kShortestSleep;
  if (details_) {
    if (sleeps) {
      PrintOutput("  Sleeping for %d\n", static_cast<int>(period.Remain));
    } else {
      PrintOutput("  Sleep skipped\n");
    }
    std::fflush(stdout);
  }
  if (sleeps) clock_.Sleep(period.Remain);
}

// Keeps the target queue from growing: the next second's quota follows what its consumer took in the last one.
Result Pace::Adaptive(UnitOfWork& unit, bool& ended) {
  if (std::int64_t{depth_} + count_ < guess_) return {};
  if (Result committed = unit.Commit(); committed.failed()) return committed;
  Period period;
  period.Elapsed = Elapsed();
  period.Remain = kPeriod - period.Elapsed;
  period.Depth = queues_.Depth();
  period.Consumed = std::int64_t{depth_} - period.Depth + count_;
  if (details_) {
    PrintOutput("  Period:%d Guess:%d Rate:%d Remain:%d Depth:%d Processed:%d\n", static_cast<int>(period.Elapsed),
                guess_, count_, depth_, period.Depth, static_cast<int>(period.Consumed));
  }
  depth_ = period.Depth;
  AdjustGuess(period);
  SleepThrough(period);
  ended = EndTimePassed();
  StartPeriod();
  return {};
}
