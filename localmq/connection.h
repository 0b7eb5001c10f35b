#pragma once

// A connection to a queue manager as the calls see it: its open handles, its unit of work, and the registry that turns
// the numbers that applications hold into both. A connection is used by one call at a time; the registry hands it out
// locked.

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

#include "localmq/connections.h"
#include "localmq/reader.h"
#include "localmq/store.h"

namespace localmq {

// How a call ends.
struct Outcome {
  MQLONG CompCode{MQCC_OK};
  MQLONG Reason{MQRC_NONE};

  bool Ok() const { return CompCode != MQCC_FAILED; }
};
constexpr Outcome Done() { return {}; }
constexpr Outcome Warning(MQLONG reason) { return {MQCC_WARNING, reason}; }
constexpr Outcome Failed(MQLONG reason) { return {MQCC_FAILED, reason}; }
// MQRC_NONE is success, anything else a failure.
constexpr Outcome OutcomeOf(MQLONG reason) { return reason == MQRC_NONE ? Done() : Failed(reason); }

// Where messages put to an open queue go. For a remote queue the target is a transmission queue, and each message
// travels behind a header that names the remote queue.
struct Destination {
  Queue Target;
  std::string Name;              // as resolved
  std::string QueueManagerName;  // as resolved
  bool Remote{false};
  Outcome Opened;  // of a distribution list's entry
};

// The context of the message that was last got with a handle that saves it.
struct SavedContext {
  bool Present{false};
  MQMD Descriptor;
};

enum class ObjectKind { kQueue, kDistributionList, kQueueManager };

struct OpenObject {
  MQHOBJ Handle{MQHO_UNUSABLE_HOBJ};
  ObjectKind Kind{ObjectKind::kQueue};
  MQLONG Options{0};
  Queue Named;                            // the object that was named in the open
  std::vector<Destination> Destinations;  // one, or those of a distribution list
  bool OwnsQueue{false};                  // it made the temporary dynamic queue that it has open
  std::int64_t GetAllowedVersion{-1};     // the database's version in which gets were found to be allowed
  std::int64_t Cursor{0};                 // key under the browse cursor, 0 when there is none
  std::unique_ptr<QueueReader> Reader;
  SavedContext Context;

  const Queue& Target() const { return Destinations.front().Target; }
};

// A message put in a unit of work: it is in the connection only, until the commit.
struct PendingPut {
  std::int64_t QueueId{0};
  std::int64_t Expires{0};
  bool Command{false};  // for the command server, which answers it when it is committed
  MQMD Descriptor;
  std::vector<std::uint8_t> Data;
};

// A message that was got in a unit of work and is held until its end.
struct HeldMessage {
  std::int64_t Key{0};
  bool Persistent{false};
};

class UnitOfWork {
 public:
  std::vector<PendingPut> Puts;
  std::vector<HeldMessage> Gets;
  bool Doomed{false};  // a persistent message that was put asynchronously is missing: a commit backs the unit out

  bool Empty() const { return Puts.empty() && Gets.empty() && !Doomed; }
  std::size_t Size() const { return Puts.size() + Gets.size(); }
  void Add(PendingPut put) {
    ++counts_[put.QueueId];
    Puts.push_back(std::move(put));
  }
  // How many messages the unit puts to a queue.
  std::size_t PutsTo(std::int64_t queueId) const {
    const auto found = counts_.find(queueId);
    return found == counts_.end() ? 0 : found->second;
  }
  // Forgets what concerns a queue that has been deleted.
  void ForgetQueue(std::int64_t queueId);

 private:
  std::unordered_map<std::int64_t, std::size_t> counts_;
};

class Consumers;

struct Connection {
  Connection();
  ~Connection();

  MQHCONN Handle{MQHC_UNUSABLE_HCONN};
  std::recursive_mutex Mutex;
  bool Closed{false};
  MQLONG ShareOption{MQCNO_HANDLE_SHARE_NONE};
  std::thread::id Owner;
  std::unique_ptr<Store> QueueManager;
  QueueManagerAttributes Attributes;
  std::string Application;
  std::string User;
  std::uint64_t NextMessageId{0};  // starts at random, so that no two connections make the same identifiers
  Membership Member;
  UnitOfWork Unit;
  MQSTS AsyncPuts;  // what became of the asynchronous puts since MQSTAT was last asked
  std::map<MQHOBJ, std::unique_ptr<OpenObject>> Objects;
  const std::unique_ptr<Consumers> Consuming;
  MQHOBJ LastHandle{1};
  unsigned DynamicQueues{0};  // made so far, for their names

  OpenObject* Find(MQHOBJ handle);
  Database& Data() { return QueueManager->Data(); }
  // The readers of all handles: this connection took a message, or changed a queue (0 for any) in another way.
  void DropFromReaders(std::int64_t key);
  void ForgetReaders(std::int64_t queueId);
};

// The registry of this process. Handles are numbers from 2 up that are not used again.
void AddConnection(std::shared_ptr<Connection> connection);
std::shared_ptr<Connection> FindConnection(MQHCONN handle);
void RemoveConnection(MQHCONN handle);
// A connection of this thread to the queue manager that is not shared between threads, if it has one.
std::shared_ptr<Connection> FindOwnConnection(const std::string& queueManager);

// The text in a padded field, up to its first NUL, without trailing blanks.
std::string FieldText(const MQCHAR* field, std::size_t length);
// Fills a field with a text, padded with blanks, cut where it does not fit.
void SetField(MQCHAR* field, std::size_t length, std::string_view text);

}  // namespace localmq
