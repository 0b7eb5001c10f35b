#include "engine/get.h"

#include <algorithm>
#include <limits>

#include "common/console.h"
#include "mq/option_behind.h"
#include "mq/reasons.h"

namespace {

// Whether a get with this reason has certainly left every message where it was.
bool TookNothing(MQLONG reason) {
  return reason == MQRC_NO_MSG_AVAILABLE || reason == MQRC_NO_MSG_UNDER_CURSOR || reason == MQRC_TRUNCATED_MSG_FAILED;
}

}  // namespace

MQLONG GetOptions(const Options& asked, const GetMode& mode, const QMgrConn& conn, bool underCursor) {
  const MQLONG syncpoint = asked.Units.MessageLimit != 0 ? MQGMO_SYNCPOINT : MQGMO_NO_SYNCPOINT;
  MQLONG options = syncpoint;
  if (underCursor) {
    options |= MQGMO_MSG_UNDER_CURSOR;
  } else if (mode.BrowseFirst || !asked.Input.Remove) {
    options = MQGMO_BROWSE_NEXT | MQGMO_NO_SYNCPOINT;
  }
  if (!asked.Input.NoForcedRfh2 && conn.KnowsProperties()) options |= MQGMO_PROPERTIES_FORCE_MQRFH2;
  return options;
}

void AddMatchAndConversion(const Options& asked, MQMD& descriptor, MQGMO& options) {
  if (asked.Input.Convert) {
    options.Options |= MQGMO_CONVERT;
    descriptor.CodedCharSetId = asked.Input.ConvertCcsid;
    descriptor.Encoding = asked.Input.ConvertEncoding;
  }
  // An inverted selection wants the messages that do not match.
  const SelectionOptions& selection = asked.Selection;
  if (selection.Invert) return;
  if (selection.MsgId) std::copy(selection.MsgId->begin(), selection.MsgId->end(), descriptor.MsgId);
  if (selection.CorrelId) std::copy(selection.CorrelId->begin(), selection.CorrelId->end(), descriptor.CorrelId);
  if (selection.GroupId) {
    std::copy(selection.GroupId->begin(), selection.GroupId->end(), descriptor.GroupId);
    options.Version = std::max(options.Version, MQGMO_VERSION_2);
    options.MatchOptions |= MQMO_MATCH_GROUP_ID;
  }
}

HeaderNames QueueSource::names() const {
  if (queue_.Hobj == MQHO_UNUSABLE_HOBJ) return {};
  return {conn_.QMgrName, queue_.QueueName};
}

QueueSource::GetEnd QueueSource::CallMqget(CurrentMessage& message, const QueueElement& queue, MQLONG getOptions,
                                           std::int64_t wait) {
  // Identifiers and code pages of the last message must not select or convert the next one.
  message.Descriptor = DefaultDescriptor();
  MQGMO options;
  options.Options = getOptions;
  if (wait > 0) {
    options.Options |= MQGMO_WAIT;
    options.WaitInterval = static_cast<MQLONG>(wait);
  }
  AddMatchAndConversion(asked_, message.Descriptor, options);
  const std::size_t bufferSize = mode_.DescriptorOnly ? 0 : message.Buffer.size();
  GetEnd end;
  end.Room = static_cast<MQLONG>(std::min<std::size_t>(bufferSize, std::numeric_limits<MQLONG>::max()));
  // A get whose outcome is not known (the connection broke) may have taken its message into the unit.
  const bool unitWasOpen = conn_.UnitOpen;
  if ((options.Options & MQGMO_SYNCPOINT) != 0) conn_.UnitOpen = true;
  conn_.Api.MQGET(conn_.Hconn, queue.Hobj, &message.Descriptor, &options, end.Room, message.Buffer.data(), &end.Length,
                  &end.Call.CompCode, &end.Call.Reason);
  if (conn_.TracesCalls()) conn_.Trace("MQGET", queue.QueueName, end.Call.Reason);
  if (TookNothing(end.Call.Reason)) conn_.UnitOpen = unitWasOpen;
  return end;
}

QueueSource::Taken QueueSource::Judge(const GetEnd& end, bool underCursor) const {
  const MQLONG reason = end.Call.Reason;
  if (reason == (underCursor ? MQRC_NO_MSG_UNDER_CURSOR : MQRC_NO_MSG_AVAILABLE)) return Taken::Nothing;
  if (reason == MQRC_TRUNCATED_MSG_FAILED) return end.Length > end.Room ? Taken::TooLong : Taken::Failed;
  // A warning (not converted, format errors) comes with the message as it is on the queue.
  const bool whole = mode_.DescriptorOnly || end.Length <= end.Room;
  return end.Call.failed() || !whole ? Taken::Failed : Taken::Message;
}

Result QueueSource::Failure(const QueueElement& queue, MQLONG reason) const {
  return {reason != 0 ? reason : MQRC_UNEXPECTED_ERROR,
          FormatText("MQGET(%s) failed RC(%d) %s%s", queue.QueueName.c_str(), reason, ReasonText(reason),
                     OptionLine(asked_, MqStep::Get, reason).c_str())};
}

Result QueueSource::Get(CurrentMessage& message, QueueElement& queue, bool underCursor, std::int64_t wait,
                        Taken& taken) {
  MQLONG getOptions = GetOptions(asked_, mode_, conn_, underCursor);
  if (mode_.DescriptorOnly) getOptions |= MQGMO_ACCEPT_TRUNCATED_MSG;
  if (fromFirst_ && !underCursor) getOptions = (getOptions & ~MQGMO_BROWSE_NEXT) | MQGMO_BROWSE_FIRST;
  for (;;) {
    const GetEnd end = CallMqget(message, queue, getOptions, wait);
    taken = Judge(end, underCursor);
    if (taken == Taken::TooLong) {
      if (Result grown = message.Buffer.Grow(static_cast<std::size_t>(end.Length)); grown.failed()) return grown;
      continue;
    }
    if (taken == Taken::Failed) return Failure(queue, end.Call.Reason);
    if (taken == Taken::Message) {
      message.From = &queue;
      message.Data = message.Buffer.data();
      message.Length = std::max<MQLONG>(end.Length, 0);
      message.Delivered = std::min(message.Length, end.Room);
    }
    return {};
  }
}

Result QueueSource::Next(CurrentMessage& message, std::int64_t wait, Arrival& arrival) {
  Taken taken = Taken::Nothing;
  Result result = Get(message, queue_, false, wait, taken);
  arrival = taken == Taken::Message ? Arrival::Message : Arrival::Nothing;
  if (taken == Taken::Message) fromFirst_ = false;
  return result;
}

Result QueueSource::Remove(CurrentMessage& message, bool& gone) {
  Taken taken = Taken::Nothing;
  Result result = Get(message, *message.From, true, 0, taken);
  gone = taken == Taken::Nothing;
  return result;
}
