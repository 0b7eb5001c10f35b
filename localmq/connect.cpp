#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>

#include "localmq/calls.h"
#include "localmq/platform.h"
#include "localmq/unit_of_work.h"

namespace localmq {
namespace {

constexpr MQLONG kShareOptions = MQCNO_HANDLE_SHARE_NONE | MQCNO_HANDLE_SHARE_BLOCK | MQCNO_HANDLE_SHARE_NO_BLOCK;
constexpr MQLONG kBindingOptions =
    MQCNO_FASTPATH_BINDING | MQCNO_SHARED_BINDING | MQCNO_ISOLATED_BINDING | MQCNO_LOCAL_BINDING | MQCNO_CLIENT_BINDING;
constexpr MQLONG kReconnectOptions = MQCNO_RECONNECT | MQCNO_RECONNECT_DISABLED | MQCNO_RECONNECT_Q_MGR;
constexpr MQLONG kOtherOptions =
    MQCNO_ACCOUNTING_MQI_DISABLED | MQCNO_ACCOUNTING_MQI_ENABLED | MQCNO_ACCOUNTING_Q_DISABLED |
    MQCNO_ACCOUNTING_Q_ENABLED | MQCNO_ACTIVITY_TRACE_DISABLED | MQCNO_ACTIVITY_TRACE_ENABLED | MQCNO_ALL_CONVS_SHARE |
    MQCNO_NO_CONV_SHARING | MQCNO_CD_FOR_OUTPUT_ONLY | MQCNO_USE_CD_SELECTION | MQCNO_GENERATE_CONN_TAG;

bool HasSeveral(MQLONG bits) { return (bits & (bits - 1)) != 0; }

// The highest version of connect options that this library takes, for imitating an older one.
MQLONG HighestConnectVersion(const QueueManagerAttributes& attributes) {
  const char* text = std::getenv("LOCALMQ_MAX_CNO");
  const MQLONG limit = text == nullptr ? MQCNO_CURRENT_VERSION : static_cast<MQLONG>(std::strtol(text, nullptr, 10));
  return std::min(limit, attributes.MaxConnectVersion);
}

Outcome CheckConnectOptions(const MQCNO& options, const QueueManagerAttributes& attributes) {
  if (std::memcmp(options.StrucId, MQCNO_STRUC_ID, sizeof options.StrucId) != 0) return Failed(MQRC_CNO_ERROR);
  if (options.Version < MQCNO_VERSION_1 || options.Version > HighestConnectVersion(attributes))
    return Failed(MQRC_CNO_ERROR);
  const MQLONG bits = options.Options;
  if ((bits & ~(kShareOptions | kBindingOptions | kReconnectOptions | kOtherOptions)) != 0 ||
      HasSeveral(bits & kShareOptions) || HasSeveral(bits & kBindingOptions) || HasSeveral(bits & kReconnectOptions))
    return Failed(MQRC_OPTIONS_ERROR);
  return Done();
}

// A structure or text that is given by a pointer, or by an offset from the structure that names it.
const void* Located(const void* pointer, const void* base, MQLONG offset) {
  if (pointer != nullptr || offset == 0) return pointer;
  return static_cast<const char*>(base) + offset;
}

std::string_view LocatedText(const void* pointer, const void* base, MQLONG offset, MQLONG length) {
  const void* text = Located(pointer, base, offset);
  if (text == nullptr || length <= 0) return {};
  return {static_cast<const char*>(text), static_cast<std::size_t>(length)};
}

Outcome Authenticate(const MQCNO& options, const QueueManagerAttributes& attributes) {
  std::string_view user;
  std::string_view password;
  if (options.Version >= MQCNO_VERSION_5) {
    const auto* security =
        static_cast<const MQCSP*>(Located(options.SecurityParmsPtr, &options, options.SecurityParmsOffset));
    if (security != nullptr) {
      if (std::memcmp(security->StrucId, MQCSP_STRUC_ID, sizeof security->StrucId) != 0 ||
          security->Version < MQCSP_VERSION_1 || security->Version > MQCSP_CURRENT_VERSION)
        return Failed(MQRC_CSP_ERROR);
      if (security->AuthenticationType != MQCSP_AUTH_NONE && security->AuthenticationType != MQCSP_AUTH_USER_ID_AND_PWD)
        return Failed(MQRC_CSP_ERROR);
      if (security->AuthenticationType == MQCSP_AUTH_USER_ID_AND_PWD) {
        user = LocatedText(security->CSPUserIdPtr, security, security->CSPUserIdOffset, security->CSPUserIdLength);
        password =
            LocatedText(security->CSPPasswordPtr, security, security->CSPPasswordOffset, security->CSPPasswordLength);
      }
    }
  }
  if (attributes.User.empty()) return Done();
  return user == attributes.User && password == attributes.Password ? Done() : Failed(MQRC_NOT_AUTHORIZED);
}

std::string ApplicationName(const MQCNO* options) {
  std::string name;
  if (options != nullptr && options->Version >= MQCNO_VERSION_7)
    name = FieldText(options->ApplName, sizeof options->ApplName);
  if (name.empty()) name = std::filesystem::path(ProgramPath()).filename().string();
  return name.substr(0, sizeof(MQCHAR28));
}

}  // namespace

Outcome Connect(const MQCHAR* queueManager, MQCNO* options, MQHCONN* handle) {
  if (handle == nullptr) return Failed(MQRC_HCONN_ERROR);
  *handle = MQHC_UNUSABLE_HCONN;
  const std::string name = queueManager == nullptr ? std::string() : FieldText(queueManager, sizeof(MQCHAR48));
  auto connection = std::make_shared<Connection>();
  if (const MQLONG reason = Store::Open(name, connection->QueueManager); reason != MQRC_NONE) return Failed(reason);
  if (const MQLONG reason = connection->QueueManager->ReadQueueManager(connection->Attributes); reason != MQRC_NONE)
    return Failed(reason);
  if (options != nullptr) {
    if (const Outcome outcome = CheckConnectOptions(*options, connection->Attributes); !outcome.Ok()) return outcome;
    if ((options->Options & kShareOptions) != 0) connection->ShareOption = options->Options & kShareOptions;
  }
  const MQCNO plain;
  if (const Outcome outcome = Authenticate(options == nullptr ? plain : *options, connection->Attributes);
      !outcome.Ok())
    return outcome;

  if (connection->ShareOption == MQCNO_HANDLE_SHARE_NONE) {
    if (const auto own = FindOwnConnection(connection->QueueManager->Name())) {
      *handle = own->Handle;
      return Warning(MQRC_ALREADY_CONNECTED);
    }
  }
  connection->Owner = std::this_thread::get_id();
  connection->Application = ApplicationName(options);
  connection->User = UserName();
  std::random_device random;
  connection->NextMessageId = (std::uint64_t{random()} << 32) | random();
  if (const MQLONG reason = connection->Member.Register(*connection->QueueManager, connection->Application);
      reason != MQRC_NONE)
    return Failed(reason);
  if (options != nullptr && options->Version >= MQCNO_VERSION_5) {
    std::memset(options->ConnectionId, 0, sizeof options->ConnectionId);
    std::memcpy(options->ConnectionId, "AMQC", 4);
    const std::int64_t id = connection->Member.Id();
    std::memcpy(options->ConnectionId + sizeof options->ConnectionId - sizeof id, &id, sizeof id);
  }
  AddConnection(connection);
  *handle = connection->Handle;
  return Done();
}

Outcome Disconnect(Connection& connection) {
  Outcome outcome = Commit(connection);
  if (!outcome.Ok()) {
    BackOut(connection);
    outcome = Warning(MQRC_BACKED_OUT);
  }
  connection.Objects.clear();
  connection.Member.Leave(*connection.QueueManager);
  connection.Closed = true;
  RemoveConnection(connection.Handle);
  return outcome;
}

}  // namespace localmq
