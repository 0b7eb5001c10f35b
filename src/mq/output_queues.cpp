#include "mq/output_queues.h"

#include <algorithm>
#include <new>
#include <optional>

#include "common/console.h"

namespace {

// The context with which messages are put decides how the output queues are opened.
std::optional<MQLONG> OpenOptions(PutContext context) {
  static constexpr struct {
    PutContext Context;
    MQLONG Options;
  } kOptions[] = {
      {PutContext::SetAll, MQOO_OUTPUT | MQOO_SET_ALL_CONTEXT},
      {PutContext::SetAllTimes, MQOO_OUTPUT | MQOO_SET_ALL_CONTEXT},
      {PutContext::SetIdentity, MQOO_OUTPUT | MQOO_SET_IDENTITY_CONTEXT},
      {PutContext::PassAll, MQOO_OUTPUT | MQOO_PASS_ALL_CONTEXT},
      {PutContext::PassIdentity, MQOO_OUTPUT | MQOO_PASS_IDENTITY_CONTEXT},
      {PutContext::Default, MQOO_OUTPUT},
      {PutContext::None, MQOO_OUTPUT},
  };
  for (const auto& row : kOptions) {
    if (context == row.Context) return row.Options;
  }
  return std::nullopt;
}

}  // namespace

MQLONG OutputQueues::Open(bool watchDepth) {
  const std::optional<MQLONG> options = OpenOptions(asked_.Context);
  if (!options) return MQRC_OPTIONS_ERROR;
  if (!asked_.AsList) return OpenSingle(*options, watchDepth);
  if (!MakeList()) return MQRC_OPTIONS_ERROR;
  return asked_.Individually ? OpenIndividually(*options) : OpenList(*options, watchDepth);
}

int OutputQueues::Depth() const {
  const MQLONG selector = MQIA_CURRENT_Q_DEPTH;
  MQLONG depth = 0;
  CallEnd end;
  conn_.Api.MQINQ(conn_.Hconn, depthHobj_, 1, &selector, 1, &depth, 0, nullptr, &end.CompCode, &end.Reason);
  return end.failed() ? 0 : std::max<MQLONG>(depth, 0);
}

MQLONG OutputQueues::OpenSingle(MQLONG options, bool watchDepth) {
  name_ = asked_.Queues.front();
  MQOD od = DescriptorOf(ObjectRecord(name_));
  if (watchDepth) {
    od.Version = MQOD_VERSION_3;
    options |= MQOO_RESOLVE_LOCAL_Q;
  }
  const CallEnd end = OpenObject(od, options, hobj_);
  conn_.Report("MQOPEN", DestinationText(od.ObjectQMgrName, od.ObjectName), end, Hint(end.Reason));
  if (end.failed()) return end.Reason;
  if (const MQLONG refusal = CheckLeadsElsewhere(od); refusal != MQRC_NONE) return refusal;
  return watchDepth ? OpenDepthHandle(od.ResolvedQName) : MQRC_NONE;
}

MQLONG OutputQueues::OpenList(MQLONG options, bool watchDepth) {
  if (const MQLONG refusal = CheckListLeadsElsewhere(); refusal != MQRC_NONE) return refusal;
  MQOD od;
  od.Version = MQOD_VERSION_2;
  od.RecsPresent = list_->Count();
  od.ObjectRecPtr = list_->Entries.data();
  od.ResponseRecPtr = list_->Responses.data();
  if (watchDepth) {
    od.Version = MQOD_VERSION_3;
    options |= MQOO_RESOLVE_LOCAL_Q;
  }
  const CallEnd end = OpenObject(od, options, hobj_);
  const MQLONG failedDestination = end.Reason == MQRC_MULTIPLE_REASONS ? ReportFailedDestinations() : MQRC_NONE;
  conn_.Report("MQOPEN", "<Distribution List>", end, Hint(end.Reason));
  if (failedDestination != MQRC_NONE) return failedDestination;
  if (end.failed()) return end.Reason;
  return watchDepth ? OpenDepthHandle(od.ResolvedQName) : MQRC_NONE;
}

// Opens every destination of the list by itself. All are tried; the reason of the last failure is returned.
MQLONG OutputQueues::OpenIndividually(MQLONG options) {
  try {
    list_->Elements.assign(list_->Entries.size(), QueueElement());
  } catch (const std::bad_alloc&) {
    conn_.screen().Print("Can not allocate queue element array. Max Destinations = %d\n", list_->Count());
    return MQRC_OPTIONS_ERROR;
  }
  MQLONG result = MQRC_NONE;
  for (std::size_t i = 0; i < list_->Entries.size(); ++i) {
    const MQOR& entry = list_->Entries[i];
    QueueElement& element = list_->Elements[i];
    element.QueueName.Assign(NameInField(entry.ObjectName, sizeof entry.ObjectName));
    MQOD od = DescriptorOf(entry);
    const CallEnd end = OpenObject(od, options, element.Hobj);
    conn_.Report("MQOPEN", DestinationText(entry.ObjectQMgrName, entry.ObjectName), end, Hint(end.Reason));
    if (end.failed()) {
      result = end.Reason;
    } else if (const MQLONG refusal = CheckLeadsElsewhere(od); refusal != MQRC_NONE) {
      result = refusal;
    }
  }
  return result;
}

// Opens the local queue that receives the messages for asking its depth.
MQLONG OutputQueues::OpenDepthHandle(const MQCHAR48& resolvedName) {
  const std::string name(NameInField(resolvedName, sizeof resolvedName));
  MQOD od;
  FillField(od.ObjectName, sizeof od.ObjectName, name, '\0');
  const CallEnd end = OpenObject(od, MQOO_INQUIRE, depthHobj_);
  conn_.Report("MQOPEN(INQUIRE)", name, end);
  if (end.failed()) return end.Reason;
  conn_.screen().Print("Monitoring depth of queue '%.48s'\n\n", name.c_str());
  return MQRC_NONE;
}

// The list of destinations, with room for what becomes of each. False after printing why.
bool OutputQueues::MakeList() {
  try {
    list_ = std::make_unique<QueueList>();
    for (const QueueName& queue : asked_.Queues) list_->Entries.push_back(ObjectRecord(queue));
    list_->Responses.assign(asked_.Queues.size(), MQRR());
  } catch (const std::bad_alloc&) {
    conn_.screen().Print("Can not allocate destination array. Max Destinations = %d\n",
                         static_cast<int>(asked_.Queues.size()));
    return false;
  }
  return true;
}

// The descriptor of one queue. Where the run may feed itself it has room for what the name leads to.
MQOD OutputQueues::DescriptorOf(const MQOR& entry) const {
  MQOD od;
  if (fed_ != nullptr) od.Version = MQOD_VERSION_3;
  std::copy(std::begin(entry.ObjectName), std::end(entry.ObjectName), od.ObjectName);
  std::copy(std::begin(entry.ObjectQMgrName), std::end(entry.ObjectQMgrName), od.ObjectQMgrName);
  return od;
}

// A handle that was not opened is unusable.
CallEnd OutputQueues::OpenObject(MQOD& od, MQLONG options, MQHOBJ& hobj) const {
  CallEnd end;
  conn_.Api.MQOPEN(conn_.Hconn, &od, options, &hobj, &end.CompCode, &end.Reason);
  if (end.failed()) hobj = MQHO_UNUSABLE_HOBJ;
  return end;
}

// Refuses an output queue, just opened, that leads back to an input queue under another name.
MQLONG OutputQueues::CheckLeadsElsewhere(const MQOD& od) const {
  if (fed_ == nullptr) return MQRC_NONE;
  if (conn_.QMgrName.view() != NameInField(od.ResolvedQMgrName, sizeof od.ResolvedQMgrName)) return MQRC_NONE;
  for (const QueueElement& input : fed_->Elements) {
    const bool same = input.LocalName.view() == NameInField(od.ResolvedQName, sizeof od.ResolvedQName);
    if (same && !input.LocalName.empty()) return RefuseOntoItself(conn_.screen(), input.QueueName);
  }
  return MQRC_NONE;
}

// A distribution list does not tell which queues its names lead to, so each is opened by itself for a moment. Whatever
// else is wrong with one is told when the list is opened.
MQLONG OutputQueues::CheckListLeadsElsewhere() const {
  if (fed_ == nullptr) return MQRC_NONE;
  for (const MQOR& entry : list_->Entries) {
    MQOD od = DescriptorOf(entry);
    MQHOBJ hobj = MQHO_UNUSABLE_HOBJ;
    CallEnd end = OpenObject(od, MQOO_OUTPUT, hobj);
    if (end.failed()) continue;
    conn_.Api.MQCLOSE(conn_.Hconn, &hobj, MQCO_NONE, &end.CompCode, &end.Reason);
    if (const MQLONG refusal = CheckLeadsElsewhere(od); refusal != MQRC_NONE) return refusal;
  }
  return MQRC_NONE;
}

// Reports each destination of a distribution list that did not open; returns the last one's reason, 0 without any.
MQLONG OutputQueues::ReportFailedDestinations() const {
  MQLONG result = MQRC_NONE;
  for (std::size_t i = 0; i < list_->Responses.size(); ++i) {
    const MQRR& response = list_->Responses[i];
    if (response.CompCode != MQCC_FAILED) continue;
    const MQOR& entry = list_->Entries[i];
    result = response.Reason;
    conn_.Report("MQOPEN", DestinationText(entry.ObjectQMgrName, entry.ObjectName), {MQCC_FAILED, result},
                 Hint(result));
  }
  return result;
}

// What the user can do about a queue that did not open.
std::string_view OutputQueues::Hint(MQLONG reason) const {
  if (reason != MQRC_NOT_AUTHORIZED || asked_.OwnContext()) return {};
  return "The context of the messages may need an authority that is missing: option -C chooses it, -Cd needs none.";
}

MQLONG RefuseOntoItself(Console& screen, std::string_view queue) {
  screen.Print("Sorry, copying or moving queue '%.*s' onto itself would never end, specify a range end\n",
               static_cast<int>(queue.size()), queue.data());
  return MQRC_OPTIONS_ERROR;
}
