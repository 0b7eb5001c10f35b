#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "localmq/calls.h"
#include "localmq/descriptor.h"
#include "localmq/unit_of_work.h"

namespace localmq {
namespace {

constexpr MQLONG kContext = MQPMO_DEFAULT_CONTEXT | MQPMO_NO_CONTEXT | MQPMO_PASS_IDENTITY_CONTEXT |
                            MQPMO_PASS_ALL_CONTEXT | MQPMO_SET_IDENTITY_CONTEXT | MQPMO_SET_ALL_CONTEXT;
constexpr MQLONG kSyncpoint = MQPMO_SYNCPOINT | MQPMO_NO_SYNCPOINT;
constexpr MQLONG kResponse = MQPMO_ASYNC_RESPONSE | MQPMO_SYNC_RESPONSE;
constexpr MQLONG kKnown = kContext | kSyncpoint | kResponse | MQPMO_NEW_MSG_ID | MQPMO_NEW_CORREL_ID |
                          MQPMO_FAIL_IF_QUIESCING | MQPMO_ALTERNATE_USER_AUTHORITY | MQPMO_RESOLVE_LOCAL_Q;

bool HasSeveral(MQLONG bits) { return (bits & (bits - 1)) != 0; }

bool AsyncPutRefused(const Connection& connection) {
  const char* text = std::getenv("LOCALMQ_NO_ASYNC");
  return connection.Attributes.AsyncPut == 0 || (text != nullptr && text[0] != '\0' && text[0] != '0');
}

Outcome CheckOptions(const Connection& connection, const MQPMO* options) {
  if (options == nullptr || std::memcmp(options->StrucId, MQPMO_STRUC_ID, sizeof options->StrucId) != 0 ||
      options->Version < MQPMO_VERSION_1 || options->Version > MQPMO_CURRENT_VERSION)
    return Failed(MQRC_PMO_ERROR);
  const MQLONG bits = options->Options;
  if ((bits & ~kKnown) != 0 || HasSeveral(bits & kContext) || HasSeveral(bits & kSyncpoint) ||
      HasSeveral(bits & kResponse))
    return Failed(MQRC_OPTIONS_ERROR);
  if ((bits & MQPMO_ASYNC_RESPONSE) != 0 && AsyncPutRefused(connection)) return Failed(MQRC_OPTIONS_ERROR);
  return Done();
}

// What an open must have asked for before a put may use a context option; each stronger option implies the weaker ones.
struct ContextRule {
  MQLONG PutOption;
  MQLONG OpenOption;
  MQLONG OpenOptions;  // any of these will do
  MQLONG Refusal;
};
constexpr ContextRule kContextRules[] = {
    {MQPMO_PASS_IDENTITY_CONTEXT, MQOO_PASS_IDENTITY_CONTEXT,
     MQOO_PASS_IDENTITY_CONTEXT | MQOO_PASS_ALL_CONTEXT | MQOO_SET_IDENTITY_CONTEXT | MQOO_SET_ALL_CONTEXT,
     MQRC_NOT_OPEN_FOR_PASS_IDENT},
    {MQPMO_PASS_ALL_CONTEXT, MQOO_PASS_ALL_CONTEXT, MQOO_PASS_ALL_CONTEXT | MQOO_SET_ALL_CONTEXT,
     MQRC_NOT_OPEN_FOR_PASS_ALL},
    {MQPMO_SET_IDENTITY_CONTEXT, MQOO_SET_IDENTITY_CONTEXT, MQOO_SET_IDENTITY_CONTEXT | MQOO_SET_ALL_CONTEXT,
     MQRC_NOT_OPEN_FOR_SET_IDENT},
    {MQPMO_SET_ALL_CONTEXT, MQOO_SET_ALL_CONTEXT, MQOO_SET_ALL_CONTEXT, MQRC_NOT_OPEN_FOR_SET_ALL},
};

// Finds the context that a put passes on, null when it passes none.
MQLONG FindContext(Connection& connection, const MQPMO& options, const MQMD*& context) {
  context = nullptr;
  if ((options.Options & (MQPMO_PASS_IDENTITY_CONTEXT | MQPMO_PASS_ALL_CONTEXT)) == 0) return MQRC_NONE;
  const OpenObject* source = connection.Find(options.Context);
  if (source == nullptr || (source->Options & MQOO_SAVE_ALL_CONTEXT) == 0) return MQRC_CONTEXT_HANDLE_ERROR;
  if (!source->Context.Present) return MQRC_CONTEXT_NOT_AVAILABLE;
  context = &source->Context.Descriptor;
  return MQRC_NONE;
}

MQLONG CheckQueue(Connection& connection, const OpenObject& object, const Destination& destination, std::size_t length,
                  Queue& queue) {
  Statement statement(
      connection.Data(),
      "SELECT inhibitput, maxmsgl, maxdepth, depth, defprty, defpsist, deftype FROM queue WHERE id = ?");
  if (!statement.Bind(1, destination.Target.Id).Step())
    return statement.Reason() == MQRC_NONE ? MQRC_Q_DELETED : statement.Reason();
  queue.Id = destination.Target.Id;
  queue.Attributes.MaxMsgLength = statement.Long(1);
  queue.Attributes.DefPriority = statement.Long(4);
  queue.Attributes.DefPersistence = statement.Long(5);
  queue.Attributes.DefinitionType = statement.Long(6);
  const std::int64_t depth = statement.Int64(3) + static_cast<std::int64_t>(connection.Unit.PutsTo(queue.Id));
  const std::int64_t maxDepth = statement.Int64(2);
  bool inhibited = statement.Int64(0) == MQQA_PUT_INHIBITED;
  statement.Reset();
  // An alias may inhibit puts of its own and has defaults of its own.
  if (object.Kind == ObjectKind::kQueue && object.Named.Id != 0 && object.Named.Id != queue.Id) {
    Statement alias(connection.Data(), "SELECT inhibitput, defprty, defpsist FROM queue WHERE id = ?");
    if (!alias.Bind(1, object.Named.Id).Step()) return alias.Reason() == MQRC_NONE ? MQRC_Q_DELETED : alias.Reason();
    inhibited = inhibited || alias.Int64(0) == MQQA_PUT_INHIBITED;
    queue.Attributes.DefPriority = alias.Long(1);
    queue.Attributes.DefPersistence = alias.Long(2);
  }
  if (inhibited) return MQRC_PUT_INHIBITED;
  if (length > static_cast<std::size_t>(queue.Attributes.MaxMsgLength)) return MQRC_MSG_TOO_BIG_FOR_Q;
  return depth >= maxDepth ? MQRC_Q_FULL : MQRC_NONE;
}

// Fills what the queue decides: priority and persistence by default (also for a put that is refused), and a place for
// the message.
MQLONG Prepare(Connection& connection, const OpenObject& object, const Destination& destination, const MQMD& descriptor,
               std::span<const std::uint8_t> data, PendingPut& put) {
  Queue queue;
  const MQLONG refusal = CheckQueue(connection, object, destination, data.size(), queue);
  put.QueueId = queue.Id;
  put.Descriptor = descriptor;
  MQMD& stored = put.Descriptor;
  if (stored.Priority == MQPRI_PRIORITY_AS_Q_DEF) stored.Priority = queue.Attributes.DefPriority;
  if (stored.Persistence == MQPER_PERSISTENCE_AS_Q_DEF) stored.Persistence = queue.Attributes.DefPersistence;
  if (refusal != MQRC_NONE) return refusal;
  if (stored.Persistence == MQPER_PERSISTENT && queue.Attributes.DefinitionType == MQQDT_TEMPORARY_DYNAMIC)
    return MQRC_PERSISTENT_NOT_ALLOWED;
  put.Expires = stored.Expiry == MQEI_UNLIMITED ? 0 : NowMilliseconds() + std::int64_t{stored.Expiry} * 100;
  put.Command = !destination.Remote && destination.Name == connection.Attributes.CommandInputQName;
  if (destination.Remote) {
    AddTransmissionHeader(destination, connection.Attributes.CodedCharSetId, data, put);
  } else {
    put.Data.assign(data.begin(), data.end());
  }
  return MQRC_NONE;
}

void ReturnResolved(const OpenObject& object, MQPMO* options) {
  const bool list = object.Kind == ObjectKind::kDistributionList;
  const Destination& destination = object.Destinations.front();
  SetField(options->ResolvedQName, sizeof options->ResolvedQName, list ? std::string_view() : destination.Name);
  SetField(options->ResolvedQMgrName, sizeof options->ResolvedQMgrName,
           list ? std::string_view() : destination.QueueManagerName);
}

// Hands messages over: to the unit of work, or to their queues at once.
MQLONG HandOver(Connection& connection, MQLONG options, std::vector<PendingPut>& puts) {
  if ((options & MQPMO_SYNCPOINT) == 0) return PutNow(connection, puts);
  const MQLONG limit = connection.Attributes.MaxUncommittedMsgs;
  if (limit > 0 && connection.Unit.Size() + puts.size() > static_cast<std::size_t>(limit))
    return MQRC_SYNCPOINT_LIMIT_REACHED;
  for (PendingPut& put : puts) connection.Unit.Add(std::move(put));
  return MQRC_NONE;
}

// The response records of a put to a distribution list: one a destination, or none at all.
MQLONG FindResponses(const OpenObject& object, MQPMO* options, std::span<MQRR>& responses) {
  if (options->Version < MQPMO_VERSION_2 || options->RecsPresent == 0) return MQRC_NONE;
  const std::size_t count = object.Destinations.size();
  if (options->RecsPresent < 0 || static_cast<std::size_t>(options->RecsPresent) != count)
    return MQRC_RECS_PRESENT_ERROR;
  // Descriptor fields that differ by destination are not offered.
  if (options->PutMsgRecFields != 0) return MQRC_PMO_RECORD_FLAGS_ERROR;
  if (options->ResponseRecPtr != nullptr && options->ResponseRecOffset != 0) return MQRC_RESPONSE_RECORDS_ERROR;
  if (options->ResponseRecPtr != nullptr) {
    responses = {static_cast<MQRR*>(options->ResponseRecPtr), count};
  } else if (options->ResponseRecOffset != 0) {
    responses = {reinterpret_cast<MQRR*>(reinterpret_cast<char*>(options) + options->ResponseRecOffset), count};
  }
  return MQRC_NONE;
}

Outcome PutToList(Connection& connection, const OpenObject& object, const MQMD& given, const MQMD& complete,
                  MQPMO* options, std::span<const std::uint8_t> data) {
  std::span<MQRR> responses;
  if (const MQLONG reason = FindResponses(object, options, responses); reason != MQRC_NONE) return Failed(reason);
  const bool ownIdentifiers = std::memcmp(given.MsgId, complete.MsgId, sizeof given.MsgId) != 0;
  std::vector<PendingPut> puts;
  std::vector<Outcome> outcomes;
  options->KnownDestCount = options->UnknownDestCount = options->InvalidDestCount = 0;
  for (const Destination& destination : object.Destinations) {
    if (!destination.Opened.Ok()) {
      outcomes.push_back(destination.Opened);
      ++options->InvalidDestCount;
      continue;
    }
    PendingPut put;
    MQMD descriptor = complete;
    // An identifier that this put makes is made for each destination anew.
    if (ownIdentifiers && !puts.empty()) MakeIdentifier(connection, descriptor.MsgId);
    outcomes.push_back(OutcomeOf(Prepare(connection, object, destination, descriptor, data, put)));
    if (!outcomes.back().Ok()) {
      ++options->InvalidDestCount;
      continue;
    }
    ++(destination.Remote ? options->UnknownDestCount : options->KnownDestCount);
    puts.push_back(std::move(put));
  }
  if (!puts.empty()) {
    if (const MQLONG reason = HandOver(connection, options->Options, puts); reason != MQRC_NONE) return Failed(reason);
  }
  const Outcome outcome = Combine(outcomes);
  if (outcome.Reason == MQRC_MULTIPLE_REASONS) {
    for (std::size_t i = 0; i < responses.size(); ++i) {
      responses[i].CompCode = outcomes[i].CompCode;
      responses[i].Reason = outcomes[i].Reason;
    }
  }
  return outcome;
}

Outcome PutToQueue(Connection& connection, const OpenObject& object, MQMD& complete, MQPMO* options,
                   std::span<const std::uint8_t> data) {
  std::vector<PendingPut> puts(1);
  const Destination& destination = object.Destinations.front();
  const MQLONG refusal = Prepare(connection, object, destination, complete, data, puts.front());
  complete.Priority = puts.front().Descriptor.Priority;
  complete.Persistence = puts.front().Descriptor.Persistence;
  if (refusal != MQRC_NONE) return Failed(refusal);
  if (const MQLONG reason = HandOver(connection, options->Options, puts); reason != MQRC_NONE) return Failed(reason);
  options->KnownDestCount = destination.Remote ? 0 : 1;
  options->UnknownDestCount = destination.Remote ? 1 : 0;
  options->InvalidDestCount = 0;
  return Done();
}

// Keeps how an asynchronous put ended for whoever asks: the counts, and the first failure with its object.
void RecordAsyncPut(Connection& connection, const OpenObject& object, const Outcome& outcome) {
  MQSTS& status = connection.AsyncPuts;
  ++(outcome.Ok() ? status.PutSuccessCount : status.PutFailureCount);
  if (outcome.Ok() || status.CompCode == MQCC_FAILED) return;
  status.CompCode = outcome.CompCode;
  status.Reason = outcome.Reason;
  const Destination& destination = object.Destinations.front();
  const std::string& named = object.Named.Attributes.Name;
  SetField(status.ObjectName, sizeof status.ObjectName, named.empty() ? destination.Name : named);
  SetField(status.ObjectQMgrName, sizeof status.ObjectQMgrName, named.empty() ? destination.QueueManagerName : "");
  SetField(status.ResolvedObjectName, sizeof status.ResolvedObjectName, destination.Name);
  SetField(status.ResolvedQMgrName, sizeof status.ResolvedQMgrName, destination.QueueManagerName);
}

// A put to an object that is open, after the options have been checked.
Outcome PutTo(Connection& connection, const OpenObject& object, MQMD* descriptor, MQPMO* options,
              std::span<const std::uint8_t> data) {
  const Outcome checked = CheckPutDescriptor(descriptor);
  if (!checked.Ok()) return checked;
  for (const ContextRule& rule : kContextRules) {
    if ((options->Options & rule.PutOption) != 0 && (object.Options & rule.OpenOptions) == 0)
      return Failed(rule.Refusal);
  }
  const MQMD* context = nullptr;
  if (const MQLONG reason = FindContext(connection, *options, context); reason != MQRC_NONE) return Failed(reason);
  if (data.size() > static_cast<std::size_t>(connection.Attributes.MaxMsgLength))
    return Failed(MQRC_MSG_TOO_BIG_FOR_Q_MGR);

  MQMD complete = CompleteDescriptor(connection, *descriptor, options->Options, context);
  Outcome outcome = Done();
  if (object.Kind == ObjectKind::kDistributionList) {
    outcome = PutToList(connection, object, *descriptor, complete, options, data);
  } else {
    outcome = PutToQueue(connection, object, complete, options, data);
    if ((options->Options & MQPMO_ASYNC_RESPONSE) != 0) {
      RecordAsyncPut(connection, object, outcome);
      const bool inUnit = (options->Options & MQPMO_SYNCPOINT) != 0;
      if (!outcome.Ok() && inUnit && complete.Persistence == MQPER_PERSISTENT) connection.Unit.Doomed = true;
      outcome = Done();
    }
    if (outcome.Ok()) ReturnDescriptor(complete, descriptor);
  }
  if (!outcome.Ok()) return outcome;
  ReturnResolved(object, options);
  return outcome.Reason == MQRC_NONE ? checked : outcome;
}

}  // namespace

Outcome Combine(std::span<const Outcome> outcomes) {
  const auto failed = [](const Outcome& outcome) { return !outcome.Ok(); };
  const auto alike = [&](const Outcome& outcome) { return outcome.Reason == outcomes.front().Reason; };
  if (std::all_of(outcomes.begin(), outcomes.end(), alike)) return outcomes.front();
  return std::all_of(outcomes.begin(), outcomes.end(), failed) ? Failed(MQRC_MULTIPLE_REASONS)
                                                               : Warning(MQRC_MULTIPLE_REASONS);
}

Outcome Put(Connection& connection, MQHOBJ handle, MQMD* descriptor, MQPMO* options,
            std::span<const std::uint8_t> data) {
  const OpenObject* object = connection.Find(handle);
  if (object == nullptr) return Failed(MQRC_HOBJ_ERROR);
  if (object->Kind == ObjectKind::kQueueManager || (object->Options & MQOO_OUTPUT) == 0)
    return Failed(MQRC_NOT_OPEN_FOR_OUTPUT);
  if (const Outcome outcome = CheckOptions(connection, options); !outcome.Ok()) return outcome;
  return PutTo(connection, *object, descriptor, options, data);
}

Outcome PutOne(Connection& connection, MQOD* objectDescriptor, MQMD* descriptor, MQPMO* options,
               std::span<const std::uint8_t> data) {
  if (const Outcome outcome = CheckObjectDescriptor(objectDescriptor); !outcome.Ok()) return outcome;
  if (const Outcome outcome = CheckOptions(connection, options); !outcome.Ok()) return outcome;
  if (objectDescriptor->ObjectType != MQOT_Q) return Failed(MQRC_OBJECT_TYPE_ERROR);
  // The open that is part of this call asks for just what the put needs.
  MQLONG openOptions = MQOO_OUTPUT;
  for (const ContextRule& rule : kContextRules) {
    if ((options->Options & rule.PutOption) != 0) openOptions |= rule.OpenOption;
  }
  OpenObject object;
  const Outcome opened = OpenObjectFor(connection, *objectDescriptor, openOptions, object);
  if (!opened.Ok()) return opened;
  return PutTo(connection, object, descriptor, options, data);
}

Outcome AskStatus(Connection& connection, MQLONG type, MQSTS* status) {
  if (status == nullptr || std::memcmp(status->StrucId, MQSTS_STRUC_ID, sizeof status->StrucId) != 0 ||
      status->Version < MQSTS_VERSION_1 || status->Version > MQSTS_VERSION_2)
    return Failed(MQRC_STS_ERROR);
  // No connection is made again by itself here, so there is nothing to tell of that.
  if (type != MQSTAT_TYPE_ASYNC_ERROR) return Failed(MQRC_STAT_TYPE_ERROR);
  connection.AsyncPuts.Version = status->Version;
  *status = connection.AsyncPuts;
  connection.AsyncPuts = {};
  return Done();
}

}  // namespace localmq
