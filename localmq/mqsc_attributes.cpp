#include "localmq/mqsc_attributes.h"

#include <algorithm>
#include <charconv>

namespace localmq {
namespace {

constexpr unsigned Bit(MQLONG type) { return 1U << static_cast<unsigned>(type); }
constexpr unsigned kLocal = Bit(MQQT_LOCAL) | Bit(MQQT_MODEL);
constexpr unsigned kAlias = Bit(MQQT_ALIAS);
constexpr unsigned kRemote = Bit(MQQT_REMOTE);
constexpr unsigned kAll = kLocal | kAlias | kRemote;

constexpr MqscChoice kPut[] = {{"ENABLED", MQQA_PUT_ALLOWED}, {"DISABLED", MQQA_PUT_INHIBITED}};
constexpr MqscChoice kGet[] = {{"ENABLED", MQQA_GET_ALLOWED}, {"DISABLED", MQQA_GET_INHIBITED}};
constexpr MqscChoice kPersistence[] = {{"NO", MQPER_NOT_PERSISTENT}, {"YES", MQPER_PERSISTENT}};
constexpr MqscChoice kShare[] = {{"SHARE", MQQA_SHAREABLE}, {"NOSHARE", MQQA_NOT_SHAREABLE}};
constexpr MqscChoice kOpen[] = {{"SHARED", MQOO_INPUT_SHARED}, {"EXCL", MQOO_INPUT_EXCLUSIVE}};
constexpr MqscChoice kDefinition[] = {
    {"TEMPDYN", MQQDT_TEMPORARY_DYNAMIC}, {"PERMDYN", MQQDT_PERMANENT_DYNAMIC}, {"PREDEFINED", MQQDT_PREDEFINED}};
constexpr MqscChoice kUsage[] = {{"NORMAL", 0}, {"XMITQ", 1}};
constexpr MqscChoice kYesNo[] = {{"NO", 0}, {"YES", 1}};
constexpr MqscChoice kPlatform[] = {{"UNIX", MQPL_UNIX}, {"WINDOWSNT", MQPL_WINDOWS_NT}, {"ZOS", MQPL_ZOS},
                                    {"MVS", MQPL_MVS},   {"OS400", MQPL_OS400},          {"APPLIANCE", MQPL_APPLIANCE}};

using Q = QueueAttributes;
using QUse = QueueAttribute::Use;
constexpr QueueAttribute kQueueAttributes[] = {
    {"DESCR", kAll, nullptr, &Q::Description, 0, 64, {}, QUse::kFreeText},
    {"PUT", kAll, &Q::InhibitPut, nullptr, 0, 0, kPut},
    {"GET", kLocal | kAlias, &Q::InhibitGet, nullptr, 0, 0, kGet},
    {"DEFPRTY", kAll, &Q::DefPriority, nullptr, 0, 9},
    {"DEFPSIST", kAll, &Q::DefPersistence, nullptr, 0, 0, kPersistence},
    {"MAXDEPTH", kLocal, &Q::MaxDepth, nullptr, 0, 999999999},
    {"MAXMSGL", kLocal, &Q::MaxMsgLength, nullptr, 0, 2147483647},
    {"BOTHRESH", kLocal, &Q::BackoutThreshold, nullptr, 0, 999999999},
    {"BOQNAME", kLocal, nullptr, &Q::BackoutRequeueName, 0, 48, {}, QUse::kObjectName},
    {"SHARE", kLocal, &Q::Shareability, nullptr, 0, 0, kShare},
    {"DEFSOPT", kLocal, &Q::DefInputOpenOption, nullptr, 0, 0, kOpen},
    {"DEFTYPE", kLocal, &Q::DefinitionType, nullptr, 0, 0, kDefinition},
    {"USAGE", kLocal, &Q::Usage, nullptr, 0, 0, kUsage},
    {"TARGET", kAlias, nullptr, &Q::BaseName, 0, 48, {}, QUse::kObjectName},
    {"RNAME", kRemote, nullptr, &Q::RemoteName, 0, 48, {}, QUse::kObjectName},
    {"RQMNAME", kRemote, nullptr, &Q::RemoteQMgrName, 0, 48, {}, QUse::kObjectName},
    {"XMITQ", kRemote, nullptr, &Q::XmitQName, 0, 48, {}, QUse::kObjectName},
};

using M = QueueManagerAttributes;
using MUse = QueueManagerAttribute::Use;
constexpr QueueManagerAttribute kQueueManagerAttributes[] = {
    {"QMNAME", 0, nullptr, &M::Name, 0, 48, {}, MUse::kShown},
    {"DESCR", 0, nullptr, &M::Description, 0, 64, {}, MUse::kFreeText},
    {"DEADQ", 0, nullptr, &M::DeadLetterQName, 0, 48, {}, MUse::kObjectName},
    {"DEFXMITQ", 0, nullptr, &M::DefXmitQName, 0, 48, {}, MUse::kObjectName},
    {"COMMANDQ", 0, nullptr, &M::CommandInputQName, 0, 48, {}, MUse::kObjectName},
    {"CCSID", 0, &M::CodedCharSetId, nullptr, 1, 65535},
    {"CMDLEVEL", 0, &M::CommandLevel, nullptr, 0, 9999},
    {"PLATFORM", 0, &M::Platform, nullptr, 0, 0, kPlatform},
    {"MAXMSGL", 0, &M::MaxMsgLength, nullptr, 32768, 2147483647},
    {"MAXUMSGS", 0, &M::MaxUncommittedMsgs, nullptr, 0, 999999999},
    {"MAXCNO", 0, &M::MaxConnectVersion, nullptr, 1, 8},
    {"ASYNCPUT", 0, &M::AsyncPut, nullptr, 0, 0, kYesNo},
    {"CMDSERV", 0, &M::CommandServer, nullptr, 0, 0, kYesNo},
    {"USER", 0, nullptr, &M::User, 0, 64, {}, MUse::kFreeText},
    {"PASSWORD", 0, nullptr, &M::Password, 0, 256, {}, MUse::kSecret},
};

struct TypeWord {
  std::string_view Word;
  MQLONG Type;
};
// The first word for a type is its name.
constexpr TypeWord kTypeWords[] = {{"QLOCAL", MQQT_LOCAL}, {"QL", MQQT_LOCAL},       {"QALIAS", MQQT_ALIAS},
                                   {"QA", MQQT_ALIAS},     {"QREMOTE", MQQT_REMOTE}, {"QR", MQQT_REMOTE},
                                   {"QMODEL", MQQT_MODEL}, {"QM", MQQT_MODEL},       {"QUEUE", MQQT_ALL},
                                   {"Q", MQQT_ALL}};

// What is wrong with the value, or an empty text.
template <typename Record>
std::string StoreValue(const MqscAttribute<Record>& attribute, const MqscWord& word, Record& record) {
  using Use = typename MqscAttribute<Record>::Use;
  const std::string name(attribute.Name);
  if (attribute.Meaning == Use::kShown) return name + " cannot be changed.";
  if (!attribute.Choices.empty()) {
    const auto choice = std::ranges::find(attribute.Choices, UpperCase(word.Value), &MqscChoice::Word);
    if (choice != attribute.Choices.end()) {
      record.*attribute.Number = choice->Value;
      return {};
    }
    std::string words;
    for (const MqscChoice& one : attribute.Choices) words += (words.empty() ? "" : ", ") + std::string(one.Word);
    return name + "(" + word.Value + ") is none of " + words + ".";
  }
  if (attribute.Number != nullptr) {
    MQLONG number = 0;
    const char* end = word.Value.data() + word.Value.size();
    const auto [stop, error] = std::from_chars(word.Value.data(), end, number);
    if (error != std::errc{} || stop != end || number < attribute.Low || number > attribute.High) {
      return name + "(" + word.Value + ") is not a number from " + std::to_string(attribute.Low) + " to " +
             std::to_string(attribute.High) + ".";
    }
    record.*attribute.Number = number;
    return {};
  }
  std::string text = word.Value;
  text.erase(text.find_last_not_of(' ') + 1);
  if (text.size() > static_cast<std::size_t>(attribute.High)) {
    return "The value of " + name + " is longer than " + std::to_string(attribute.High) + " characters.";
  }
  if (attribute.Meaning == Use::kObjectName && !text.empty() && !IsValidName(text)) {
    return name + "(" + text + ") is not a valid object name.";
  }
  record.*attribute.Text = std::move(text);
  return {};
}

template <typename Record>
std::string Show(const MqscAttribute<Record>& attribute, const Record& record) {
  if (attribute.Meaning == MqscAttribute<Record>::Use::kSecret) return {};
  if (attribute.Text != nullptr) return record.*attribute.Text;
  const MQLONG number = record.*attribute.Number;
  const auto choice = std::ranges::find(attribute.Choices, number, &MqscChoice::Value);
  return choice == attribute.Choices.end() ? std::to_string(number) : std::string(choice->Word);
}

std::string Unknown(const MqscWord& word, std::string_view object) {
  return std::string(object) + " has no attribute " + word.Keyword + ".";
}

}  // namespace

std::span<const QueueAttribute> MqscQueueAttributes() { return kQueueAttributes; }
std::span<const QueueManagerAttribute> MqscQueueManagerAttributes() { return kQueueManagerAttributes; }

std::string_view QueueTypeName(MQLONG type) {
  const auto* found = std::ranges::find(kTypeWords, type, &TypeWord::Type);
  return found == std::end(kTypeWords) ? "QUEUE" : found->Word;
}

std::optional<MQLONG> QueueTypeOf(std::string_view word) {
  const auto* found = std::ranges::find(kTypeWords, word, &TypeWord::Word);
  if (found == std::end(kTypeWords)) return std::nullopt;
  return found->Type;
}

std::string SetAttribute(const MqscWord& word, QueueAttributes& record) {
  const std::string_view name = word.Keyword == "TARGQ" ? "TARGET" : std::string_view(word.Keyword);
  if (!word.HasValue && (record.Type == MQQT_LOCAL || record.Type == MQQT_MODEL)) {
    const auto* share = std::ranges::find(kShare, name, &MqscChoice::Word);
    if (share != std::end(kShare)) {
      record.Shareability = share->Value;
      return {};
    }
  }
  for (const QueueAttribute& attribute : kQueueAttributes) {
    if (attribute.Name != name || (attribute.Types & Bit(record.Type)) == 0) continue;
    if (!word.HasValue || attribute.Name == "SHARE") break;
    // Only a model queue chooses a definition type: the one of the queues that are made from it.
    if (attribute.Number == &Q::DefinitionType && record.Type == MQQT_LOCAL) break;
    return StoreValue(attribute, word, record);
  }
  return Unknown(word, QueueTypeName(record.Type));
}

std::string SetAttribute(const MqscWord& word, QueueManagerAttributes& record) {
  for (const QueueManagerAttribute& attribute : kQueueManagerAttributes) {
    if (attribute.Name == word.Keyword && word.HasValue) return StoreValue(attribute, word, record);
  }
  return Unknown(word, "QMGR");
}

std::string ShowAttribute(const QueueAttribute& attribute, const QueueAttributes& record) {
  return Show(attribute, record);
}

std::string ShowAttribute(const QueueManagerAttribute& attribute, const QueueManagerAttributes& record) {
  return Show(attribute, record);
}

}  // namespace localmq
