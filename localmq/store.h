#pragma once

// A queue manager's store: one SQLite database in a folder of its own below the data directory. This header is about
// the objects in it (the queue manager and its queues); messages and units of work are in messages.h.
//
// A Store is used by one thread at a time. Several Stores, in any number of processes, may have the same queue manager
// open; each call is one transaction, so callers always see whole objects. Names are plain text without padding, at
// most 48 characters. Every call returns a reason code and leaves the store unchanged when that is not MQRC_NONE.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "localmq/database.h"
#include "mq/mqi.h"

namespace localmq {

// What a queue of any type can be told; which fields mean something depends on Type.
struct QueueAttributes {
  std::string Name;
  MQLONG Type{MQQT_LOCAL};                      // MQQT_LOCAL, MQQT_MODEL, MQQT_ALIAS, MQQT_REMOTE
  std::string Description;                      // DESCR, at most 64 characters
  MQLONG InhibitPut{MQQA_PUT_ALLOWED};          // PUT
  MQLONG InhibitGet{MQQA_GET_ALLOWED};          // GET
  MQLONG DefPriority{0};                        // DEFPRTY
  MQLONG DefPersistence{MQPER_NOT_PERSISTENT};  // DEFPSIST
  // Local and model queues.
  MQLONG MaxDepth{5000};                         // MAXDEPTH
  MQLONG MaxMsgLength{4194304};                  // MAXMSGL, bytes
  MQLONG BackoutThreshold{0};                    // BOTHRESH
  std::string BackoutRequeueName;                // BOQNAME
  MQLONG Shareability{MQQA_SHAREABLE};           // SHARE, NOSHARE
  MQLONG DefInputOpenOption{MQOO_INPUT_SHARED};  // DEFSOPT
  MQLONG DefinitionType{MQQDT_PREDEFINED};       // DEFTYPE; for a model queue, the type of the queues made from it
  MQLONG Usage{0};                               // USAGE: 0 NORMAL, 1 XMITQ
  // Alias queues.
  std::string BaseName;  // TARGET, TARGQ
  // Remote queues.
  std::string RemoteName;      // RNAME
  std::string RemoteQMgrName;  // RQMNAME
  std::string XmitQName;       // XMITQ

  bool operator==(const QueueAttributes&) const = default;
};

struct QueueManagerAttributes {
  std::string Name;  // set at creation, never altered
  std::string Description;
  std::string DeadLetterQName;  // DEADQ
  std::string DefXmitQName;     // DEFXMITQ
  std::string CommandInputQName{"SYSTEM.ADMIN.COMMAND.QUEUE"};
  MQLONG CodedCharSetId{1208};     // CCSID
  MQLONG CommandLevel{940};        // CMDLEVEL
  MQLONG Platform{MQPL_NATIVE};    // PLATFORM
  MQLONG MaxMsgLength{104857600};  // MAXMSGL
  MQLONG MaxUncommittedMsgs{0};    // MAXUMSGS; 0 means no limit
  // How this queue manager imitates others: the highest MQCNO version that its library takes, whether asynchronous puts
  // are refused, and whether nobody answers on the command queue.
  MQLONG MaxConnectVersion{8};  // MAXCNO
  MQLONG AsyncPut{1};           // ASYNCPUT
  MQLONG CommandServer{1};      // CMDSERV
  // When User is not empty, only this user with this password may connect.
  std::string User;
  std::string Password;

  bool operator==(const QueueManagerAttributes&) const = default;
};

// A local queue's figures of the moment.
struct QueueStatus {
  MQLONG Depth{0};                     // messages that are committed and not held by a unit of work
  MQLONG OpenInputCount{0};            // handles open for input, by processes that live
  MQLONG OpenOutputCount{0};           // handles open for output
  MQLONG CurrentFileSize{0};           // megabytes, at least 1
  MQLONG CurrentMaxFileSize{2088960};  // megabytes
};

// A queue as it stands in the store: its attributes and the number that its messages are filed under.
struct Queue {
  QueueAttributes Attributes;
  std::int64_t Id{0};
};

// The folder that holds all queue managers: $LOCALMQ_DATA, else "localmq" in the user's data directory.
std::string DataDirectory();

// The queue managers in the data directory, sorted by name.
std::vector<std::string> ListQueueManagers();

// Creates a queue manager with its system queues (SYSTEM.ADMIN.COMMAND.QUEUE, SYSTEM.DEFAULT.MODEL.QUEUE,
// SYSTEM.DEFAULT.LOCAL.QUEUE, SYSTEM.DEAD.LETTER.QUEUE). With `makeDefault` it becomes the one that a blank name means.
// MQRC_OBJECT_ALREADY_EXISTS, MQRC_Q_MGR_NAME_ERROR (not a valid name), or MQRC_FILE_SYSTEM_ERROR.
MQLONG CreateQueueManager(const QueueManagerAttributes& attributes, bool makeDefault);

// Removes a queue manager with everything in it. MQRC_Q_MGR_NAME_ERROR when there is none, MQRC_OBJECT_IN_USE when a
// living process is connected.
MQLONG DeleteQueueManager(std::string_view name);

// The name of the default queue manager, or an empty text.
std::string DefaultQueueManager();

// True for a name of 1 to 48 of the characters A-Z a-z 0-9 . / _ %.
bool IsValidName(std::string_view name);

// True when `name` is `pattern`, where one "*" at the pattern's end stands for anything. Case counts.
bool MatchesGenericName(std::string_view name, std::string_view pattern);

class Store {
 public:
  // Opens a queue manager by name; an empty name means the default one. MQRC_Q_MGR_NAME_ERROR when there is no such
  // queue manager.
  static MQLONG Open(std::string_view name, std::unique_ptr<Store>& store);

  const std::string& Name() const { return name_; }
  // The folder of this queue manager.
  const std::string& Directory() const { return directory_; }
  // Text of the last failure of the database, for an administrator.
  std::string LastError() const { return database_.LastError(); }

  MQLONG ReadQueueManager(QueueManagerAttributes& attributes);
  // Stores all attributes but the name.
  MQLONG AlterQueueManager(const QueueManagerAttributes& attributes);

  // MQRC_UNKNOWN_OBJECT_NAME when there is no such queue.
  MQLONG FindQueue(std::string_view name, Queue& queue);
  // The queues whose name matches a generic name, sorted by name; `type` is a queue type or MQQT_ALL.
  MQLONG ListQueues(std::string_view pattern, MQLONG type, std::vector<Queue>& queues);
  // MQRC_OBJECT_ALREADY_EXISTS unless `replace`; with it, a queue of the same type keeps its messages. A queue of
  // another type is never replaced (MQRC_OBJECT_TYPE_ERROR). MQRC_OBJECT_NAME_ERROR for a name that is not valid.
  MQLONG DefineQueue(const QueueAttributes& attributes, bool replace);
  // Stores all attributes of an existing queue of the same name and type.
  MQLONG AlterQueue(const QueueAttributes& attributes);
  // MQRC_OBJECT_IN_USE while a living process has it open, MQRC_Q_NOT_EMPTY when messages are on it and not `purge`.
  MQLONG DeleteQueue(std::string_view name, bool purge);
  // Removes all messages of a local queue. MQRC_OBJECT_IN_USE while it is open or a unit of work holds a message.
  MQLONG ClearQueue(std::string_view name);
  // Figures of a local queue.
  MQLONG ReadQueueStatus(std::string_view name, QueueStatus& status);

  // The database below, for the message operations.
  Database& Data() { return database_; }

 private:
  Store(std::string name, std::string directory) : name_(std::move(name)), directory_(std::move(directory)) {}

  std::string name_;
  std::string directory_;
  Database database_;
};

}  // namespace localmq
