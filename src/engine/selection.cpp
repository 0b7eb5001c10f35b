#include "engine/selection.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/find_bytes.h"
#include "common/text.h"
#include "common/wildcard.h"
#include "mq/put_time.h"

namespace {

// The header at the start of the data, when the format announces it and all of it was delivered.
template <typename Header>
bool ReadHeader(const CurrentMessage& message, const char (&format)[9], Header& header) {
  if (!IsFormat(message.Descriptor.Format, format)) return false;
  if (message.Delivered < static_cast<MQLONG>(sizeof header)) return false;
  std::memcpy(static_cast<void*>(&header), message.Data, sizeof header);
  return true;
}

bool HasIdentifiers(const SelectionOptions& wanted, const MQMD& descriptor) {
  const auto same = [](const MQBYTE24& a, const std::optional<Identifier>& b) {
    return !b || std::memcmp(a, b->data(), sizeof a) == 0;
  };
  return same(descriptor.MsgId, wanted.MsgId) && same(descriptor.CorrelId, wanted.CorrelId) &&
         same(descriptor.GroupId, wanted.GroupId);
}

bool HasSizeAndPriority(const SelectionOptions& wanted, const CurrentMessage& message) {
  const MQLONG length = message.Length;
  const MQLONG priority = message.Descriptor.Priority;
  return (wanted.SizeBelow == -1 || length < wanted.SizeBelow) &&
         (wanted.SizeAtLeast == -1 || length >= wanted.SizeAtLeast) &&
         (wanted.PriorityAtLeast == -1 || priority >= wanted.PriorityAtLeast) &&
         (wanted.PriorityAtMost == -1 || priority <= wanted.PriorityAtMost);
}

// Whether there is no criterion at all.
bool IsMetByAny(const SelectionOptions& wanted) {
  return !wanted.HasIdentifier() && !wanted.LooksAtData() && wanted.RangeStart == 0 && wanted.RangeEnd == 0 &&
         wanted.SizeBelow == -1 && wanted.SizeAtLeast == -1 && wanted.PriorityAtLeast == -1 &&
         wanted.PriorityAtMost == -1 && wanted.PutBefore == 0 && wanted.PutAfter == 0;
}

bool HasDeadLetterReason(MQLONG reason, const CurrentMessage& message) {
  MQDLH header;
  return ReadHeader(message, MQFMT_DEAD_LETTER_HEADER, header) && header.Reason == reason;
}

bool NamesMatch(const QueueName& masks, const MQCHAR48& qmgr, const MQCHAR48& queue) {
  return WildcardMatch(NameInField(queue, sizeof queue), masks.Queue) &&
         (masks.QMgr.empty() || WildcardMatch(NameInField(qmgr, sizeof qmgr), masks.QMgr));
}

// Whether the queue that the message was on its way to matches.
bool WasSentTo(const QueueName& masks, const CurrentMessage& message) {
  MQDLH deadLetter;
  if (ReadHeader(message, MQFMT_DEAD_LETTER_HEADER, deadLetter)) {
    return NamesMatch(masks, deadLetter.DestQMgrName, deadLetter.DestQName);
  }
  MQXQH transmission;
  return ReadHeader(message, MQFMT_XMIT_Q_HEADER, transmission) &&
         NamesMatch(masks, transmission.RemoteQMgrName, transmission.RemoteQName);
}

// Whether each string is found (`expected`), or each is not.
bool EachIs(bool expected, const std::vector<std::string>& strings, std::string_view data) {
  return std::all_of(strings.begin(), strings.end(), [&](const std::string& wanted) {
    return (FindBytes(data, wanted) != std::string_view::npos) == expected;
  });
}

bool HasContent(const SelectionOptions& wanted, const CurrentMessage& message) {
  const auto length = static_cast<std::size_t>(std::max(message.Delivered, 0));
  const std::string_view data(reinterpret_cast<const char*>(message.Data), length);
  return EachIs(true, wanted.Ascii, data) && EachIs(false, wanted.AsciiNot, data) &&
         EachIs(true, wanted.Ebcdic, data) && EachIs(false, wanted.EbcdicNot, data) && EachIs(true, wanted.Hex, data) &&
         EachIs(false, wanted.HexNot, data);
}

}  // namespace

Selection::Selection(const SelectionOptions& wanted, Console* times)
    : wanted_(wanted), any_(IsMetByAny(wanted)), times_(times), first_(wanted.RangeStart), last_(wanted.RangeEnd) {
  if (last_ == 0) return;
  if (first_ == 0) first_ = 1;
  if (first_ > last_) std::swap(first_, last_);
}

bool Selection::Takes(const CurrentMessage& message, int position) const {
  if (any_) return !wanted_.Invert;
  const bool meetsAll = InRange(position) && HasIdentifiers(wanted_, message.Descriptor) &&
                        HasSizeAndPriority(wanted_, message) &&
                        (!wanted_.DlqReason || HasDeadLetterReason(*wanted_.DlqReason, message)) &&
                        (!wanted_.Target || WasSentTo(*wanted_.Target, message)) && HasContent(wanted_, message) &&
                        HasPutTime(message.Descriptor);
  return meetsAll != wanted_.Invert;
}

bool Selection::InRange(int position) const {
  return first_ == 0 || (position >= first_ && (last_ == 0 || position <= last_));
}

bool Selection::HasPutTime(const MQMD& descriptor) const {
  if (wanted_.PutBefore == 0 && wanted_.PutAfter == 0) return true;
  const std::int64_t time = PutTimeUtc(descriptor.PutDate, descriptor.PutTime);
  if (times_ != nullptr) {
    times_->Print("Mesage Timestamp Date %.8s Time %.6s UTC Time %d\n", descriptor.PutDate, descriptor.PutTime,
                  static_cast<int>(time));
  }
  return time > 0 && (wanted_.PutBefore == 0 || time < wanted_.PutBefore) &&
         (wanted_.PutAfter == 0 || time >= wanted_.PutAfter);
}
