#include "localmq/descriptor.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <ctime>

#include "localmq/schema.h"

namespace localmq {
namespace {

bool IsMessageType(MQLONG type) {
  return type == MQMT_REQUEST || type == MQMT_REPLY || type == MQMT_REPORT || type == MQMT_DATAGRAM ||
         type == MQMT_MQE_FIELDS || type == MQMT_MQE_FIELDS_FROM_MQE ||
         (type >= MQMT_APPL_FIRST && type <= MQMT_APPL_LAST);
}

// The report options that this queue manager knows; of those that it does not, some must be refused.
constexpr MQLONG kReportOptions = MQRO_EXCEPTION_WITH_FULL_DATA | MQRO_EXPIRATION_WITH_FULL_DATA |
                                  MQRO_COA_WITH_FULL_DATA | MQRO_COD_WITH_FULL_DATA | MQRO_PAN | MQRO_NAN |
                                  MQRO_ACTIVITY | MQRO_PASS_CORREL_ID | MQRO_PASS_MSG_ID | MQRO_DISCARD_MSG |
                                  MQRO_PASS_DISCARD_AND_EXPIRY;
constexpr MQLONG kMessageFlags =
    MQMF_LAST_MSG_IN_GROUP | MQMF_LAST_SEGMENT | MQMF_MSG_IN_GROUP | MQMF_SEGMENT | MQMF_SEGMENTATION_ALLOWED;

Outcome CheckSecondVersion(const MQMD& descriptor) {
  if ((descriptor.MsgFlags & MQMF_REJECT_UNSUP_MASK & ~kMessageFlags) != 0) return Failed(MQRC_MSG_FLAGS_ERROR);
  if (descriptor.MsgSeqNumber < 1 || descriptor.MsgSeqNumber > 999999999) return Failed(MQRC_MSG_SEQ_NUMBER_ERROR);
  if (descriptor.Offset < 0 || descriptor.Offset > 999999999) return Failed(MQRC_OFFSET_ERROR);
  if (descriptor.OriginalLength < MQOL_UNDEFINED) return Failed(MQRC_ORIGINAL_LENGTH_ERROR);
  return Done();
}

// Writes `count` decimal digits.
void PutDigits(MQCHAR* field, int count, std::int64_t value) {
  for (int i = count - 1; i >= 0; --i, value /= 10) field[i] = static_cast<MQCHAR>('0' + value % 10);
}

// The date as YYYYMMDD and the time as HHMMSSTH, in GMT.
void SetPutTime(MQMD& descriptor) {
  using namespace std::chrono;
  const auto now = system_clock::now();
  const auto day = floor<days>(now);
  const year_month_day date(day);
  const hh_mm_ss time(floor<milliseconds>(now - day));
  PutDigits(descriptor.PutDate, 4, int{date.year()});
  PutDigits(descriptor.PutDate + 4, 2, std::int64_t{unsigned{date.month()}});
  PutDigits(descriptor.PutDate + 6, 2, std::int64_t{unsigned{date.day()}});
  PutDigits(descriptor.PutTime, 2, time.hours().count());
  PutDigits(descriptor.PutTime + 2, 2, time.minutes().count());
  PutDigits(descriptor.PutTime + 4, 2, time.seconds().count());
  PutDigits(descriptor.PutTime + 6, 2, time.subseconds().count() / 10);
}

template <std::size_t N>
void SetBlank(MQCHAR (&field)[N]) {
  std::memset(field, ' ', N);
}

void CopyIdentity(const MQMD& from, MQMD& to) {
  std::memcpy(to.UserIdentifier, from.UserIdentifier, sizeof to.UserIdentifier);
  std::memcpy(to.AccountingToken, from.AccountingToken, sizeof to.AccountingToken);
  std::memcpy(to.ApplIdentityData, from.ApplIdentityData, sizeof to.ApplIdentityData);
}

void CopyOrigin(const MQMD& from, MQMD& to) {
  to.PutApplType = from.PutApplType;
  std::memcpy(to.PutApplName, from.PutApplName, sizeof to.PutApplName);
  std::memcpy(to.PutDate, from.PutDate, sizeof to.PutDate);
  std::memcpy(to.PutTime, from.PutTime, sizeof to.PutTime);
  std::memcpy(to.ApplOriginData, from.ApplOriginData, sizeof to.ApplOriginData);
}

void SetDefaultIdentity(const Connection& connection, MQMD& descriptor) {
  SetField(descriptor.UserIdentifier, sizeof descriptor.UserIdentifier, connection.User);
  // The token is the length of the accounting information, the information, and its type in the last byte: here a user
  // name in characters.
  constexpr MQBYTE kUserToken = 6;
  std::memset(descriptor.AccountingToken, 0, sizeof descriptor.AccountingToken);
  const std::size_t length = std::min<std::size_t>(connection.User.size(), sizeof descriptor.AccountingToken - 2);
  descriptor.AccountingToken[0] = static_cast<MQBYTE>(length);
  std::memcpy(descriptor.AccountingToken + 1, connection.User.data(), length);
  descriptor.AccountingToken[sizeof descriptor.AccountingToken - 1] = kUserToken;
  SetBlank(descriptor.ApplIdentityData);
}

void SetDefaultOrigin(const Connection& connection, MQMD& descriptor) {
  descriptor.PutApplType = MQAT_DEFAULT;
  SetField(descriptor.PutApplName, sizeof descriptor.PutApplName, connection.Application);
  SetPutTime(descriptor);
  SetBlank(descriptor.ApplOriginData);
}

void ClearContext(MQMD& descriptor) {
  SetBlank(descriptor.UserIdentifier);
  std::memset(descriptor.AccountingToken, 0, sizeof descriptor.AccountingToken);
  SetBlank(descriptor.ApplIdentityData);
  descriptor.PutApplType = MQAT_NO_CONTEXT;
  SetBlank(descriptor.PutApplName);
  SetBlank(descriptor.PutDate);
  SetBlank(descriptor.PutTime);
  SetBlank(descriptor.ApplOriginData);
}

void SetContext(const Connection& connection, const MQMD& given, MQLONG options, const MQMD* passed, MQMD& descriptor) {
  if ((options & MQPMO_NO_CONTEXT) != 0) return ClearContext(descriptor);
  if ((options & MQPMO_SET_ALL_CONTEXT) != 0) return;
  SetDefaultOrigin(connection, descriptor);
  if ((options & MQPMO_SET_IDENTITY_CONTEXT) != 0) return CopyIdentity(given, descriptor);
  if (passed == nullptr) return SetDefaultIdentity(connection, descriptor);
  CopyIdentity(*passed, descriptor);
  if ((options & MQPMO_PASS_ALL_CONTEXT) != 0) CopyOrigin(*passed, descriptor);
}

bool IsZero(const MQBYTE24& bytes) {
  return std::all_of(std::begin(bytes), std::end(bytes), [](MQBYTE byte) { return byte == 0; });
}

// What a message that is no part of a group, or no segment, has in the fields for those.
void SetGroupFields(Connection& connection, MQMD& descriptor) {
  constexpr MQLONG group = MQMF_MSG_IN_GROUP | MQMF_LAST_MSG_IN_GROUP;
  constexpr MQLONG segment = MQMF_SEGMENT | MQMF_LAST_SEGMENT;
  if ((descriptor.MsgFlags & MQMF_LAST_MSG_IN_GROUP) != 0) descriptor.MsgFlags |= MQMF_MSG_IN_GROUP;
  if ((descriptor.MsgFlags & MQMF_LAST_SEGMENT) != 0) descriptor.MsgFlags |= MQMF_SEGMENT;
  if ((descriptor.MsgFlags & (group | segment | MQMF_SEGMENTATION_ALLOWED)) == 0) {
    std::memset(descriptor.GroupId, 0, sizeof descriptor.GroupId);
  } else if (IsZero(descriptor.GroupId)) {
    MakeIdentifier(connection, descriptor.GroupId);
  }
  if ((descriptor.MsgFlags & group) == 0) descriptor.MsgSeqNumber = 1;
  if ((descriptor.MsgFlags & segment) == 0) {
    descriptor.Offset = 0;
    descriptor.OriginalLength = MQOL_UNDEFINED;
  }
}

}  // namespace

Outcome CheckPutDescriptor(const MQMD* descriptor) {
  if (descriptor == nullptr || std::memcmp(descriptor->StrucId, MQMD_STRUC_ID, sizeof descriptor->StrucId) != 0 ||
      descriptor->Version < MQMD_VERSION_1 || descriptor->Version > MQMD_CURRENT_VERSION)
    return Failed(MQRC_MD_ERROR);
  if (descriptor->Expiry != MQEI_UNLIMITED && descriptor->Expiry <= 0) return Failed(MQRC_EXPIRY_ERROR);
  if ((descriptor->Report & MQRO_REJECT_UNSUP_MASK & ~kReportOptions) != 0) return Failed(MQRC_REPORT_OPTIONS_ERROR);
  if (!IsMessageType(descriptor->MsgType)) return Failed(MQRC_MSG_TYPE_ERROR);
  if (descriptor->MsgType == MQMT_REQUEST && FieldText(descriptor->ReplyToQ, sizeof descriptor->ReplyToQ).empty())
    return Failed(MQRC_MISSING_REPLY_TO_Q);
  if (descriptor->Feedback < 0) return Failed(MQRC_FEEDBACK_ERROR);
  if (descriptor->Priority < MQPRI_PRIORITY_AS_Q_DEF) return Failed(MQRC_PRIORITY_ERROR);
  if (descriptor->Persistence < MQPER_NOT_PERSISTENT || descriptor->Persistence > MQPER_PERSISTENCE_AS_Q_DEF)
    return Failed(MQRC_PERSISTENCE_ERROR);
  if (descriptor->Version >= MQMD_VERSION_2) {
    if (const Outcome outcome = CheckSecondVersion(*descriptor); !outcome.Ok()) return outcome;
  }
  return descriptor->Priority > kMaxPriority ? Warning(MQRC_PRIORITY_EXCEEDS_MAXIMUM) : Done();
}

void MakeIdentifier(Connection& connection, MQBYTE24& identifier) {
  constexpr std::size_t prefix = 4;
  constexpr std::size_t name = 12;
  std::memcpy(identifier, "AMQ ", prefix);
  char queueManager[name];
  SetField(queueManager, name, connection.QueueManager->Name());
  std::memcpy(identifier + prefix, queueManager, name);
  const std::uint64_t number = ++connection.NextMessageId;
  for (std::size_t i = 0; i < sizeof number; ++i)
    identifier[sizeof identifier - 1 - i] = static_cast<MQBYTE>(number >> (8 * i));
}

MQMD CompleteDescriptor(Connection& connection, const MQMD& given, MQLONG options, const MQMD* passed) {
  MQMD descriptor = CopyDescriptor(given);
  descriptor.Version = MQMD_VERSION_2;
  descriptor.BackoutCount = 0;
  descriptor.Priority = std::min(descriptor.Priority, kMaxPriority);
  if (descriptor.CodedCharSetId == MQCCSI_Q_MGR) descriptor.CodedCharSetId = connection.Attributes.CodedCharSetId;
  if ((options & MQPMO_NEW_MSG_ID) != 0 || IsZero(descriptor.MsgId)) MakeIdentifier(connection, descriptor.MsgId);
  if ((options & MQPMO_NEW_CORREL_ID) != 0) MakeIdentifier(connection, descriptor.CorrelId);
  const bool hasReplyQueue = !FieldText(descriptor.ReplyToQ, sizeof descriptor.ReplyToQ).empty();
  if (hasReplyQueue && FieldText(descriptor.ReplyToQMgr, sizeof descriptor.ReplyToQMgr).empty())
    SetField(descriptor.ReplyToQMgr, sizeof descriptor.ReplyToQMgr, connection.QueueManager->Name());
  SetContext(connection, given, options, passed, descriptor);
  SetGroupFields(connection, descriptor);
  return descriptor;
}

MQMD CopyDescriptor(const MQMD& given) {
  MQMD descriptor;
  std::memcpy(static_cast<void*>(&descriptor), &given,
              given.Version == MQMD_VERSION_1 ? std::size_t{MQMD_LENGTH_1} : sizeof descriptor);
  return descriptor;
}

void ReturnDescriptor(const MQMD& descriptor, MQMD* application) {
  MQMD copy = descriptor;
  copy.Version = application->Version;
  std::memcpy(static_cast<void*>(application), &copy,
              copy.Version == MQMD_VERSION_1 ? std::size_t{MQMD_LENGTH_1} : sizeof copy);
}

void AddTransmissionHeader(const Destination& destination, MQLONG ccsid, std::span<const std::uint8_t> data,
                           PendingPut& put) {
  MQXQH header;
  SetField(header.RemoteQName, sizeof header.RemoteQName, destination.Name);
  SetField(header.RemoteQMgrName, sizeof header.RemoteQMgrName, destination.QueueManagerName);
  std::memcpy(static_cast<void*>(&header.MsgDesc), &put.Descriptor, sizeof header.MsgDesc);
  header.MsgDesc.Version = MQMD_VERSION_1;
  put.Data.resize(sizeof header + data.size());
  std::memcpy(put.Data.data(), &header, sizeof header);
  if (!data.empty()) std::memcpy(put.Data.data() + sizeof header, data.data(), data.size());
  SetField(put.Descriptor.Format, sizeof put.Descriptor.Format, MQFMT_XMIT_Q_HEADER);
  put.Descriptor.Encoding = MQENC_NATIVE;
  put.Descriptor.CodedCharSetId = ccsid;
}

}  // namespace localmq
