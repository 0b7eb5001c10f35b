#include <algorithm>
#include <chrono>
#include <cstring>

#include "localmq/calls.h"
#include "localmq/convert.h"
#include "localmq/descriptor.h"
#include "localmq/unit_of_work.h"

namespace localmq {
namespace {

constexpr MQLONG kInput = MQOO_INPUT_SHARED | MQOO_INPUT_EXCLUSIVE;
constexpr MQLONG kBrowseMove = MQGMO_BROWSE_FIRST | MQGMO_BROWSE_NEXT | MQGMO_BROWSE_MSG_UNDER_CURSOR;
constexpr MQLONG kSyncpoint = MQGMO_SYNCPOINT | MQGMO_NO_SYNCPOINT | MQGMO_SYNCPOINT_IF_PERSISTENT;
constexpr MQLONG kProperties = MQGMO_PROPERTIES_FORCE_MQRFH2 | MQGMO_PROPERTIES_COMPATIBILITY;
constexpr MQLONG kKnown = kBrowseMove | kSyncpoint | kProperties | MQGMO_WAIT | MQGMO_MSG_UNDER_CURSOR |
                          MQGMO_ACCEPT_TRUNCATED_MSG | MQGMO_CONVERT | MQGMO_FAIL_IF_QUIESCING;
constexpr MQLONG kMatch =
    MQMO_MATCH_MSG_ID | MQMO_MATCH_CORREL_ID | MQMO_MATCH_GROUP_ID | MQMO_MATCH_MSG_SEQ_NUMBER | MQMO_MATCH_OFFSET;

// How long a waiting get sleeps between looks, and how often it looks for connections that died.
constexpr std::chrono::milliseconds kFirstSleep{1};
constexpr std::chrono::milliseconds kLongestSleep{10};
constexpr std::chrono::milliseconds kDeadCheck{500};

using Clock = std::chrono::steady_clock;

bool HasSeveral(MQLONG bits) { return (bits & (bits - 1)) != 0; }

template <std::size_t N>
bool IsZero(const MQBYTE (&bytes)[N]) {
  return std::all_of(std::begin(bytes), std::end(bytes), [](MQBYTE byte) { return byte == 0; });
}

std::optional<Identifier> IdentifierOf(const MQBYTE24& bytes, bool wanted) {
  if (!wanted || IsZero(bytes)) return std::nullopt;
  Identifier identifier;
  std::copy(std::begin(bytes), std::end(bytes), identifier.begin());
  return identifier;
}

Match MatchOf(const MQMD& descriptor, const MQGMO& options) {
  const MQLONG bits =
      options.Version >= MQGMO_VERSION_2 ? options.MatchOptions : MQMO_MATCH_MSG_ID | MQMO_MATCH_CORREL_ID;
  Match match;
  match.MsgId = IdentifierOf(descriptor.MsgId, (bits & MQMO_MATCH_MSG_ID) != 0);
  match.CorrelId = IdentifierOf(descriptor.CorrelId, (bits & MQMO_MATCH_CORREL_ID) != 0);
  if (descriptor.Version < MQMD_VERSION_2) return match;
  match.GroupId = IdentifierOf(descriptor.GroupId, (bits & MQMO_MATCH_GROUP_ID) != 0);
  if ((bits & MQMO_MATCH_MSG_SEQ_NUMBER) != 0) match.MsgSeqNumber = descriptor.MsgSeqNumber;
  if ((bits & MQMO_MATCH_OFFSET) != 0) match.Offset = descriptor.Offset;
  return match;
}

// Gets may be inhibited on the queue that was named or on the one behind an alias.
MQLONG CheckInhibited(Connection& connection, OpenObject& object) {
  const std::int64_t version = connection.Data().RecentDataVersion();
  if (version == object.GetAllowedVersion) return MQRC_NONE;
  Statement statement(connection.Data(), "SELECT max(inhibitget), count(*) FROM queue WHERE id IN (?, ?)");
  if (!statement.Bind(1, object.Named.Id).Bind(2, object.Target().Id).Step()) return statement.Reason();
  if (statement.Int64(1) < (object.Named.Id == object.Target().Id ? 1 : 2)) return MQRC_Q_DELETED;
  if (statement.Int64(0) == MQQA_GET_INHIBITED) return MQRC_GET_INHIBITED;
  object.GetAllowedVersion = version;
  return MQRC_NONE;
}

// The message that a get is about, null when there is none.
MQLONG Locate(Connection& connection, OpenObject& object, const MQMD& descriptor, const MQGMO& options, bool exact,
              const Message*& found) {
  Store& store = *connection.QueueManager;
  QueueReader& reader = *object.Reader;
  if ((options.Options & (MQGMO_MSG_UNDER_CURSOR | MQGMO_BROWSE_MSG_UNDER_CURSOR)) != 0) {
    if (object.Cursor == 0) return MQRC_NO_MSG_UNDER_CURSOR;
    const MQLONG reason = reader.At(store, object.Cursor, found);
    return reason == MQRC_NONE && found == nullptr ? MQRC_NO_MSG_UNDER_CURSOR : reason;
  }
  const bool next = (options.Options & MQGMO_BROWSE_NEXT) != 0 && object.Cursor != 0;
  const MQLONG reason =
      reader.Next(store, next ? object.Cursor : reader.BeforeFirst(), MatchOf(descriptor, options), exact, found);
  return reason == MQRC_NONE && found == nullptr ? MQRC_NO_MSG_AVAILABLE : reason;
}

// The expiry that is left, in tenths of a second; a message that is delivered has at least one.
MQLONG TimeLeft(std::int64_t expires) {
  return static_cast<MQLONG>(std::max<std::int64_t>(1, (expires - NowMilliseconds()) / 100));
}

void ReturnOptions(const OpenObject& object, MQLONG returnedLength, MQGMO* options) {
  SetField(options->ResolvedQName, sizeof options->ResolvedQName, object.Destinations.front().Name);
  if (options->Version >= MQGMO_VERSION_2) options->GroupStatus = options->SegmentStatus = options->Segmentation = ' ';
  if (options->Version >= MQGMO_VERSION_3) options->ReturnedLength = returnedLength;
}

// The form of data that a get asks for in its descriptor.
DataForm TargetOf(const Connection& connection, const MQMD& descriptor) {
  const MQLONG ccsid = descriptor.CodedCharSetId;
  return {descriptor.Encoding, ccsid == MQCCSI_Q_MGR ? connection.Attributes.CodedCharSetId : ccsid};
}

// Copies a message to the application, converted if that is asked for. How that went decides whether the message is
// taken: a failure leaves it where it is.
Outcome Deliver(const Connection& connection, const OpenObject& object, const Message& message,
                const GetRequest& request) {
  MQMD descriptor = message.Descriptor;
  std::span<const std::uint8_t> data = message.Data;
  std::vector<std::uint8_t> converted;
  Outcome outcome = Done();
  if ((request.Options->Options & MQGMO_CONVERT) != 0) {
    const MQLONG reason = ConvertMessage(TargetOf(connection, *request.Descriptor), descriptor, data, converted);
    if (reason != MQRC_NONE) {
      outcome = Warning(reason);
    } else if (!converted.empty()) {
      // What grows beyond the buffer that the message itself fits is given as it came.
      if (converted.size() > request.Buffer.size() && data.size() <= request.Buffer.size()) {
        descriptor = message.Descriptor;
        outcome = Warning(MQRC_CONVERTED_MSG_TOO_BIG);
      } else {
        data = converted;
      }
    }
  }
  *request.DataLength = static_cast<MQLONG>(data.size());
  const std::size_t copied = std::min(data.size(), request.Buffer.size());
  if (copied > 0) std::memcpy(request.Buffer.data(), data.data(), copied);
  descriptor.BackoutCount = message.Backouts;
  if (message.Expires != 0) descriptor.Expiry = TimeLeft(message.Expires);
  ReturnDescriptor(descriptor, request.Descriptor);
  ReturnOptions(object, static_cast<MQLONG>(copied), request.Options);
  if (copied == data.size()) return outcome;
  return (request.Options->Options & MQGMO_ACCEPT_TRUNCATED_MSG) != 0 ? Warning(MQRC_TRUNCATED_MSG_ACCEPTED)
                                                                      : Failed(MQRC_TRUNCATED_MSG_FAILED);
}

void SaveContext(OpenObject& object, const Message& message) {
  if ((object.Options & MQOO_SAVE_ALL_CONTEXT) == 0) return;
  object.Context.Present = true;
  object.Context.Descriptor = message.Descriptor;
}

Outcome Browse(Connection& connection, OpenObject& object, const GetRequest& request) {
  const Message* message = nullptr;
  const MQLONG reason = Locate(connection, object, *request.Descriptor, *request.Options, false, message);
  if (reason != MQRC_NONE) {
    // A browse that starts again leaves no message under the cursor when there is none.
    if (reason == MQRC_NO_MSG_AVAILABLE && (request.Options->Options & MQGMO_BROWSE_FIRST) != 0) object.Cursor = 0;
    return Failed(reason);
  }
  const Outcome outcome = Deliver(connection, object, *message, request);
  if (outcome.Ok()) object.Cursor = message->Key;
  return outcome;
}

bool UsesSyncpoint(const Message& message, const MQGMO& options) {
  return (options.Options & MQGMO_SYNCPOINT) != 0 ||
         ((options.Options & MQGMO_SYNCPOINT_IF_PERSISTENT) != 0 && message.Persistent);
}

Outcome Take(Connection& connection, OpenObject& object, const GetRequest& request) {
  // The first look is without the write lock: it costs nobody anything when there is no message, and tells how durable
  // the transaction must be.
  const Message* message = nullptr;
  MQLONG reason = Locate(connection, object, *request.Descriptor, *request.Options, false, message);
  if (reason != MQRC_NONE) return Failed(reason);
  const bool durable = message->Persistent && !UsesSyncpoint(*message, *request.Options);
  Transaction transaction(connection.Data(),
                          durable ? Transaction::Durability::kDisk : Transaction::Durability::kProcess);
  if (transaction.Reason() != MQRC_NONE) return Failed(transaction.Reason());
  reason = Locate(connection, object, *request.Descriptor, *request.Options, true, message);
  if (reason != MQRC_NONE) return Failed(reason);
  const Outcome outcome = Deliver(connection, object, *message, request);
  if (!outcome.Ok()) return outcome;

  const HeldMessage taken{message->Key, message->Persistent};
  const bool held = UsesSyncpoint(*message, *request.Options);
  reason = held ? HoldMessage(connection, *message) : RemoveMessage(connection.Data(), taken.Key);
  if (reason == MQRC_NONE) reason = transaction.Commit();
  if (reason != MQRC_NONE) return Failed(reason);
  if (held) connection.Unit.Gets.push_back(taken);
  SaveContext(object, *message);
  connection.DropFromReaders(taken.Key);
  return outcome;
}

// Returns when another connection has changed the database, or at `end`.
void SleepUntilChange(Database& data, std::int64_t version, Clock::time_point end) {
  std::chrono::milliseconds sleep = kFirstSleep;
  while (data.DataVersion() == version && Clock::now() < end) {
    std::this_thread::sleep_for(sleep);
    sleep = std::min(sleep * 2, kLongestSleep);
  }
}

}  // namespace

Outcome CheckGet(const OpenObject& object, const MQMD& descriptor, const MQGMO& options) {
  if (std::memcmp(descriptor.StrucId, MQMD_STRUC_ID, sizeof descriptor.StrucId) != 0 ||
      descriptor.Version < MQMD_VERSION_1 || descriptor.Version > MQMD_CURRENT_VERSION)
    return Failed(MQRC_MD_ERROR);
  if (std::memcmp(options.StrucId, MQGMO_STRUC_ID, sizeof options.StrucId) != 0 || options.Version < MQGMO_VERSION_1 ||
      options.Version > MQGMO_CURRENT_VERSION)
    return Failed(MQRC_GMO_ERROR);

  const MQLONG bits = options.Options;
  const bool browse = (bits & kBrowseMove) != 0;
  const bool underCursor = (bits & MQGMO_MSG_UNDER_CURSOR) != 0;
  if ((bits & ~kKnown) != 0 || HasSeveral(bits & kBrowseMove) || HasSeveral(bits & kSyncpoint) ||
      HasSeveral(bits & kProperties))
    return Failed(MQRC_OPTIONS_ERROR);
  if (browse && (underCursor || (bits & (MQGMO_SYNCPOINT | MQGMO_SYNCPOINT_IF_PERSISTENT)) != 0))
    return Failed(MQRC_OPTIONS_ERROR);
  if ((underCursor || (bits & MQGMO_BROWSE_MSG_UNDER_CURSOR) != 0) && (bits & MQGMO_WAIT) != 0)
    return Failed(MQRC_OPTIONS_ERROR);
  if (options.Version >= MQGMO_VERSION_2) {
    if ((options.MatchOptions & ~kMatch) != 0) return Failed(MQRC_MATCH_OPTIONS_ERROR);
    constexpr MQLONG second = MQMO_MATCH_GROUP_ID | MQMO_MATCH_MSG_SEQ_NUMBER | MQMO_MATCH_OFFSET;
    if ((options.MatchOptions & second) != 0 && descriptor.Version < MQMD_VERSION_2)
      return Failed(MQRC_WRONG_MD_VERSION);
  }
  if ((bits & MQGMO_WAIT) != 0 && options.WaitInterval < MQWI_UNLIMITED) return Failed(MQRC_WAIT_INTERVAL_ERROR);

  if ((browse || underCursor) && (object.Options & MQOO_BROWSE) == 0) return Failed(MQRC_NOT_OPEN_FOR_BROWSE);
  if (!browse && (object.Options & kInput) == 0) return Failed(MQRC_NOT_OPEN_FOR_INPUT);
  return Done();
}

Outcome TryGet(Connection& connection, OpenObject& object, const GetRequest& request) {
  if (const MQLONG reason = CheckInhibited(connection, object); reason != MQRC_NONE) return Failed(reason);
  return (request.Options->Options & kBrowseMove) != 0 ? Browse(connection, object, request)
                                                       : Take(connection, object, request);
}

Outcome Get(Connection& connection, MQHOBJ handle, const GetRequest& request) {
  OpenObject* object = connection.Find(handle);
  if (object == nullptr) return Failed(MQRC_HOBJ_ERROR);
  if (request.Descriptor == nullptr) return Failed(MQRC_MD_ERROR);
  if (request.Options == nullptr) return Failed(MQRC_GMO_ERROR);
  if (object->Kind != ObjectKind::kQueue) return Failed(MQRC_NOT_OPEN_FOR_INPUT);
  if (const Outcome outcome = CheckGet(*object, *request.Descriptor, *request.Options); !outcome.Ok()) return outcome;

  const bool wait = (request.Options->Options & MQGMO_WAIT) != 0;
  const bool forever = request.Options->WaitInterval == MQWI_UNLIMITED;
  const Clock::time_point end =
      forever ? Clock::time_point::max() : Clock::now() + std::chrono::milliseconds(request.Options->WaitInterval);
  Clock::time_point deadCheck = Clock::now();
  while (true) {
    const std::int64_t version = connection.Data().RecentDataVersion();
    const Outcome outcome = TryGet(connection, *object, request);
    if (outcome.Reason != MQRC_NO_MSG_AVAILABLE) return outcome;
    if (Clock::now() >= deadCheck) {
      // Messages that a dead connection held are back then, and one more look finds them.
      bool returned = false;
      if (const MQLONG reason = BackOutDeadConnections(*connection.QueueManager, &returned); reason != MQRC_NONE)
        return Failed(reason);
      deadCheck = Clock::now() + kDeadCheck;
      if (returned) continue;
    }
    if (!wait || Clock::now() >= end) return outcome;
    SleepUntilChange(connection.Data(), version, std::min(end, deadCheck));
  }
}

}  // namespace localmq
