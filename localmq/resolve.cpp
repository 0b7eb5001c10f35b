#include "localmq/resolve.h"

#include <algorithm>
#include <cstdio>

#include "localmq/schema.h"

namespace localmq {
namespace {

constexpr MQLONG kTransmission = 1;  // USAGE(XMITQ)
constexpr MQLONG kReading = MQOO_INPUT_AS_Q_DEF | MQOO_INPUT_SHARED | MQOO_INPUT_EXCLUSIVE | MQOO_BROWSE;

void SetLocal(Connection& connection, const Queue& queue, Destination& target) {
  target.Target = queue;
  target.Name = queue.Attributes.Name;
  target.QueueManagerName = connection.QueueManager->Name();
}

// Finds a transmission queue by name, with the reasons for a name that is unknown, no local queue, or used otherwise.
MQLONG FindTransmissionQueue(Store& store, const std::string& name, MQLONG unknown, MQLONG wrongType, MQLONG wrongUsage,
                             Queue& queue) {
  const MQLONG reason = store.FindQueue(name, queue);
  if (reason == MQRC_UNKNOWN_OBJECT_NAME) return unknown;
  if (reason != MQRC_NONE) return reason;
  if (queue.Attributes.Type != MQQT_LOCAL) return wrongType;
  return queue.Attributes.Usage == kTransmission ? MQRC_NONE : wrongUsage;
}

// A queue on another queue manager: its messages go to the transmission queue that leads there.
MQLONG ResolveRemote(Connection& connection, const std::string& name, const std::string& queueManager,
                     const std::string& transmission, Destination& target) {
  Store& store = *connection.QueueManager;
  MQLONG reason = MQRC_NONE;
  if (!transmission.empty()) {
    reason = FindTransmissionQueue(store, transmission, MQRC_UNKNOWN_XMIT_Q, MQRC_XMIT_Q_TYPE_ERROR,
                                   MQRC_XMIT_Q_USAGE_ERROR, target.Target);
  } else {
    reason = FindTransmissionQueue(store, queueManager, MQRC_UNKNOWN_REMOTE_Q_MGR, MQRC_UNKNOWN_REMOTE_Q_MGR,
                                   MQRC_UNKNOWN_REMOTE_Q_MGR, target.Target);
    if (reason == MQRC_UNKNOWN_REMOTE_Q_MGR) {
      QueueManagerAttributes attributes;
      if (const MQLONG failure = store.ReadQueueManager(attributes); failure != MQRC_NONE) return failure;
      if (attributes.DefXmitQName.empty()) return MQRC_UNKNOWN_REMOTE_Q_MGR;
      reason = FindTransmissionQueue(store, attributes.DefXmitQName, MQRC_UNKNOWN_DEF_XMIT_Q,
                                     MQRC_DEF_XMIT_Q_TYPE_ERROR, MQRC_DEF_XMIT_Q_USAGE_ERROR, target.Target);
    }
  }
  target.Remote = true;
  target.Name = name;
  target.QueueManagerName = queueManager;
  return reason;
}

MQLONG ResolveRemoteDefinition(Connection& connection, const Queue& definition, MQLONG options, Destination& target) {
  const QueueAttributes& attributes = definition.Attributes;
  if ((options & kReading) != 0) return MQRC_OPTION_NOT_VALID_FOR_TYPE;
  // To inquire about the definition, nothing needs to lead anywhere.
  if ((options & MQOO_OUTPUT) == 0) return MQRC_NONE;
  if (attributes.RemoteQMgrName == connection.QueueManager->Name()) {
    const MQLONG reason = connection.QueueManager->FindQueue(attributes.RemoteName, target.Target);
    if (reason == MQRC_NONE) SetLocal(connection, Queue(target.Target), target);
    return reason;
  }
  if (attributes.RemoteName.empty()) return MQRC_REMOTE_Q_NAME_ERROR;
  return ResolveRemote(connection, attributes.RemoteName, attributes.RemoteQMgrName, attributes.XmitQName, target);
}

MQLONG ResolveAlias(Connection& connection, const Queue& alias, MQLONG options, Destination& target) {
  // Inquiring about an alias is about its own definition, which may lead nowhere.
  if ((options & (kReading | MQOO_OUTPUT)) == 0) return MQRC_NONE;
  Queue base;
  const MQLONG reason = connection.QueueManager->FindQueue(alias.Attributes.BaseName, base);
  if (reason == MQRC_UNKNOWN_OBJECT_NAME) return MQRC_UNKNOWN_ALIAS_BASE_Q;
  if (reason != MQRC_NONE) return reason;
  if (base.Attributes.Type == MQQT_LOCAL) {
    SetLocal(connection, base, target);
    return MQRC_NONE;
  }
  if (base.Attributes.Type == MQQT_REMOTE) return ResolveRemoteDefinition(connection, base, options, target);
  return MQRC_ALIAS_BASE_Q_TYPE_ERROR;
}

}  // namespace

MQLONG ResolveQueue(Connection& connection, const std::string& name, const std::string& queueManager, MQLONG options,
                    Resolution& resolution) {
  Store& store = *connection.QueueManager;
  if (name.empty()) return MQRC_UNKNOWN_OBJECT_NAME;
  if (!queueManager.empty() && queueManager != store.Name()) {
    if ((options & (kReading | MQOO_INQUIRE | MQOO_SET)) != 0) return MQRC_OPTION_NOT_VALID_FOR_TYPE;
    // A remote definition without a queue name stands for a queue manager.
    Queue alias;
    if (store.FindQueue(queueManager, alias) == MQRC_NONE && alias.Attributes.Type == MQQT_REMOTE &&
        alias.Attributes.RemoteName.empty()) {
      if (alias.Attributes.RemoteQMgrName == store.Name())
        return ResolveQueue(connection, name, store.Name(), options, resolution);
      return ResolveRemote(connection, name, alias.Attributes.RemoteQMgrName, alias.Attributes.XmitQName,
                           resolution.Target);
    }
    return ResolveRemote(connection, name, queueManager, {}, resolution.Target);
  }

  if (const MQLONG reason = store.FindQueue(name, resolution.Named); reason != MQRC_NONE) return reason;
  switch (resolution.Named.Attributes.Type) {
    case MQQT_ALIAS:
      return ResolveAlias(connection, resolution.Named, options, resolution.Target);
    case MQQT_REMOTE:
      return ResolveRemoteDefinition(connection, resolution.Named, options, resolution.Target);
    case MQQT_LOCAL:
      SetLocal(connection, resolution.Named, resolution.Target);
      return MQRC_NONE;
    default:
      return MQRC_NONE;
  }
}

MQLONG MakeDynamicQueue(Connection& connection, const std::string& wanted, Resolution& resolution) {
  std::string name = wanted;
  if (!name.empty() && name.back() == '*') {
    name.pop_back();
    // Room for the characters that follow: a name has 48.
    if (name.size() > 33) return MQRC_DYNAMIC_Q_NAME_ERROR;
    char unique[24];
    std::snprintf(unique, sizeof unique, "%08llX%02X",
                  static_cast<unsigned long long>(connection.Member.Id()) & 0xffffffff,
                  static_cast<unsigned>(++connection.DynamicQueues) & 0xffffffu);
    name += unique;
    name.resize(std::min<std::size_t>(name.size(), 48));
  }
  if (!IsValidName(name)) return MQRC_DYNAMIC_Q_NAME_ERROR;
  const MQLONG definitionType = resolution.Named.Attributes.DefinitionType;
  QueueAttributes attributes = resolution.Named.Attributes;
  attributes.Name = name;
  attributes.Type = MQQT_LOCAL;
  MQLONG reason = connection.QueueManager->DefineQueue(attributes, false);
  if (reason != MQRC_NONE) return reason;
  reason = connection.QueueManager->FindQueue(name, resolution.Named);
  if (reason == MQRC_NONE && definitionType == MQQDT_TEMPORARY_DYNAMIC) {
    Statement owner(connection.Data(), "UPDATE queue SET owner = ? WHERE id = ?");
    reason = owner.Bind(1, connection.Member.Id()).Bind(2, resolution.Named.Id).Run();
  }
  SetLocal(connection, resolution.Named, resolution.Target);
  return reason;
}

}  // namespace localmq
