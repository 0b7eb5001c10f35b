// What happens to a message, and how fast: -A -c -C -D -h -p -t -R -w -b.

#include <string_view>

#include "cmdline/command_line.h"
#include "cmdline/help.h"
#include "cmdline/option_handlers.h"
#include "common/text.h"

namespace {

constexpr int kUnlimited = -1;  // "*"

struct ContextLetter {
  char Letter;
  PutContext Context;
};
constexpr ContextLetter kContextLetters[] = {
    {'A', PutContext::SetAll},       {'I', PutContext::SetIdentity}, {'a', PutContext::PassAll},
    {'i', PutContext::PassIdentity}, {'d', PutContext::Default},     {'n', PutContext::None},
    {'t', PutContext::SetAllTimes},
};

struct MessageType {
  const char* Name;
  MQLONG Type;
};
constexpr MessageType kMessageTypes[] = {
    {"REQUEST", MQMT_REQUEST}, {"REPLY", MQMT_REPLY}, {"REPORT", MQMT_REPORT}, {"DATAGRAM", MQMT_DATAGRAM}};

bool OverrideMessageType(CommandLine& line, const char* name) {
  for (const MessageType& type : kMessageTypes) {
    if (!SameIgnoringCase(name, type.Name)) continue;
    line.Asked.Output.Override.MsgType = type.Type;
    return true;
  }
  line.Screen.Print("Unrecognised -At: parameter '%s'\n", name);
  return false;
}

// A reply queue is only of use to a request.
bool OverrideReplyQueue(OptionScan& scan, const char* text) {
  const std::optional<QueueName> name = SplitNames(scan.Queues, text, "reply queue");
  if (!name) return false;
  OverrideOptions& fields = scan.Line.Asked.Output.Override;
  fields.ReplyTo = *name;
  fields.MsgType = MQMT_REQUEST;
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
  CommandLine& line = scan.Line;
  if (!CheckColon(scan, argument)) return false;
  OverrideOptions& fields = line.Asked.Output.Override;
  const char* value = argument + 2;
  const auto overrideNumber = [&](std::optional<std::int32_t>& field) {
    return StoreNumber(scan, argument, value, field.emplace(), kLeastInteger);
  };
  switch (argument[0]) {
    case 'c':
      return overrideNumber(fields.CodedCharSetId);
    case 'e':
      return overrideNumber(fields.Expiry);
    case 'p':
      return overrideNumber(fields.Priority);
    case 'f':
      if (std::string_view(value).size() > sizeof(MQCHAR8)) return RefuseArgument(scan, argument);
      fields.Format = value;
      return true;
    case 'r':
      return OverrideReplyQueue(scan, value);
    case 't':
      return OverrideMessageType(line, value);
    default:
      line.Screen.Print("Unrecognised 'A' flag '%c'\n", argument[0]);
      return false;
  }
}

bool HandleConvert(OptionScan& scan, const char* argument) {
  CommandLine& line = scan.Line;
  const std::string_view text = argument;
  const std::size_t colon = text.find(':');
  line.Asked.Input.ConvertEncoding = MQENC_NATIVE;
  if (colon != std::string_view::npos) {
    const auto encoding = WholeHexNumber(text.substr(colon + 1), kMostInteger);
    if (!encoding) return RefuseArgument(scan, argument);
    if (*encoding != 0) line.Asked.Input.ConvertEncoding = static_cast<MQLONG>(*encoding);
  }
  line.Asked.Input.Convert = true;
  return StoreNumber(scan, argument, text.substr(0, colon), line.Asked.Input.ConvertCcsid, kLeastInteger);
}

bool HandleContext(OptionScan& scan, const char* argument) {
  CommandLine& line = scan.Line;
  const bool single = argument[0] == '\0' || argument[1] == '\0';
  for (const ContextLetter& row : kContextLetters) {
    if (!single || row.Letter != argument[0]) continue;
    line.Asked.Output.Context = row.Context;
    return true;
  }
  line.Screen.PrintText(single ? "I did not understand your context parameter\n\n"
                               : "The context parameter can only be a single letter\n\n");
  ShowOptionHelp(line.Screen, scan.Letter);
  return false;
}

bool HandleDelay(OptionScan& scan, const char* argument) {
  CommandLine& line = scan.Line;
  if (argument[0] != 'r') return StoreNumber(scan, argument, argument, line.Asked.Pace.Delay, -kMostInteger);
  line.Asked.Pace.DelayRelative = true;
  std::string_view percent = argument + 1;
  if (!percent.empty()) {
    if (percent.ends_with('%')) percent.remove_suffix(1);
    if (!StoreNumber(scan, argument, percent, line.Asked.Pace.Delay)) return false;
  }
  if (percent.empty() || line.Asked.Pace.Delay == 0) line.Asked.Pace.Delay = 100;
  return true;
}

bool HandleStripHeaders(OptionScan& scan, const char*) {
  scan.Line.Asked.Output.StripHeaders = true;
  return true;
}

bool HandlePurge(OptionScan& scan, const char*) {
  scan.Line.Asked.Input.Purge = true;
  return true;
}

bool HandleTransactionLimit(OptionScan& scan, const char* argument) {
  constexpr int kNoCommitByCount = -1;
  return StoreNumber(scan, argument, argument, scan.Line.Asked.Units.MessageLimit, kNoCommitByCount);
}

bool HandleRate(OptionScan& scan, const char* argument) {
  CommandLine& line = scan.Line;
  const std::string_view text = argument;
  const std::size_t colon = text.find(':');
  if (!StoreRatePart(scan, argument, text.substr(0, colon), line.Asked.Pace.Rate)) return false;
  return colon == std::string_view::npos ||
         StoreRatePart(scan, argument, text.substr(colon + 1), line.Asked.Pace.RateDuration);
}

bool HandleWait(OptionScan& scan, const char* argument) {
  if (!StoreNumber(scan, argument, argument, scan.Line.Asked.Input.WaitInterval, kLeastInteger)) return false;
  if (scan.Line.Asked.Input.WaitInterval < 0) scan.Line.Asked.Input.WaitInterval = kUnlimited;
  return true;
}

bool HandleBufferSize(OptionScan& scan, const char* argument) {
  constexpr int kKilobyte = 1024;
  int kilobytes = 0;
  if (!StoreNumber(scan, argument, argument, kilobytes, 0, kMostInteger / kKilobyte)) return false;
  scan.Line.Asked.Input.InitialBufferSize = kilobytes * kKilobyte;
  return true;
}
