#include "cmdline/selection_report.h"

#include <algorithm>
#include <cinttypes>
#include <ctime>
#include <span>
#include <string_view>

#include "cmdline/parameters.h"
#include "common/units.h"
#include "engine/code_pages.h"
#include "mq/reasons.h"

namespace {

constexpr unsigned kSizeStyle = kUnitsSeveral | kUnitsShort;

std::string HexText(std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

std::string HexText(const MQBYTE24& identifier) {
  return HexText(std::string_view(reinterpret_cast<const char*>(identifier), sizeof identifier));
}

std::string AsciiFromEbcdic(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) text += EbcdicToAscii(static_cast<unsigned char>(c));
  return text;
}

void ShowRange(Parameters& run) {
  const int start = run.RangeStart;
  const int end = run.RangeEnd;
  if (start == 0 && end == 0) return;
  if (start == 0) {
    run.Screen.Print("  Message index up to %d.\n", end);
  } else if (end == 0) {
    run.Screen.Print("  Message indexes %d onwards.\n", start);
  } else if (start == end) {
    run.Screen.Print("  Message index %d only.\n", start);
  } else {
    run.Screen.Print("  Message indexes %d -> %d.\n", std::min(start, end), std::max(start, end));
  }
}

void ShowSizes(Parameters& run) {
  if (run.SizeAtLeast != -1) {
    run.Screen.Print("  Message size greater or equal to %s\n",
                     FormatUnits(run.SizeAtLeast, kByteUnits, kSizeStyle).c_str());
  }
  if (run.SizeBelow != -1) {
    run.Screen.Print("  Message size less than %s\n", FormatUnits(run.SizeBelow, kByteUnits, kSizeStyle).c_str());
  }
}

void ShowPriorities(Parameters& run) {
  if (run.PriorityAtLeast != -1) {
    run.Screen.Print("  Message priority greater or equal to %d\n", run.PriorityAtLeast);
  }
  if (run.PriorityAtMost != -1) {
    run.Screen.Print("  Message priority less than or equal to %d\n", run.PriorityAtMost);
  }
}

void ShowIdentifiers(Parameters& run) {
  if (run.Has(FLAG_BY_MSGID)) {
    run.Screen.Print("  Message Identifier 0x'%s'\n", HexText(run.SelMsgId).c_str());
  }
  if (run.Has(FLAG_BY_CORRELID)) {
    run.Screen.Print("  Correlation Identifier 0x'%s'\n", HexText(run.SelCorrelId).c_str());
  }
  if (run.Has(FLAG_BY_GROUPID)) {
    run.Screen.Print("  Group Identifier 0x'%s'\n", HexText(run.SelGroupId).c_str());
  }
}

void ShowPutTimes(Parameters& run) {
  const std::int64_t now = run.StartTime;
  const bool debug = (run.Debug & DEBUG_TIME) != 0;
  if (run.PutAfter != 0) {
    const std::string time = LocalTimeText(run.PutAfter);
    if (run.YoungerThan != 0) {
      run.Screen.Print("  Younger than (%s) %s", FormatDuration(run.YoungerThan).c_str(), time.c_str());
    } else {
      run.Screen.Print("  Put after  %s", time.c_str());
    }
    if (debug) run.Screen.Print("  Put after  %" PRId64 " (%" PRId64 ")", run.PutAfter, now - run.PutAfter);
  }
  if (run.PutBefore != 0) {
    const std::string time = LocalTimeText(run.PutBefore);
    if (run.OlderThan == 0) {
      run.Screen.Print("  Put before %s", time.c_str());
    } else {
      // Aligned under the younger line when there is one.
      run.Screen.Print("  Older %sthan (%s) %s", run.PutAfter != 0 ? "  " : "", FormatDuration(run.OlderThan).c_str(),
                       time.c_str());
    }
    if (debug) run.Screen.Print("  Put before %" PRId64 " (%" PRId64 ")", run.PutBefore, now - run.PutBefore);
  }
}

void ShowDeadLetterFilters(Parameters& run) {
  if (run.Has2(FLAG2_BY_TARGET)) {
    if (!run.TargetQMgrMask.empty() || run.TargetQueueMask.empty()) {
      run.Screen.Print("  Messages targeted to %s/%s\n", run.TargetQMgrMask.c_str(), run.TargetQueueMask.c_str());
    } else {
      run.Screen.Print("  Messages targeted to %s\n", run.TargetQueueMask.c_str());
    }
  }
  if (run.Has2(FLAG2_BY_DLQ_REASON)) {
    run.Screen.Print("  Messages with DLQ Reason %d %s\n", run.DlqReason, ReasonText(run.DlqReason));
  }
}

enum class Shown { AsItIs, FromEbcdic, Hex };

void ShowStrings(Parameters& run, std::span<const SearchString> strings, Shown shown, const char* contain,
                 const char* kind) {
  for (const SearchString& string : strings) {
    if (string.Length == 0) return;
    const std::string_view bytes(string.Text, static_cast<std::size_t>(string.Length));
    const std::string text = shown == Shown::Hex          ? HexText(bytes)
                             : shown == Shown::FromEbcdic ? AsciiFromEbcdic(bytes)
                                                          : std::string(bytes);
    run.Screen.Print("  %s the %s string %s'%s'\n", contain, kind, shown == Shown::Hex ? "0x" : "", text.c_str());
  }
}

void ShowContents(Parameters& run) {
  static constexpr char kWith[] = "Containing";
  static constexpr char kWithout[] = "Not containing";
  ShowStrings(run, run.AsciiSearch, Shown::AsItIs, kWith, "ASCII");
  ShowStrings(run, run.AsciiNotSearch, Shown::AsItIs, kWithout, "ASCII");
  ShowStrings(run, run.EbcdicSearch, Shown::FromEbcdic, kWith, "EBCDIC");
  ShowStrings(run, run.EbcdicNotSearch, Shown::FromEbcdic, kWithout, "EBCDIC");
  ShowStrings(run, run.HexSearch, Shown::Hex, kWith, "HEX");
  ShowStrings(run, run.HexNotSearch, Shown::Hex, kWithout, "HEX");
}

}  // namespace

void ShowSelection(Parameters& run) {
  if (run.Has(FLAG_QUIET)) return;
  if ((run.Debug & DEBUG_TIME) != 0) run.Screen.Print("Current Time:%" PRId64 "\n", run.StartTime);
  run.Screen.PrintText(run.Has2(FLAG2_INVERT) ? "Inverse Message selection active:\n" : "Message selection active:\n");
  ShowRange(run);
  if (run.Selector != nullptr) run.Screen.Print("  Messages matching selector '%s'\n", run.Selector->c_str());
  ShowSizes(run);
  ShowPriorities(run);
  ShowIdentifiers(run);
  ShowPutTimes(run);
  ShowDeadLetterFilters(run);
  ShowContents(run);
  run.Screen.Print("\n");
}

void ShowExampleDates(Parameters& run, const char* date) {
  static constexpr char kNoon[] = "120000";
  run.Screen.Print("Example Date %s %s is %" PRId64 " as local time \n", date, kNoon, PutTimeLocal(date, kNoon));
  run.Screen.Print("Example Date %s %s is %" PRId64 " as UTC time \n", date, kNoon, PutTimeUtc(date, kNoon));
}

std::string LocalTimeText(std::int64_t seconds) {
  const std::time_t time = static_cast<std::time_t>(seconds);
  char text[64];
  const std::tm* local = std::localtime(&time);
  if (local == nullptr || std::strftime(text, sizeof text, "%a %b %d %H:%M:%S %Y\n", local) == 0) return "unknown\n";
  return text;
}
