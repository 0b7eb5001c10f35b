#include "localmq/connection.h"

#include <algorithm>
#include <cstring>

#include "localmq/consumers.h"
#include "localmq/schema.h"

namespace localmq {
namespace {

struct Registry {
  std::mutex Mutex;
  std::map<MQHCONN, std::shared_ptr<Connection>> Connections;
  MQHCONN Last{1};
};

// Never destroyed: threads of the application may still call while the process ends.
Registry& TheRegistry() {
  static Registry* const registry = new Registry;
  return *registry;
}

}  // namespace

Connection::Connection() : Consuming(std::make_unique<Consumers>(*this)) {}
Connection::~Connection() = default;

void UnitOfWork::ForgetQueue(std::int64_t queueId) {
  std::erase_if(Puts, [queueId](const PendingPut& put) { return put.QueueId == queueId; });
  std::erase_if(Gets, [queueId](const HeldMessage& get) { return QueueOfKey(get.Key) == queueId; });
  counts_.erase(queueId);
}

OpenObject* Connection::Find(MQHOBJ handle) {
  const auto found = Objects.find(handle);
  return found == Objects.end() ? nullptr : found->second.get();
}

void Connection::DropFromReaders(std::int64_t key) {
  for (auto& [handle, object] : Objects) {
    if (object->Reader) object->Reader->Drop(key);
  }
}

void Connection::ForgetReaders(std::int64_t queueId) {
  for (auto& [handle, object] : Objects) {
    if (object->Reader && (queueId == 0 || object->Target().Id == queueId)) object->Reader->Forget();
  }
}

void AddConnection(std::shared_ptr<Connection> connection) {
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.Mutex);
  connection->Handle = ++registry.Last;
  registry.Connections[connection->Handle] = std::move(connection);
}

std::shared_ptr<Connection> FindConnection(MQHCONN handle) {
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.Mutex);
  const auto found = registry.Connections.find(handle);
  return found == registry.Connections.end() ? nullptr : found->second;
}

void RemoveConnection(MQHCONN handle) {
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.Mutex);
  registry.Connections.erase(handle);
}

std::shared_ptr<Connection> FindOwnConnection(const std::string& queueManager) {
  Registry& registry = TheRegistry();
  const std::lock_guard lock(registry.Mutex);
  for (const auto& [handle, connection] : registry.Connections) {
    if (connection->ShareOption == MQCNO_HANDLE_SHARE_NONE && connection->Owner == std::this_thread::get_id() &&
        connection->QueueManager->Name() == queueManager)
      return connection;
  }
  return nullptr;
}

std::string FieldText(const MQCHAR* field, std::size_t length) {
  std::size_t used = 0;
  while (used < length && field[used] != '\0') ++used;
  while (used > 0 && field[used - 1] == ' ') --used;
  return std::string(field, used);
}

void SetField(MQCHAR* field, std::size_t length, std::string_view text) {
  const std::size_t used = std::min(length, text.size());
  std::copy_n(text.data(), used, field);
  std::memset(field + used, ' ', length - used);
}

}  // namespace localmq
