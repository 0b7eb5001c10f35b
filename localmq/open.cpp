#include <algorithm>
#include <cstring>

#include "localmq/calls.h"
#include "localmq/consumers.h"
#include "localmq/resolve.h"
#include "localmq/schema.h"
#include "localmq/selector.h"

namespace localmq {
namespace {

constexpr MQLONG kInput = MQOO_INPUT_AS_Q_DEF | MQOO_INPUT_SHARED | MQOO_INPUT_EXCLUSIVE;
constexpr MQLONG kOutputContext =
    MQOO_PASS_IDENTITY_CONTEXT | MQOO_PASS_ALL_CONTEXT | MQOO_SET_IDENTITY_CONTEXT | MQOO_SET_ALL_CONTEXT;
constexpr MQLONG kOperations = kInput | MQOO_BROWSE | MQOO_OUTPUT | MQOO_INQUIRE | MQOO_SET;
constexpr MQLONG kBinding = MQOO_BIND_ON_OPEN | MQOO_BIND_NOT_FIXED | MQOO_BIND_ON_GROUP;
constexpr MQLONG kReadAhead = MQOO_NO_READ_AHEAD | MQOO_READ_AHEAD;
constexpr MQLONG kGeneral = MQOO_ALTERNATE_USER_AUTHORITY | MQOO_FAIL_IF_QUIESCING | MQOO_RESOLVE_NAMES | MQOO_CO_OP |
                            MQOO_RESOLVE_LOCAL_Q | MQOO_NO_MULTICAST;
constexpr MQLONG kAll = kOperations | kOutputContext | MQOO_SAVE_ALL_CONTEXT | kBinding | kReadAhead | kGeneral;

bool HasSeveral(MQLONG bits) { return (bits & (bits - 1)) != 0; }

Outcome CheckOptions(MQLONG options) {
  if ((options & ~kAll) != 0 || (options & kOperations) == 0 || HasSeveral(options & kInput) ||
      HasSeveral(options & kBinding) || HasSeveral(options & kReadAhead))
    return Failed(MQRC_OPTIONS_ERROR);
  if ((options & kOutputContext) != 0 && (options & MQOO_OUTPUT) == 0) return Failed(MQRC_OPTIONS_ERROR);
  if ((options & MQOO_SAVE_ALL_CONTEXT) != 0 && (options & kInput) == 0) return Failed(MQRC_OPTIONS_ERROR);
  return Done();
}

// The selection string of a descriptor, empty when there is none. False when it is not given properly.
bool SelectionString(const MQOD& descriptor, std::string& text) {
  if (descriptor.Version < MQOD_VERSION_4) return true;
  const MQCHARV& value = descriptor.SelectionString;
  const char* start = static_cast<const char*>(value.VSPtr);
  if (start == nullptr && value.VSOffset != 0) start = reinterpret_cast<const char*>(&descriptor) + value.VSOffset;
  if (start == nullptr || value.VSLength == 0) return start != nullptr || value.VSLength == 0;
  if (value.VSLength < 0 && value.VSLength != MQVS_NULL_TERMINATED) return false;
  text.assign(start,
              value.VSLength == MQVS_NULL_TERMINATED ? std::strlen(start) : static_cast<std::size_t>(value.VSLength));
  return true;
}

// Whether another living handle stands in the way of this input.
MQLONG CheckSharing(Connection& connection, const Queue& queue, MQLONG options) {
  if ((options & kInput) == 0) return MQRC_NONE;
  const bool exclusive = (options & MQOO_INPUT_EXCLUSIVE) != 0 || queue.Attributes.Shareability == MQQA_NOT_SHAREABLE;
  bool others = false;
  for (const bool second : {false, true}) {
    others = false;
    Statement statement(connection.Data(), "SELECT options FROM handle WHERE queue = ?");
    statement.Bind(1, queue.Id);
    while (statement.Step()) {
      const MQLONG other = statement.Long(0);
      if ((other & kInput) != 0 && (exclusive || (other & MQOO_INPUT_EXCLUSIVE) != 0)) others = true;
    }
    if (statement.Reason() != MQRC_NONE) return statement.Reason();
    if (!others || second) break;
    if (const MQLONG reason = BackOutDeadConnections(*connection.QueueManager); reason != MQRC_NONE) return reason;
  }
  return others ? MQRC_OBJECT_IN_USE : MQRC_NONE;
}

// Tells other connections of an open queue; not for MQPUT1, which has no handle, nor for what is only a definition.
MQLONG RecordHandle(Connection& connection, MQHOBJ handle, std::int64_t queueId, MQLONG options) {
  if (handle == MQHO_UNUSABLE_HOBJ || queueId == 0) return MQRC_NONE;
  Statement insert(connection.Data(),
                   "INSERT OR IGNORE INTO handle(connection, handle, queue, options) VALUES(?, ?, ?, ?)");
  insert.Bind(1, connection.Member.Id()).Bind(2, std::int64_t{handle}).Bind(3, queueId).Bind(4, std::int64_t{options});
  return insert.Run();
}

Outcome OpenQueueManager(Connection& connection, const MQOD& descriptor, MQLONG options, OpenObject& object) {
  const std::string name = FieldText(descriptor.ObjectName, sizeof descriptor.ObjectName);
  if (!name.empty() && name != connection.QueueManager->Name()) return Failed(MQRC_UNKNOWN_OBJECT_NAME);
  constexpr MQLONG allowed = MQOO_INQUIRE | MQOO_SET | MQOO_FAIL_IF_QUIESCING | MQOO_ALTERNATE_USER_AUTHORITY;
  if ((options & ~allowed) != 0) return Failed(MQRC_OPTION_NOT_VALID_FOR_TYPE);
  object.Kind = ObjectKind::kQueueManager;
  object.Options = options;
  return Done();
}

// Prepares what a handle needs to read its queue.
Outcome PrepareReading(const MQOD& descriptor, OpenObject& object) {
  std::string selection;
  if (!SelectionString(descriptor, selection)) return Failed(MQRC_SELECTION_STRING_ERROR);
  const bool reads = (object.Options & (kInput | MQOO_BROWSE)) != 0;
  if (!reads) return selection.empty() ? Done() : Failed(MQRC_SELECTOR_INVALID_FOR_TYPE);
  MessageFilter filter;
  if (!selection.empty()) {
    std::unique_ptr<Selector> selector;
    if (const MQLONG reason = Selector::Compile(selection, selector); reason != MQRC_NONE) return Failed(reason);
    filter = [shared = std::shared_ptr<Selector>(std::move(selector))](
                 const MQMD& message, std::span<const std::uint8_t> data) { return shared->Matches(message, data); };
  }
  object.Reader = std::make_unique<QueueReader>(object.Target().Id, std::move(filter));
  return Done();
}

Outcome OpenQueue(Connection& connection, MQOD& descriptor, MQLONG options, OpenObject& object) {
  Resolution resolution;
  if (const MQLONG reason = ResolveQueue(connection, FieldText(descriptor.ObjectName, sizeof(MQCHAR48)),
                                         FieldText(descriptor.ObjectQMgrName, sizeof(MQCHAR48)), options, resolution);
      reason != MQRC_NONE)
    return Failed(reason);
  if (resolution.Named.Attributes.Type == MQQT_MODEL) {
    // A queue that lives as long as its handle is of no use without one.
    if (object.Handle == MQHO_UNUSABLE_HOBJ) return Failed(MQRC_OBJECT_TYPE_ERROR);
    const std::string wanted = FieldText(descriptor.DynamicQName, sizeof descriptor.DynamicQName);
    if (const MQLONG reason = MakeDynamicQueue(connection, wanted, resolution); reason != MQRC_NONE)
      return Failed(reason);
    object.OwnsQueue = resolution.Named.Attributes.DefinitionType == MQQDT_TEMPORARY_DYNAMIC;
    SetField(descriptor.ObjectName, sizeof descriptor.ObjectName, resolution.Named.Attributes.Name);
    SetField(descriptor.ObjectQMgrName, sizeof descriptor.ObjectQMgrName, connection.QueueManager->Name());
  }
  object.Kind = ObjectKind::kQueue;
  object.Named = resolution.Named;
  object.Destinations.assign(1, resolution.Target);
  const Queue& target = object.Target();
  if ((options & MQOO_INPUT_AS_Q_DEF) != 0)
    options = (options & ~MQOO_INPUT_AS_Q_DEF) | target.Attributes.DefInputOpenOption;
  object.Options = options;
  if (const MQLONG reason = CheckSharing(connection, target, options); reason != MQRC_NONE) return Failed(reason);
  if (const Outcome outcome = PrepareReading(descriptor, object); !outcome.Ok()) return outcome;
  if (const MQLONG reason = RecordHandle(connection, object.Handle, target.Id, options); reason != MQRC_NONE)
    return Failed(reason);
  if (descriptor.Version >= MQOD_VERSION_3) {
    const Destination& destination = object.Destinations.front();
    SetField(descriptor.ResolvedQName, sizeof descriptor.ResolvedQName, destination.Name);
    SetField(descriptor.ResolvedQMgrName, sizeof descriptor.ResolvedQMgrName, destination.QueueManagerName);
  }
  if (descriptor.Version >= MQOD_VERSION_4) descriptor.ResolvedType = MQOT_Q;
  return Done();
}

template <typename Record>
Record* Records(MQOD& descriptor, MQPTR pointer, MQLONG offset) {
  if (pointer != nullptr) return static_cast<Record*>(pointer);
  return offset == 0 ? nullptr : reinterpret_cast<Record*>(reinterpret_cast<char*>(&descriptor) + offset);
}

Outcome OpenList(Connection& connection, MQOD& descriptor, MQLONG options, OpenObject& object) {
  constexpr MQLONG allowed =
      MQOO_OUTPUT | kOutputContext | kBinding | MQOO_FAIL_IF_QUIESCING | MQOO_ALTERNATE_USER_AUTHORITY;
  if ((options & ~allowed) != 0) return Failed(MQRC_OPTION_NOT_VALID_FOR_TYPE);
  if (!FieldText(descriptor.ObjectName, sizeof(MQCHAR48)).empty()) return Failed(MQRC_OBJECT_NAME_ERROR);
  if (!FieldText(descriptor.ObjectQMgrName, sizeof(MQCHAR48)).empty()) return Failed(MQRC_OBJECT_Q_MGR_NAME_ERROR);
  const auto* records = Records<MQOR>(descriptor, descriptor.ObjectRecPtr, descriptor.ObjectRecOffset);
  if (records == nullptr || (descriptor.ObjectRecPtr != nullptr && descriptor.ObjectRecOffset != 0))
    return Failed(MQRC_OBJECT_RECORDS_ERROR);
  if (descriptor.ResponseRecPtr != nullptr && descriptor.ResponseRecOffset != 0)
    return Failed(MQRC_RESPONSE_RECORDS_ERROR);
  auto* responses = Records<MQRR>(descriptor, descriptor.ResponseRecPtr, descriptor.ResponseRecOffset);

  object.Kind = ObjectKind::kDistributionList;
  object.Options = options;
  descriptor.KnownDestCount = descriptor.UnknownDestCount = descriptor.InvalidDestCount = 0;
  for (MQLONG i = 0; i < descriptor.RecsPresent; ++i) {
    Resolution resolution;
    const MQLONG reason = ResolveQueue(connection, FieldText(records[i].ObjectName, sizeof(MQCHAR48)),
                                       FieldText(records[i].ObjectQMgrName, sizeof(MQCHAR48)), options, resolution);
    resolution.Target.Opened = OutcomeOf(reason);
    if (reason == MQRC_NONE && resolution.Named.Attributes.Type == MQQT_MODEL)
      resolution.Target.Opened = Failed(MQRC_OBJECT_TYPE_ERROR);
    if (!resolution.Target.Opened.Ok()) {
      ++descriptor.InvalidDestCount;
    } else if (resolution.Target.Remote) {
      ++descriptor.UnknownDestCount;
    } else {
      ++descriptor.KnownDestCount;
    }
    if (resolution.Target.Opened.Ok()) {
      if (const MQLONG failure = RecordHandle(connection, object.Handle, resolution.Target.Target.Id, options);
          failure != MQRC_NONE)
        return Failed(failure);
    }
    object.Destinations.push_back(std::move(resolution.Target));
  }
  std::vector<Outcome> outcomes;
  for (const Destination& destination : object.Destinations) outcomes.push_back(destination.Opened);
  const Outcome outcome = Combine(outcomes);
  if (responses != nullptr && outcome.Reason == MQRC_MULTIPLE_REASONS) {
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
      responses[i].CompCode = outcomes[i].CompCode;
      responses[i].Reason = outcomes[i].Reason;
    }
  }
  return outcome;
}

// Takes a dynamic queue away when the handle that closes asks for it or made it.
Outcome DeleteDynamicQueue(Connection& connection, const OpenObject& object, MQLONG options) {
  const std::int64_t id = object.Target().Id;
  const bool temporary = object.Target().Attributes.DefinitionType == MQQDT_TEMPORARY_DYNAMIC;
  if (temporary && !object.OwnsQueue && options != MQCO_NONE) return Failed(MQRC_OPTION_NOT_VALID_FOR_TYPE);
  if (temporary ? !object.OwnsQueue : options == MQCO_NONE) return Done();
  if (!temporary) {
    if (options == MQCO_DELETE) {
      Statement depth(connection.Data(), "SELECT 1 FROM message WHERE key BETWEEN ? AND ?");
      if (depth.Bind(1, FirstKey(id)).Bind(2, LastKey(id)).Step()) return Failed(MQRC_Q_NOT_EMPTY);
    }
    Statement others(connection.Data(),
                     "SELECT 1 FROM handle WHERE queue = ?1 AND NOT (connection = ?2 AND handle = ?3)");
    if (others.Bind(1, id).Bind(2, connection.Member.Id()).Bind(3, std::int64_t{object.Handle}).Step())
      return Failed(MQRC_OBJECT_IN_USE);
  }
  for (const char* sql :
       {"DELETE FROM held WHERE key BETWEEN ? AND ?", "DELETE FROM message WHERE key BETWEEN ? AND ?"}) {
    Statement statement(connection.Data(), sql);
    if (const MQLONG reason = statement.Bind(1, FirstKey(id)).Bind(2, LastKey(id)).Run(); reason != MQRC_NONE)
      return Failed(reason);
  }
  Statement queue(connection.Data(), "DELETE FROM queue WHERE id = ?");
  if (const MQLONG reason = queue.Bind(1, id).Run(); reason != MQRC_NONE) return Failed(reason);
  // The unit of work forgets the queue as if it had never touched it.
  connection.Unit.ForgetQueue(id);
  return Done();
}

}  // namespace

Outcome CheckObjectDescriptor(const MQOD* descriptor) {
  if (descriptor == nullptr || std::memcmp(descriptor->StrucId, MQOD_STRUC_ID, sizeof descriptor->StrucId) != 0 ||
      descriptor->Version < MQOD_VERSION_1 || descriptor->Version > MQOD_CURRENT_VERSION)
    return Failed(MQRC_OD_ERROR);
  return Done();
}

Outcome OpenObjectFor(Connection& connection, MQOD& descriptor, MQLONG options, OpenObject& object) {
  const bool list = descriptor.Version >= MQOD_VERSION_2 && descriptor.RecsPresent != 0;
  if (list && descriptor.RecsPresent < 0) return Failed(MQRC_RECS_PRESENT_ERROR);
  if (descriptor.ObjectType == MQOT_Q_MGR) {
    if (list) return Failed(MQRC_OBJECT_TYPE_ERROR);
    return OpenQueueManager(connection, descriptor, options, object);
  }
  if (descriptor.ObjectType != MQOT_Q) return Failed(MQRC_OBJECT_TYPE_ERROR);
  return list ? OpenList(connection, descriptor, options, object) : OpenQueue(connection, descriptor, options, object);
}

Outcome Open(Connection& connection, MQOD* descriptor, MQLONG options, MQHOBJ* handle) {
  if (handle == nullptr) return Failed(MQRC_HOBJ_ERROR);
  *handle = MQHO_UNUSABLE_HOBJ;
  if (const Outcome outcome = CheckObjectDescriptor(descriptor); !outcome.Ok()) return outcome;
  if (const Outcome outcome = CheckOptions(options); !outcome.Ok()) return outcome;

  auto object = std::make_unique<OpenObject>();
  object->Handle = connection.LastHandle + 1;
  Transaction transaction(connection.Data(), Transaction::Durability::kProcess);
  if (transaction.Reason() != MQRC_NONE) return Failed(transaction.Reason());
  const Outcome outcome = OpenObjectFor(connection, *descriptor, options, *object);
  if (!outcome.Ok()) return outcome;
  if (const MQLONG reason = transaction.Commit(); reason != MQRC_NONE) return Failed(reason);
  *handle = ++connection.LastHandle;
  connection.Objects[*handle] = std::move(object);
  return outcome;
}

Outcome Close(Connection& connection, MQHOBJ* handle, MQLONG options) {
  OpenObject* object = handle == nullptr ? nullptr : connection.Find(*handle);
  if (object == nullptr) return Failed(MQRC_HOBJ_ERROR);
  constexpr MQLONG known = MQCO_DELETE | MQCO_DELETE_PURGE | MQCO_KEEP_SUB | MQCO_REMOVE_SUB | MQCO_QUIESCE;
  if ((options & ~known) != 0 || HasSeveral(options)) return Failed(MQRC_OPTIONS_ERROR);
  const bool dynamic =
      object->Kind == ObjectKind::kQueue && object->Target().Attributes.DefinitionType != MQQDT_PREDEFINED;
  if ((options & ~(MQCO_DELETE | MQCO_DELETE_PURGE)) != 0 || (options != MQCO_NONE && !dynamic))
    return Failed(MQRC_OPTION_NOT_VALID_FOR_TYPE);
  {
    Transaction transaction(connection.Data(), Transaction::Durability::kProcess);
    if (transaction.Reason() != MQRC_NONE) return Failed(transaction.Reason());
    if (dynamic) {
      if (const Outcome outcome = DeleteDynamicQueue(connection, *object, options); !outcome.Ok()) return outcome;
    }
    Statement statement(connection.Data(), "DELETE FROM handle WHERE connection = ? AND handle = ?");
    statement.Bind(1, connection.Member.Id()).Bind(2, std::int64_t{*handle});
    MQLONG reason = statement.Run();
    if (reason == MQRC_NONE) reason = transaction.Commit();
    if (reason != MQRC_NONE) return Failed(reason);
  }
  connection.Consuming->Deregister(*handle);
  connection.Objects.erase(*handle);
  *handle = MQHO_UNUSABLE_HOBJ;
  return Done();
}

}  // namespace localmq
