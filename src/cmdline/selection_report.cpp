#include "cmdline/selection_report.h"

#include <algorithm>
#include <cinttypes>
#include <ctime>
#include <string_view>
#include <vector>

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

void ShowRange(Console& screen, const SelectionOptions& selection) {
  const int start = selection.RangeStart;
  const int end = selection.RangeEnd;
  if (start == 0 && end == 0) return;
  if (start == 0) {
    screen.Print("  Message index up to %d.\n", end);
  } else if (end == 0) {
    screen.Print("  Message indexes %d onwards.\n", start);
  } else if (start == end) {
    screen.Print("  Message index %d only.\n", start);
  } else {
    screen.Print("  Message indexes %d -> %d.\n", std::min(start, end), std::max(start, end));
  }
}

void ShowSizes(Console& screen, const SelectionOptions& selection) {
  if (selection.SizeAtLeast != -1) {
    screen.Print("  Message size greater or equal to %s\n",
                 FormatUnits(selection.SizeAtLeast, kByteUnits, kSizeStyle).c_str());
  }
  if (selection.SizeBelow != -1) {
    screen.Print("  Message size less than %s\n", FormatUnits(selection.SizeBelow, kByteUnits, kSizeStyle).c_str());
  }
}

void ShowPriorities(Console& screen, const SelectionOptions& selection) {
  if (selection.PriorityAtLeast != -1) {
    screen.Print("  Message priority greater or equal to %d\n", selection.PriorityAtLeast);
  }
  if (selection.PriorityAtMost != -1) {
    screen.Print("  Message priority less than or equal to %d\n", selection.PriorityAtMost);
  }
}

void ShowIdentifiers(Console& screen, const SelectionOptions& selection) {
  if (selection.MsgId.has_value()) {
    screen.Print("  Message Identifier 0x'%s'\n", HexText(*selection.MsgId).c_str());
  }
  if (selection.CorrelId.has_value()) {
    screen.Print("  Correlation Identifier 0x'%s'\n", HexText(*selection.CorrelId).c_str());
  }
  if (selection.GroupId.has_value()) {
    screen.Print("  Group Identifier 0x'%s'\n", HexText(*selection.GroupId).c_str());
  }
}

void ShowPutTimes(Console& screen, const SelectionOptions& selection, std::int64_t now, bool debug) {
  if (selection.PutAfter != 0) {
    const std::string time = LocalTimeText(selection.PutAfter);
    if (selection.YoungerThan != 0) {
      screen.Print("  Younger than (%s) %s", FormatDuration(selection.YoungerThan).c_str(), time.c_str());
    } else {
      screen.Print("  Put after  %s", time.c_str());
    }
    if (debug) screen.Print("  Put after  %" PRId64 " (%" PRId64 ")", selection.PutAfter, now - selection.PutAfter);
  }
  if (selection.PutBefore != 0) {
    const std::string time = LocalTimeText(selection.PutBefore);
    if (selection.OlderThan == 0) {
      screen.Print("  Put before %s", time.c_str());
    } else {
      // Aligned under the younger line when there is one.
      screen.Print("  Older %sthan (%s) %s", selection.PutAfter != 0 ? "  " : "",
                   FormatDuration(selection.OlderThan).c_str(), time.c_str());
    }
    if (debug) screen.Print("  Put before %" PRId64 " (%" PRId64 ")", selection.PutBefore, now - selection.PutBefore);
  }
}

void ShowDeadLetterFilters(Console& screen, const SelectionOptions& selection) {
  if (selection.Target) {
    const std::string qmgr = selection.Target->QMgr.empty() ? "" : selection.Target->QMgr + '/';
    screen.Print("  Messages targeted to %s%s\n", qmgr.c_str(), selection.Target->Queue.c_str());
  }
  if (selection.DlqReason) {
    screen.Print("  Messages with DLQ Reason %d %s\n", *selection.DlqReason, ReasonText(*selection.DlqReason));
  }
}

enum class Shown { AsItIs, FromEbcdic, Hex };

void ShowStrings(Console& screen, const std::vector<std::string>& strings, Shown shown, const char* contain,
                 const char* kind) {
  for (const std::string& bytes : strings) {
    const std::string text = shown == Shown::Hex          ? HexText(bytes)
                             : shown == Shown::FromEbcdic ? AsciiFromEbcdic(bytes)
                                                          : bytes;
    screen.Print("  %s the %s string %s'%s'\n", contain, kind, shown == Shown::Hex ? "0x" : "", text.c_str());
  }
}

void ShowContents(Console& screen, const SelectionOptions& selection) {
  static constexpr char kWith[] = "Containing";
  static constexpr char kWithout[] = "Not containing";
  ShowStrings(screen, selection.Ascii, Shown::AsItIs, kWith, "ASCII");
  ShowStrings(screen, selection.AsciiNot, Shown::AsItIs, kWithout, "ASCII");
  ShowStrings(screen, selection.Ebcdic, Shown::FromEbcdic, kWith, "EBCDIC");
  ShowStrings(screen, selection.EbcdicNot, Shown::FromEbcdic, kWithout, "EBCDIC");
  ShowStrings(screen, selection.Hex, Shown::Hex, kWith, "HEX");
  ShowStrings(screen, selection.HexNot, Shown::Hex, kWithout, "HEX");
}

}  // namespace

void ShowSelection(Console& screen, const Options& asked, std::int64_t startTime) {
  const SelectionOptions& selection = asked.Selection;
  if (asked.Display.Quiet) return;
  if (asked.Display.TraceTimes) screen.Print("Current Time:%" PRId64 "\n", startTime);
  screen.PrintText(selection.Invert ? "Inverse Message selection active:\n" : "Message selection active:\n");
  ShowRange(screen, selection);
  if (selection.Selector) screen.Print("  Messages matching selector '%s'\n", selection.Selector->c_str());
  ShowSizes(screen, selection);
  ShowPriorities(screen, selection);
  ShowIdentifiers(screen, selection);
  ShowPutTimes(screen, selection, startTime, asked.Display.TraceTimes);
  ShowDeadLetterFilters(screen, selection);
  ShowContents(screen, selection);
  screen.Print("\n");
}

void ShowExampleDates(Console& screen, const char* date) {
  static constexpr char kNoon[] = "120000";
  screen.Print("Example Date %s %s is %" PRId64 " as local time \n", date, kNoon, PutTimeLocal(date, kNoon));
  screen.Print("Example Date %s %s is %" PRId64 " as UTC time \n", date, kNoon, PutTimeUtc(date, kNoon));
}

std::string LocalTimeText(std::int64_t seconds) {
  const std::time_t time = static_cast<std::time_t>(seconds);
  char text[64];
  const std::tm* local = std::localtime(&time);
  if (local == nullptr || std::strftime(text, sizeof text, "%a %b %d %H:%M:%S %Y\n", local) == 0) return "unknown\n";
  return text;
}
