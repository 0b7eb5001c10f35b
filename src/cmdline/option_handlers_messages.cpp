// What happens to a message, and how fast: -A -c -C -D -h -p -t -R -w -b.

#include <string_view>

#include "cmdline/help.h"
#include "cmdline/option_handlers.h"
#include "cmdline/parameters.h"

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

bool OverrideMessageType(Parameters& run, const char* name) {
  for (const MessageType& type : kMessageTypes) {
    if (!SameIgnoringCase(name, type.Name)) continue;
    run.Asked.Output.Override.MsgType = type.Type;
    return true;
  }
  run.Screen.Print("Unrecognised -At: parameter '%s'\n", name);
  return false;
}

// A reply queue is only of use to a request.
bool OverrideReplyQueue(OptionScan& scan, const char* text) {
  const std::optional<QueueName> name = SplitNames(scan.Queues, text, "reply queue");
  if (!name) return false;
  OverrideOptions& fields = scan.run.Asked.Output.Override;
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
  Parameters& run = scan.run;
  if (!CheckColon(scan, argument)) return false;
  OverrideOptions& fields = run.Asked.Output.Override;
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
  run.Asked.Input.ConvertEncoding = MQENC_NATIVE;
  if (colon != std::string_view::npos) {
    const auto encoding = WholeHexNumber(text.substr(colon + 1), kMostInteger);
    if (!encoding) return RefuseArgument(scan, argument);
    if (*encoding != 0) run.Asked.Input.ConvertEncoding = static_cast<MQLONG>(*encoding);
  }
  run.Asked.Input.Convert = true;
  return StoreNumber(scan, argument, text.substr(0, colon), run.Asked.Input.ConvertCcsid, kLeastInteger);
}

bool HandleContext(OptionScan& scan, const char* argument) {
  Parameters& run = scan.run;
  const bool single = argument[0] == '\0' || argument[1] == '\0';
  for (const ContextLetter& row : kContextLetters) {
    if (!single || row.Letter != argument[0]) continue;
    run.Asked.Output.Context = row.Context;
    return true;
  }
  run.Screen.PrintText(single ? "I did not understand your context parameter\n\n"
                              : "The context parameter can only be a single letter\n\n");
  ShowOptionHelp(run, scan.Letter);
  return false;
}

bool HandleDelay(OptionScan& scan, const char* argument) {
  Parameters& run = scan.run;
  if (argument[0] != 'r') return StoreNumber(scan, argument, argument, run.Asked.Pace.Delay, -kMostInteger);
  run.Asked.Pace.DelayRelative = true;
  std::string_view percent = argument + 1;
  if (!percent.empty()) {
    if (percent.ends_with('%')) percent.remove_suffix(1);
    if (!StoreNumber(scan, argument, percent, run.Asked.Pace.Delay)) return false;
  }
  if (percent.empty() || run.Asked.Pace.Delay == 0) run.Asked.Pace.Delay = 100;
  return true;
}

bool HandleStripHeaders(OptionScan& scan, const char*) {
  scan.run.Asked.Output.StripHeaders = true;
  return true;
}

bool HandlePurge(OptionScan& scan, const char*) {
  scan.run.Asked.Input.Purge = true;
  return true;
}

bool HandleTransactionLimit(OptionScan& scan, const char* argument) {
  constexpr int kNoCommitByCount = -1;
  return StoreNumber(scan, argument, argument, scan.run.Asked.Units.MessageLimit, kNoCommitByCount);
}

bool HandleRate(OptionScan& scan, const char* argument) {
  Parameters& run = scan.run;
  const std::string_view text = argument;
  const std::size_t colon = text.find(':');
  if (!StoreRatePart(scan, argument, text.substr(0, colon), run.Asked.Pace.Rate)) return false;
  return colon == std::string_view::npos ||
         StoreRatePart(scan, argument, text.substr(colon + 1), run.Asked.Pace.RateDuration);
}

bool HandleWait(OptionScan& scan, const char* argument) {
  if (!StoreNumber(scan, argument, argument, scan.run.Asked.Input.WaitInterval, kLeastInteger)) return false;
  if (scan.run.Asked.Input.WaitInterval < 0) scan.run.Asked.Input.WaitInterval = kUnlimited;
  return true;
}

bool HandleBufferSize(OptionScan& scan, const char* argument) {
  constexpr int kKilobyte = 1024;
  int kilobytes = 0;
  if (!StoreNumber(scan, argument, argument, kilobytes, 0, kMostInteger / kKilobyte)) return false;
  scan.run.Asked.Input.InitialBufferSize = kilobytes * kKilobyte;
  return true;
}
