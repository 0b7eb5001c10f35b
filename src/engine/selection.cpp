#include "engine/selection.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "cmdline/parameters.h"
#include "common/find_bytes.h"

namespace {

// The header at the start of the data, when the format announces it and all of it was delivered.
template <typename Header>
bool ReadHeader(const CurrentMessage& message, const char (&format)[9], Header& header) {
  if (!IsFormat(message.Descriptor.Format, format)) return false;
  if (message.Delivered < static_cast<MQLONG>(sizeof header)) return false;
  std::memcpy(static_cast<void*>(&header), message.Data, sizeof header);
  return true;
}

bool InRange(const Parameters& run) {
  if (run.RangeStart == 0) return true;
  return run.MessageIndex >= run.RangeStart && (run.RangeEnd == 0 || run.MessageIndex <= run.RangeEnd);
}

bool HasIdentifiers(const Parameters& run) {
  const MQMD& descriptor = run.Message.Descriptor;
  const auto same = [](const MQBYTE24& a, const std::optional<Identifier>& b) {
    return !b || std::memcmp(a, b->data(), sizeof a) == 0;
  };
  const SelectionOptions& selection = run.Asked.Selection;
  return same(descriptor.MsgId, selection.MsgId) && same(descriptor.CorrelId, selection.CorrelId) &&
         same(descriptor.GroupId, selection.GroupId);
}

bool HasSizeAndPriority(const Parameters& run) {
  const MQLONG length = run.Message.Length;
  const MQLONG priority = run.Message.Descriptor.Priority;
  return (run.Asked.Selection.SizeBelow == -1 || length < run.Asked.Selection.SizeBelow) &&
         (run.Asked.Selection.SizeAtLeast == -1 || length >= run.Asked.Selection.SizeAtLeast) &&
         (run.Asked.Selection.PriorityAtLeast == -1 || priority >= run.Asked.Selection.PriorityAtLeast) &&
         (run.Asked.Selection.PriorityAtMost == -1 || priority <= run.Asked.Selection.PriorityAtMost);
}

bool HasDeadLetterReason(const Parameters& run) {
  MQDLH header;
  return ReadHeader(run.Message, MQFMT_DEAD_LETTER_HEADER, header) && header.Reason == *run.Asked.Selection.DlqReason;
}

bool MatchTarget(const Parameters& run, const MQCHAR48& qmgr, const MQCHAR48& queue) {
  const QueueName& masks = *run.Asked.Selection.Target;
  return WildcardMatch(NameInField(queue, sizeof queue), masks.Queue) &&
         (masks.QMgr.empty() || WildcardMatch(NameInField(qmgr, sizeof qmgr), masks.QMgr));
}

bool HasTarget(const Parameters& run) {
  MQDLH deadLetter;
  if (ReadHeader(run.Message, MQFMT_DEAD_LETTER_HEADER, deadLetter)) {
    return MatchTarget(run, deadLetter.DestQMgrName, deadLetter.DestQName);
  }
  MQXQH transmission;
  if (ReadHeader(run.Message, MQFMT_XMIT_Q_HEADER, transmission)) {
    return MatchTarget(run, transmission.RemoteQMgrName, transmission.RemoteQName);
  }
  return false;
}

// Whether each string is found (`expected`), or each is not.
bool EachIs(bool expected, const std::vector<std::string>& strings, std::string_view data) {
  return std::all_of(strings.begin(), strings.end(), [&](const std::string& wanted) {
    return (FindBytes(data, wanted) != std::string_view::npos) == expected;
  });
}

bool HasContent(const Parameters& run) {
  const CurrentMessage& message = run.Message;
  const auto length = static_cast<std::size_t>(std::max(message.Delivered, 0));
  const std::string_view data(reinterpret_cast<const char*>(message.Data), length);
  return EachIs(true, run.Asked.Selection.Ascii, data) && EachIs(false, run.Asked.Selection.AsciiNot, data) &&
         EachIs(true, run.Asked.Selection.Ebcdic, data) && EachIs(false, run.Asked.Selection.EbcdicNot, data) &&
         EachIs(true, run.Asked.Selection.Hex, data) && EachIs(false, run.Asked.Selection.HexNot, data);
}

bool HasPutTime(Parameters& run) {
  if (run.Asked.Selection.PutBefore == 0 && run.Asked.Selection.PutAfter == 0) return true;
  const MQMD& descriptor = run.Message.Descriptor;
  const std::int64_t time = PutTimeUtc(descriptor.PutDate, descriptor.PutTime);
  if (run.Asked.Display.TraceTimes) {
    run.Screen.Print("Mesage Timestamp Date %.8s Time %.6s UTC Time %d\n", descriptor.PutDate, descriptor.PutTime,
                     static_cast<int>(time));
  }
  return time > 0 && (run.Asked.Selection.PutBefore == 0 || time < run.Asked.Selection.PutBefore) &&
         (run.Asked.Selection.PutAfter == 0 || time >= run.Asked.Selection.PutAfter);
}

char UpperCase(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

// Only the last star passed needs to be taken up again: whatever an earlier star could still reach, the last one
// reaches too. A star is a wildcard at the start of the mask and behind another star; elsewhere it first stands for
// itself when the text has a star there.
template <bool CaseCounts>
bool Match(std::string_view text, std::string_view mask) {
  const auto same = [](char a, char b) { return CaseCounts ? a == b : UpperCase(a) == UpperCase(b); };
  constexpr std::size_t kNone = std::string_view::npos;
  std::size_t t = 0, m = 0;
  std::size_t star = kNone;  // the last star passed
  std::size_t resume = 0;    // where in the text the mask behind it was tried last
  bool wildcardFirst = true;
  for (;;) {
    if (m < mask.size() && mask[m] == '*' && (wildcardFirst || t == text.size() || text[t] != '*')) {
      if (m + 1 == mask.size()) return true;
      if (CaseCounts || t < text.size()) {
        star = m++;
        resume = t;
        wildcardFirst = true;
        continue;
      }
    } else if (t < text.size() && m < mask.size() && (mask[m] == '?' || same(text[t], mask[m]))) {
      ++t;
      ++m;
      wildcardFirst = false;
      continue;
    } else if (t == text.size() && m == mask.size()) {
      return true;
    }
    if (star == kNone || ++resume >= text.size()) return false;
    t = resume;
    m = star + 1;
    wildcardFirst = true;
  }
}

}  // namespace

bool SelectMessage(Parameters& run) {
  return InRange(run) && HasIdentifiers(run) && HasSizeAndPriority(run) &&
         (!run.Asked.Selection.DlqReason.has_value() || HasDeadLetterReason(run)) &&
         (!run.Asked.Selection.Target.has_value() || HasTarget(run)) && HasContent(run) && HasPutTime(run);
}

void NormaliseRange(Parameters& run) {
  run.RangeStart = run.Asked.Selection.RangeStart;
  run.RangeEnd = run.Asked.Selection.RangeEnd;
  if (run.RangeEnd == 0) return;
  if (run.RangeStart == 0) {
    run.RangeStart = 1;
  } else if (run.RangeStart > run.RangeEnd) {
    std::swap(run.RangeStart, run.RangeEnd);
  }
}

bool WildcardMatch(std::string_view text, std::string_view mask) { return Match<true>(text, mask); }
bool WildcardMatchNoCase(std::string_view text, std::string_view mask) { return Match<false>(text, mask); }
