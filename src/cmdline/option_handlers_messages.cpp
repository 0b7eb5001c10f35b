// What happens to a message, and how fast: -A -c -C -D -h -p -t -R -w -b.

#include <string_view>

#include "cmdline/help.h"
#include "cmdline/option_handlers.h"
#include "cmdline/parameters.h"

namespace {

constexpr int kUnlimited = -1;  // "*"

constexpr LetterBits kContextLetters[] = {
    {'A', FLAG_CTX_SET_ALL, 0},       {'I', FLAG_CTX_SET_IDENTITY, 0},
    {'a', FLAG_CTX_PASS_ALL, 0},      {'i', FLAG_CTX_PASS_IDENTITY, 0},
    {'d', FLAG_CTX_DEFAULT, 0},       {'n', FLAG_CTX_NONE, 0},
    {'t', FLAG_CTX_SET_ALL_TIMES, 0}, {0, 0, 0},
};

struct MessageType {
  const char* Name;
  MQLONG Type;
};
constexpr MessageType kMessageTypes[] = {
    {"REQUEST", MQMT_REQUEST}, {"REPLY", MQMT_REPLY}, {"REPORT", MQMT_REPORT}, {"DATAGRAM", MQMT_DATAGRAM}};

bool OverrideMessageType(Parameters& run, const char* name) {
  for (const MessageType& type : kMessageTypes) {
    if (!SameIgnoringCase(name, type.Name)) continue;
    run.OverrideMd.MsgType = type.Type;
    run.OverrideMask |= OVERRIDE_MSG_TYPE;
    return true;
  }
  run.Screen.Print("Unrecognised -At: parameter '%s'\n", name);
  return false;
}

// A reply queue is only of use to a request.
bool OverrideReplyQueue(Parameters& run, const char* text) {
  QueueNames names;
  if (!SplitNames(run, run.QueueSeparator, text, "reply queue", names)) return false;
  MQMD& md = run.OverrideMd;
  FillField(md.ReplyToQMgr, sizeof md.ReplyToQMgr, TextInField(names.QMgr, sizeof names.QMgr), '\0');
  FillField(md.ReplyToQ, sizeof md.ReplyToQ, TextInField(names.Queue, sizeof names.Queue), '\0');
  md.MsgType = MQMT_REQUEST;
  run.OverrideMask |= OVERRIDE_REPLY_QUEUE | OVERRIDE_MSG_TYPE;
  return true;
}

// A positive number, or "*" for no limit.
bool StoreRatePart(OptionScan& scan, const char* argument, std::string_view text, int& field) {
  if (text == "*") {
    field = kUnlimited;
    return true;
  }
  return StoreNumber(scan, argument, text, field, kUnlimited);
}

}  // namespace

bool HandleOverride(OptionScan& scan, const char* argument) {
  Parameters& run = scan.run;
  if (!CheckColon(scan, argument)) return false;
  MQMD& md = run.OverrideMd;
  const char* value = argument + 2;
  const auto overrideNumber = [&](MQLONG& field, std::uint32_t bit) {
    run.OverrideMask |= bit;
    return StoreNumber(scan, argument, value, field, kLeastInteger);
  };
  switch (argument[0]) {
    case 'c':
      return overrideNumber(md.CodedCharSetId, OVERRIDE_CCSID);
    case 'e':
      return overrideNumber(md.Expiry, OVERRIDE_EXPIRY);
    case 'p':
      return overrideNumber(md.Priority, OVERRIDE_PRIORITY);
    case 'f':
      FillField(md.Format, sizeof md.Format, value);
      run.OverrideMask |= OVERRIDE_FORMAT;
      return true;
    case 'r':
      return OverrideReplyQueue(run, value);
    case 't':
      return OverrideMessageType(run, value);
    default:
      run.Screen.Print("Unrecognised 'A' flag '%c'\n", argument[0]);
      return false;
  }
}

bool HandleConvert(OptionScan& scan, const char* argument) {
  Parameters& run = scan.run;
  const std::string_view text = argument;
  const std::size_t colon = text.find(':');
  run.ConvertEncoding = MQENC_NATIVE;
  if (colon != std::string_view::npos) {
    const auto encoding = WholeHexNumber(text.substr(colon + 1), kMostInteger);
    if (!encoding) return RefuseArgument(scan, argument);
    if (*encoding != 0) run.ConvertEncoding = static_cast<MQLONG>(*encoding);
  }
  run.Flags |= FLAG_CONVERT;
  return StoreNumber(scan, argument, text.substr(0, colon), run.ConvertCcsid, kLeastInteger);
}

bool HandleContext(OptionScan& scan, const char* argument) {
  Parameters& run = scan.run;
  const bool single = argument[0] == '\0' || argument[1] == '\0';
  run.Flags &= ~kContextFlags;
  if (single && argument[0] != '\0' && ApplyLetter(run, kContextLetters, argument[0])) return true;
  run.Screen.PrintText(single ? "I did not understand your context parameter\n\n"
                              : "The context parameter can only be a single letter\n\n");
  ShowOptionHelp(run, scan.Letter);
  return false;
}

bool HandleDelay(OptionScan& scan, const char* argument) {
  Parameters& run = scan.run;
  if (argument[0] != 'r') return StoreNumber(scan, argument, argument, run.Delay, -kMostInteger);
  run.Flags |= FLAG_DELAY_RELATIVE;
  std::string_view percent = argument + 1;
  if (!percent.empty()) {
    if (percent.ends_with('%')) percent.remove_suffix(1);
    if (!StoreNumber(scan, argument, percent, run.Delay)) return false;
  }
  if (percent.empty() || run.Delay == 0) run.Delay = 100;
  return true;
}

bool HandleStripHeaders(OptionScan& scan, const char*) {
  scan.run.Flags |= FLAG_STRIP_HEADERS;
  return true;
}

bool HandlePurge(OptionScan& scan, const char*) {
  scan.run.Flags |= FLAG_PURGE;
  return true;
}

bool HandleTransactionLimit(OptionScan& scan, const char* argument) {
  constexpr int kNoCommitByCount = -1;
  return StoreNumber(scan, argument, argument, scan.run.TransactionLimit, kNoCommitByCount);
}

bool HandleRate(OptionScan& scan, const char* argument) {
  Parameters& run = scan.run;
  const std::string_view text = argument;
  const std::size_t colon = text.find(':');
  if (!StoreRatePart(scan, argument, text.substr(0, colon), run.Rate)) return false;
  return colon == std::string_view::npos || StoreRatePart(scan, argument, text.substr(colon + 1), run.RateDuration);
}

bool HandleWait(OptionScan& scan, const char* argument) {
  if (!StoreNumber(scan, argument, argument, scan.run.WaitInterval, kLeastInteger)) return false;
  if (scan.run.WaitInterval < 0) scan.run.WaitInterval = kUnlimited;
  return true;
}

bool HandleBufferSize(OptionScan& scan, const char* argument) {
  constexpr int kKilobyte = 1024;
  int kilobytes = 0;
  if (!StoreNumber(scan, argument, argument, kilobytes, 0, kMostInteger / kKilobyte)) return false;
  scan.run.InitialBufferSize = kilobytes * kKilobyte;
  return true;
}
