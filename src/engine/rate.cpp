#include "engine/rate.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <limits>

#include "cmdline/parameters.h"

namespace {

constexpr int kPeriod = 1000;        // milliseconds
constexpr int kFirstGuess = 1000;    // messages a second
constexpr int kDeepQueue = 5000;     // a target deeper than this is drained rather than kept level
constexpr int kOnTime = 5;           // milliseconds by which a period may be off and still counts as full
constexpr int kShortestSleep = 30;   // milliseconds
constexpr int kCautiousGuess = 500;  // from here on adjustments may be limited
constexpr double kSmallestStep = 0.95;
constexpr double kBiggestStep = 1.05;

bool VerboseRate(const Parameters& run) { return run.Asked.Display.RateDetails; }

std::int64_t ElapsedMillis(const RateState& pace) { return pace.Clock->Ticks() - pace.RatePeriodStart; }

void StartPeriod(RateState& pace) {
  pace.RatePeriodCount = 0;
  pace.RatePeriodStart = pace.Clock->Ticks();
}

bool EndTimePassed(const RateState& pace) {
  if (pace.RateEndTime == 0 || pace.Clock->Seconds() <= pace.RateEndTime) return false;
  PrintOutput("Required Rate End Time Reached.\n");
  std::fflush(stdout);
  return true;
}

MQLONG PaceFixed(Parameters& run, bool& ended) {
  RateState& pace = run.Pace;
  if (pace.RatePeriodCount < run.Asked.Pace.Rate) return 0;
  const std::int64_t elapsed = ElapsedMillis(pace);
  const std::int64_t remain = kPeriod - elapsed;
  if (remain < 0) {
    PrintOutput("Can not achieve %d msgs/second, took %.1f seconds\n", run.Asked.Pace.Rate,
                static_cast<double>(elapsed) / kPeriod);
  } else {
    PrintOutput("%d msgs sent in %d milliseconds\n", run.Asked.Pace.Rate, static_cast<int>(elapsed));
  }
  std::fflush(stdout);
  if (remain > 0) pace.Clock->Sleep(remain);
  if (const MQLONG reason = CommitAll(run); reason != 0) return reason;
  ended = EndTimePassed(pace);
  StartPeriod(pace);
  return 0;
}

// What the consumer of the target queue did in a period of the adaptive rate.
struct Period {
  std::int64_t Elapsed = 0;   // milliseconds
  std::int64_t Remain = 0;    // of the second, negative when it took longer
  int Depth = 0;              // of the target now
  std::int64_t Consumed = 0;  // negative when others put to the target too
};

void ShowPeriodRate(const Parameters& run, const Period& period) {
  if (VerboseRate(run)) {
    PrintOutput("%5" PRId64 " msgs sent in %4" PRId64 " milliseconds\n", period.Consumed, period.Elapsed);
  } else {
    PrintOutput("Message Rate %5" PRId64 " msgs/sec\n", period.Consumed);
  }
}

// By how much the quota of the next period differs, before it is limited.
double Adjustment(RateState& pace, const Period& period) {
  double factor = 1.0;
  if (period.Remain > kOnTime) {
    factor = period.Elapsed == 0 ? 2.0 : static_cast<double>(kPeriod) / static_cast<double>(period.Elapsed);
  } else if (period.Remain < -kOnTime) {
    pace.RateClamp = true;
    factor = static_cast<double>(kPeriod) / static_cast<double>(period.Elapsed);
  }
  if (period.Depth > kDeepQueue && pace.RateGuess > 0) {
    const auto consumed = static_cast<double>(std::max<std::int64_t>(period.Consumed, 0));
    factor = static_cast<double>(static_cast<std::int64_t>(consumed * factor)) / pace.RateGuess;
  }
  return factor;
}

void AdjustGuess(Parameters& run, const Period& period) {
  RateState& pace = run.Pace;
  double factor = Adjustment(pace, period);
  constexpr std::int64_t kMost = std::numeric_limits<int>::max();
  if (period.Consumed == 0) {
    PrintOutput("Target Queue does not appear to be being processed.\n");
    pace.RateClamp = false;
  } else {
    if (period.Depth < kDeepQueue && pace.RateGuess == 0) {
      pace.RateGuess = static_cast<int>(std::clamp<std::int64_t>(period.Consumed, 0, kMost));
    }
    ShowPeriodRate(run, period);
  }
  std::fflush(stdout);
  if (pace.RateGuess < kCautiousGuess) pace.RateClamp = false;
  if (pace.RateClamp) factor = std::clamp(factor, kSmallestStep, kBiggestStep);
  if (VerboseRate(run)) PrintOutput("  Adjust:%.2f\n", factor);
  pace.RateGuess = static_cast<int>(std::min(pace.RateGuess * factor, static_cast<double>(kMost)));
}

// Keeps the target queue from growing: the next second's quota follows what its consumer took in the last one.
MQLONG PaceAdaptive(Parameters& run, bool& ended) {
  RateState& pace = run.Pace;
  if (std::int64_t{pace.RateDepth} + pace.RatePeriodCount < pace.RateGuess) return 0;
  if (const MQLONG reason = CommitAll(run); reason != 0) return reason;
  Period period;
  period.Elapsed = ElapsedMillis(pace);
  period.Remain = kPeriod - period.Elapsed;
  period.Depth = run.TargetQueues->Depth();
  period.Consumed = std::int64_t{pace.RateDepth} - period.Depth + pace.RatePeriodCount;
  if (VerboseRate(run)) {
    PrintOutput("  Period:%d Guess:%d Rate:%d Remain:%d Depth:%d Processed:%d\n", static_cast<int>(period.Elapsed),
                pace.RateGuess, pace.RatePeriodCount, pace.RateDepth, period.Depth, static_cast<int>(period.Consumed));
  }
  pace.RateDepth = period.Depth;
  AdjustGuess(run, period);
  const bool sleeps = period.Remain > kShortestSleep;
  if (VerboseRate(run)) {
    if (sleeps) {
      PrintOutput("  Sleeping for %d\n", static_cast<int>(period.Remain));
    } else {
      PrintOutput("  Sleep skipped\n");
    }
    std::fflush(stdout);
  }
  if (sleeps) pace.Clock->Sleep(period.Remain);
  ended = EndTimePassed(pace);
  StartPeriod(pace);
  return 0;
}

void PrintStatus(Parameters& run, std::int64_t now) {
  StatusState& status = run.Status;
  char clock[16] = "";
  const auto time = static_cast<std::time_t>(now);
  if (const std::tm* local = std::localtime(&time); local != nullptr) {
    std::strftime(clock, sizeof clock, "%H:%M:%S", local);
  }
  status.StatusCarry += status.StatusMsgs;
  status.StatusMsgs = 0;
  if (now != status.LastRateTime) {
    const double throughput = status.StatusCarry / static_cast<double>(now - status.LastRateTime);
    run.Screen.Print("%.8s> Status - Read:%10" PRId64 " Written:%10" PRId64 " Thruput:%8.1f msg/sec\n", clock,
                     run.MsgsRead, run.Written().Msgs, throughput);
    status.StatusCarry = 0;
    status.LastRateTime = now;
  } else {
    run.Screen.Print("%.8s> Status - Read:%10" PRId64 " Written:%10" PRId64 " Thruput:       * msg/sec\n", clock,
                     run.MsgsRead, run.Written().Msgs);
  }
  status.LastStatusTime = now;
}

}  // namespace

void StartRate(Parameters& run) {
  RateState& pace = run.Pace;
  StartPeriod(pace);
  pace.RateGuess = kFirstGuess;
  pace.RateClamp = false;
  if (run.Asked.Pace.Rate == -1) pace.RateDepth = run.TargetQueues->Depth();
  pace.RateEndTime = run.Asked.Pace.RateDuration > 0 ? pace.Clock->Seconds() + run.Asked.Pace.RateDuration : 0;
}

MQLONG PaceMessage(Parameters& run, bool& ended) {
  ++run.Pace.RatePeriodCount;
  return run.Asked.Pace.Rate == -1 ? PaceAdaptive(run, ended) : PaceFixed(run, ended);
}

void CheckStatus(Parameters& run) {
  const StatusState& status = run.Status;
  const std::int64_t now = run.Pace.Clock->Seconds();
  if (status.StatusMsgs >= static_cast<std::uint32_t>(run.Asked.Display.StatusEveryMsgs) ||
      now - status.LastStatusTime > run.Asked.Display.StatusEverySecs) {
    PrintStatus(run, now);
  }
}
