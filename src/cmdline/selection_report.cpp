#include "cmdline/selection_report.h"

#include <algorithm>
#include <cinttypes>
#include <ctime>
#include <string_view>
#include <vector>

#include "cmdline/parameters.h"
#include "common/units.h"
#include "engine/code_pages.h"
#include "mq/put_time.h"
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

std::string HexText(const Identifier& identifier) {
  return HexText(std::string_view(reinterpret_cast<const char*>(identifier.data()), identifier.size()));
}

std::string AsciiFromEbcdic(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) text += EbcdicToAscii(static_cast<unsigned char>(c));
  return text;
}

void ShowRange(Parameters& run) {
  const int start = run.Asked.Selection.RangeStart;
  const int end = run.Asked.Selection.RangeEnd;
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
  if (run.Asked.Selection.SizeAtLeast != -1) {
    run.Screen.Print("  Message size greater or equal to %s\n",
                     FormatUnits(run.Asked.Selection.SizeAtLeast, kByteUnits, kSizeStyle).c_str());
  }
  if (run.Asked.Selection.SizeBelow != -1) {
    run.Screen.Print("  Message size less than %s\n",
                     FormatUnits(run.Asked.Selection.SizeBelow, kByteUnits, kSizeStyle).c_str());
  }
}

void ShowPriorities(Parameters& run) {
  if (run.Asked.Selection.PriorityAtLeast != -1) {
    run.Screen.Print("  Message priority greater or equal to %d\n", run.Asked.Selection.PriorityAtLeast);
  }
  if (run.Asked.Selection.PriorityAtMost != -1) {
    run.Screen.Print("  Message priority less than or equal to %d\n", run.Asked.Selection.PriorityAtMost);
  }
}

void ShowIdentifiers(Parameters& run) {
  if (run.Asked.Selection.MsgId.has_value()) {
    run.Screen.Print("  Message Identifier 0x'%s'\n", HexText(*run.Asked.Selection.MsgId).c_str());
  }
  if (run.Asked.Selection.CorrelId.has_value()) {
    run.Screen.Print("  Correlation Identifier 0x'%s'\n", HexText(*run.Asked.Selection.CorrelId).c_str());
  }
  if (run.Asked.Selection.GroupId.has_value()) {
    run.Screen.Print("  Group Identifier 0x'%s'\n", HexText(*run.Asked.Selection.GroupId).c_str());
  }
}

void ShowPutTimes(Parameters& run) {
  const std::int64_t now = run.StartTime;
  const bool debug = run.Asked.Display.TraceTimes;
  if (run.Asked.Selection.PutAfter != 0) {
    const std::string time = LocalTimeText(run.Asked.Selection.PutAfter);
    if (run.Asked.Selection.YoungerThan != 0) {
      run.Screen.Print("  Younger than (%s) %s", FormatDuration(run.Asked.Selection.YoungerThan).c_str(), time.c_str());
    } else {
      run.Screen.Print("  Put after  %s", time.c_str());
    }
    if (debug)
      run.Screen.Print("  Put after  %" PRId64 " (%" PRId64 ")", run.Asked.Selection.PutAfter,
                       now - run.Asked.Selection.PutAfter);
  }
  if (run.Asked.Selection.PutBefore != 0) {
    const std::string time = LocalTimeText(run.Asked.Selection.PutBefore);
    if (run.Asked.Selection.OlderThan == 0) {
      run.Screen.Print("  Put before %s", time.c_str());
    } else {
      // Aligned under the younger line when there is one.
      run.Screen.Print("  Older %sthan (%s) %s", run.Asked.Selection.PutAfter != 0 ? "  " : "",
                       FormatDuration(run.Asked.Selection.OlderThan).c_str(), time.c_str());
    }
    if (debug)
      run.Screen.Print("  Put before %" PRId64 " (%" PRId64 ")", run.Asked.Selection.PutBefore,
                       now - run.Asked.Selection.PutBefore);
  }
}

void ShowDeadLetterFilters(Parameters& run) {
  const SelectionOptions& selection = run.Asked.Selection;
  if (selection.Target) {
    const std::string qmgr = selection.Target->QMgr.empty() ? "" : selection.Target->QMgr + '/';
    run.Screen.Print("  Messages targeted to %s%s\n", qmgr.c_str(), selection.Target->Queue.c_str());
  }
  if (selection.DlqReason) {
    run.Screen.Print("  Messages with DLQ Reason %d %s\n", *selection.DlqReason, ReasonText(*selection.DlqReason));
  }
}

enum class Shown { AsItIs, FromEbcdic, Hex };

void ShowStrings(Parameters& run, const std::vector<std::string>& strings, Shown shown, const char* contain,
                 const char* kind) {
  for (const std::string& bytes : strings) {
    const std::string text = shown == Shown::Hex          ? HexText(bytes)
                             : shown == Shown::FromEbcdic ? AsciiFromEbcdic(bytes)
                                                          : bytes;
    run.Screen.Print("  %s the %s string %s'%s'\n", contain, kind, shown == Shown::Hex ? "0x" : "", text.c_str());
  }
}

void ShowContents(Parameters& run) {
  static constexpr char kWith[] = "Containing";
  static constexpr char kWithout[] = "Not containing";
  ShowStrings(run, run.Asked.Selection.Ascii, Shown::AsItIs, kWith, "ASCII");
  ShowStrings(run, run.Asked.Selection.AsciiNot, Shown::AsItIs, kWithout, "ASCII");
  ShowStrings(run, run.Asked.Selection.Ebcdic, Shown::FromEbcdic, kWith, "EBCDIC");
  ShowStrings(run, run.Asked.Selection.EbcdicNot, Shown::FromEbcdic, kWithout, "EBCDIC");
  ShowStrings(run, run.Asked.Selection.Hex, Shown::Hex, kWith, "HEX");
  ShowStrings(run, run.Asked.Selection.HexNot, Shown::Hex, kWithout, "HEX");
}

}  // namespace

void ShowSelection(Parameters& run) {
  if (run.Asked.Display.Quiet) return;
  if (run.Asked.Display.TraceTimes) run.Screen.Print("Current Time:%" PRId64 "\n", run.StartTime);
  run.Screen.PrintText(run.Asked.Selection.Invert ? "Inverse Message selection active:\n"
                                                  : "Message selection active:\n");
  ShowRange(run);
  if (run.Asked.Selection.Selector)
    run.Screen.Print("  Messages matching selector '%s'\n", run.Asked.Selection.Selector->c_str());
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
