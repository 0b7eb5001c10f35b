// A library with the MQ programming interface behind which there is no queue manager: any input queue serves
// NULLMQ_MESSAGES messages of NULLMQ_SIZE bytes each from memory (1,000,000 of 1,024 unless set), and what is put is
// dropped. It shows what a program itself costs, so a message costs no more here than filling its descriptor and one
// copy.
//
// Every handle opened for input or browsing serves the messages from the first on; message n has n in its MsgId and a
// text of letters. Units of work and options are taken as given and mean nothing. One thread a handle.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "mq/mqi_calls.h"

#ifdef _WIN32
#define NULLMQ_ENTRY extern "C" __declspec(dllexport) void
#else
#define NULLMQ_ENTRY extern "C" __attribute__((visibility("default"))) void
#endif

namespace {

constexpr MQHCONN kFirstConnection = 1;
constexpr std::size_t kHandles = 4096;  // used in turn

std::int64_t NumberFrom(const char* variable, std::int64_t fallback, std::int64_t highest) {
  const char* text = std::getenv(variable);
  if (text == nullptr || *text == '\0') return fallback;
  return std::clamp<std::int64_t>(std::strtoll(text, nullptr, 10), 0, highest);
}

struct Supply {
  std::int64_t Messages = NumberFrom("NULLMQ_MESSAGES", 1000000, INT64_MAX);
  MQLONG Length = static_cast<MQLONG>(NumberFrom("NULLMQ_SIZE", 1024, 104857600));
  std::vector<char> Data;
  MQMD Descriptor;

  Supply() : Data(static_cast<std::size_t>(Length)) {
    for (std::size_t i = 0; i < Data.size(); ++i) Data[i] = static_cast<char>('A' + i % 26);
    Descriptor.CodedCharSetId = 1208;
    Descriptor.Priority = 0;
    Descriptor.Persistence = MQPER_PERSISTENT;
    Descriptor.PutApplType = MQAT_DEFAULT;
    std::memcpy(Descriptor.Format, MQFMT_STRING, sizeof Descriptor.Format);
    std::memcpy(Descriptor.PutDate, "20240229", sizeof Descriptor.PutDate);
    std::memcpy(Descriptor.PutTime, "12345678", sizeof Descriptor.PutTime);
    for (auto* field : {Descriptor.ReplyToQ, Descriptor.ReplyToQMgr}) std::memset(field, ' ', sizeof(MQCHAR48));
    std::memset(Descriptor.UserIdentifier, ' ', sizeof Descriptor.UserIdentifier);
    std::memset(Descriptor.ApplIdentityData, ' ', sizeof Descriptor.ApplIdentityData);
    std::memset(Descriptor.PutApplName, ' ', sizeof Descriptor.PutApplName);
    std::memset(Descriptor.ApplOriginData, ' ', sizeof Descriptor.ApplOriginData);
  }
};

const Supply g_supply;
// How many messages each handle has served.
std::array<std::int64_t, kHandles> g_served;
std::atomic<unsigned> g_opened{0};

void Finish(MQLONG* compCode, MQLONG* reason, MQLONG code = MQCC_OK, MQLONG why = MQRC_NONE) {
  *compCode = code;
  *reason = why;
}

void FillDescriptor(MQMD* md, std::int64_t number) {
  const MQLONG version = md->Version;
  const std::size_t length = version >= MQMD_VERSION_2 ? MQMD_LENGTH_2 : MQMD_LENGTH_1;
  std::memcpy(static_cast<void*>(md), &g_supply.Descriptor, length);
  md->Version = version;
  std::memcpy(md->MsgId, &number, sizeof number);
}

}  // namespace

NULLMQ_ENTRY MQCONN(const MQCHAR*, MQHCONN* hconn, MQLONG* compCode, MQLONG* reason) {
  *hconn = kFirstConnection;
  Finish(compCode, reason);
}

NULLMQ_ENTRY MQCONNX(const MQCHAR*, MQCNO*, MQHCONN* hconn, MQLONG* compCode, MQLONG* reason) {
  *hconn = kFirstConnection;
  Finish(compCode, reason);
}

NULLMQ_ENTRY MQDISC(MQHCONN* hconn, MQLONG* compCode, MQLONG* reason) {
  *hconn = MQHC_UNUSABLE_HCONN;
  Finish(compCode, reason);
}

NULLMQ_ENTRY MQOPEN(MQHCONN, MQOD*, MQLONG, MQHOBJ* hobj, MQLONG* compCode, MQLONG* reason) {
  *hobj = static_cast<MQHOBJ>(++g_opened % kHandles);
  g_served[static_cast<std::size_t>(*hobj)] = 0;
  Finish(compCode, reason);
}

NULLMQ_ENTRY MQCLOSE(MQHCONN, MQHOBJ* hobj, MQLONG, MQLONG* compCode, MQLONG* reason) {
  *hobj = MQHO_UNUSABLE_HOBJ;
  Finish(compCode, reason);
}

NULLMQ_ENTRY MQINQ(MQHCONN, MQHOBJ, MQLONG selectorCount, const MQLONG* selectors, MQLONG intCount, MQLONG* ints,
                   MQLONG charLength, MQCHAR* chars, MQLONG* compCode, MQLONG* reason) {
  struct Answer {
    MQLONG Selector;
    MQLONG Value;
  };
  const Answer answers[] = {
      {MQIA_COMMAND_LEVEL, 940},
      {MQIA_PLATFORM, MQPL_NATIVE},
      {MQIA_CODED_CHAR_SET_ID, 1208},
      {MQIA_MAX_MSG_LENGTH, 104857600},
      {MQIA_MAX_Q_DEPTH, 999999999},
      {MQIA_Q_TYPE, MQQT_LOCAL},
      {MQIA_MAX_UNCOMMITTED_MSGS, 999999999},
      {MQIA_SYNCPOINT, 1},
      {MQIA_DIST_LISTS, 1},
      {MQIA_MAX_PRIORITY, 9},
      {MQIA_DEFINITION_TYPE, MQQDT_PREDEFINED},
      {MQIA_CURRENT_Q_DEPTH, static_cast<MQLONG>(std::min<std::int64_t>(g_supply.Messages, 999999999))},
  };
  MQLONG filled = 0;
  for (MQLONG i = 0; i < selectorCount && filled < intCount; ++i) {
    if (selectors[i] > MQIA_LAST) continue;
    const auto* answer = std::ranges::find(answers, selectors[i], &Answer::Selector);
    ints[filled++] = answer == std::end(answers) ? 0 : answer->Value;
  }
  if (charLength > 0) std::memset(chars, ' ', static_cast<std::size_t>(charLength));
  Finish(compCode, reason);
}

NULLMQ_ENTRY MQSET(MQHCONN, MQHOBJ, MQLONG, const MQLONG*, MQLONG, const MQLONG*, MQLONG, const MQCHAR*,
                   MQLONG* compCode, MQLONG* reason) {
  Finish(compCode, reason);
}

NULLMQ_ENTRY MQGET(MQHCONN, MQHOBJ hobj, MQMD* md, MQGMO* gmo, MQLONG bufferLength, void* buffer, MQLONG* dataLength,
                   MQLONG* compCode, MQLONG* reason) {
  constexpr MQLONG kUnderCursor = MQGMO_MSG_UNDER_CURSOR | MQGMO_BROWSE_MSG_UNDER_CURSOR;
  if (hobj < 0 || static_cast<std::size_t>(hobj) >= kHandles)
    return Finish(compCode, reason, MQCC_FAILED, MQRC_HOBJ_ERROR);
  std::int64_t& served = g_served[static_cast<std::size_t>(hobj)];
  if ((gmo->Options & MQGMO_BROWSE_FIRST) != 0) served = 0;
  const bool again = (gmo->Options & kUnderCursor) != 0;
  if (again && served == 0) return Finish(compCode, reason, MQCC_FAILED, MQRC_NO_MSG_UNDER_CURSOR);
  if (!again && served == g_supply.Messages) return Finish(compCode, reason, MQCC_FAILED, MQRC_NO_MSG_AVAILABLE);

  *dataLength = g_supply.Length;
  const bool truncated = bufferLength < g_supply.Length;
  const bool accepted = !truncated || (gmo->Options & MQGMO_ACCEPT_TRUNCATED_MSG) != 0;
  const MQLONG copied = std::min(bufferLength, g_supply.Length);
  if (accepted && !again) ++served;
  FillDescriptor(md, served);
  if (copied > 0) std::memcpy(buffer, g_supply.Data.data(), static_cast<std::size_t>(copied));
  if (gmo->Version >= MQGMO_VERSION_3) gmo->ReturnedLength = copied;
  if (!truncated) return Finish(compCode, reason);
  Finish(compCode, reason, MQCC_WARNING, accepted ? MQRC_TRUNCATED_MSG_ACCEPTED : MQRC_TRUNCATED_MSG_FAILED);
}

NULLMQ_ENTRY MQPUT(MQHCONN, MQHOBJ, MQMD*, MQPMO*, MQLONG, const void*, MQLONG* compCode, MQLONG* reason) {
  Finish(compCode, reason);
}

NULLMQ_ENTRY MQPUT1(MQHCONN, MQOD*, MQMD*, MQPMO*, MQLONG, const void*, MQLONG* compCode, MQLONG* reason) {
  Finish(compCode, reason);
}

NULLMQ_ENTRY MQCMIT(MQHCONN, MQLONG* compCode, MQLONG* reason) { Finish(compCode, reason); }

NULLMQ_ENTRY MQBACK(MQHCONN, MQLONG* compCode, MQLONG* reason) { Finish(compCode, reason); }

NULLMQ_ENTRY MQSTAT(MQHCONN, MQLONG, MQSTS* status, MQLONG* compCode, MQLONG* reason) {
  status->CompCode = status->Reason = 0;
  status->PutSuccessCount = status->PutWarningCount = status->PutFailureCount = 0;
  Finish(compCode, reason);
}
