#include "localmq/command_server.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include "common/member.h"

namespace localmq {
namespace {

using Reply = std::vector<std::uint8_t>;

constexpr std::size_t kQueueNameLength = sizeof(MQCHAR48);

constexpr unsigned Bit(MQLONG type) { return 1U << static_cast<unsigned>(type); }
constexpr unsigned kLocal = Bit(MQQT_LOCAL);
constexpr unsigned kStored = kLocal | Bit(MQQT_MODEL);
constexpr unsigned kAlias = Bit(MQQT_ALIAS);
constexpr unsigned kRemote = Bit(MQQT_REMOTE);
constexpr unsigned kAnyQueue = kStored | kAlias | kRemote;

// What one queue is asked for: exactly one of the members is set.
struct Attribute {
  MQLONG Selector;
  unsigned Types;  // the queue types that have it
  Member<QueueAttributes, MQLONG> Number{nullptr};
  Member<QueueAttributes, std::string> Text{nullptr};
  std::size_t Length{0};  // of a text, which is padded with blanks
  Member<QueueStatus, MQLONG> Figure{nullptr};
};

using A = QueueAttributes;
constexpr Attribute kQueueAttributes[] = {
    {MQCA_Q_NAME, kAnyQueue, nullptr, &A::Name, 48},
    {MQIA_Q_TYPE, kAnyQueue, &A::Type},
    {MQCA_Q_DESC, kAnyQueue, nullptr, &A::Description, 64},
    {MQIA_INHIBIT_PUT, kAnyQueue, &A::InhibitPut},
    {MQIA_INHIBIT_GET, kStored | kAlias, &A::InhibitGet},
    {MQIA_DEF_PRIORITY, kAnyQueue, &A::DefPriority},
    {MQIA_DEF_PERSISTENCE, kAnyQueue, &A::DefPersistence},
    {MQIA_CURRENT_Q_DEPTH, kLocal, nullptr, nullptr, 0, &QueueStatus::Depth},
    {MQIA_OPEN_INPUT_COUNT, kLocal, nullptr, nullptr, 0, &QueueStatus::OpenInputCount},
    {MQIA_OPEN_OUTPUT_COUNT, kLocal, nullptr, nullptr, 0, &QueueStatus::OpenOutputCount},
    {MQIA_MAX_Q_DEPTH, kStored, &A::MaxDepth},
    {MQIA_MAX_MSG_LENGTH, kStored, &A::MaxMsgLength},
    {MQIA_BACKOUT_THRESHOLD, kStored, &A::BackoutThreshold},
    {MQCA_BACKOUT_REQ_Q_NAME, kStored, nullptr, &A::BackoutRequeueName, 48},
    {MQIA_SHAREABILITY, kStored, &A::Shareability},
    {MQIA_DEFINITION_TYPE, kStored, &A::DefinitionType},
    {MQIA_USAGE, kStored, &A::Usage},
    {MQCA_BASE_Q_NAME, kAlias, nullptr, &A::BaseName, 48},
    {MQCA_REMOTE_Q_NAME, kRemote, nullptr, &A::RemoteName, 48},
    {MQCA_REMOTE_Q_MGR_NAME, kRemote, nullptr, &A::RemoteQMgrName, 48},
    {MQCA_XMIT_Q_NAME, kRemote, nullptr, &A::XmitQName, 48},
};
constexpr Attribute kStatusAttributes[] = {
    {MQCA_Q_NAME, kLocal, nullptr, &A::Name, 48},
    {MQIA_CURRENT_Q_DEPTH, kLocal, nullptr, nullptr, 0, &QueueStatus::Depth},
    {MQIA_OPEN_INPUT_COUNT, kLocal, nullptr, nullptr, 0, &QueueStatus::OpenInputCount},
    {MQIA_OPEN_OUTPUT_COUNT, kLocal, nullptr, nullptr, 0, &QueueStatus::OpenOutputCount},
    {MQIACF_CUR_Q_FILE_SIZE, kLocal, nullptr, nullptr, 0, &QueueStatus::CurrentFileSize},
    {MQIACF_CUR_MAX_FILE_SIZE, kLocal, nullptr, nullptr, 0, &QueueStatus::CurrentMaxFileSize},
};

// A parameter of a request, as far as the two commands use them.
struct Parameter {
  MQLONG Type;
  MQLONG Id;
  MQLONG Number{0};               // MQCFT_INTEGER
  std::vector<MQLONG> Numbers{};  // MQCFT_INTEGER_LIST
  std::string Text{};             // MQCFT_STRING, without trailing blanks
};

struct Request {
  MQLONG Type{MQCFT_COMMAND};
  MQLONG Command{0};
  std::vector<Parameter> Parameters;

  const Parameter* Find(MQLONG type, MQLONG id) const {
    const auto found = std::ranges::find_if(
        Parameters, [&](const Parameter& parameter) { return parameter.Type == type && parameter.Id == id; });
    return found == Parameters.end() ? nullptr : &*found;
  }
};

// Reads a request piece by piece; a piece that is not there whole reads as nothing.
class RequestReader {
 public:
  RequestReader(std::span<const std::uint8_t> data, MQLONG encoding)
      : data_(data), reversed_((encoding & MQENC_INTEGER_MASK) == MQENC_INTEGER_REVERSED) {}

  // Reads the header and all parameters. Returns MQRC_NONE or the reason that the format has for what is wrong.
  MQLONG Read(Request& request) {
    if (data_.size() < sizeof(MQCFH)) return MQRCCF_MSG_LENGTH_ERROR;
    request.Type = Integer(offsetof(MQCFH, Type));
    request.Command = Integer(offsetof(MQCFH, Command));
    const MQLONG version = Integer(offsetof(MQCFH, Version));
    if (request.Type != MQCFT_COMMAND && request.Type != MQCFT_COMMAND_XR) return MQRCCF_CFH_TYPE_ERROR;
    if (Integer(offsetof(MQCFH, StrucLength)) != MQCFH_STRUC_LENGTH) return MQRCCF_CFH_LENGTH_ERROR;
    if (version < MQCFH_VERSION_1 || version > MQCFH_VERSION_3) return MQRCCF_CFH_VERSION_ERROR;
    if (Integer(offsetof(MQCFH, MsgSeqNumber)) != 1) return MQRCCF_CFH_MSG_SEQ_NUMBER_ERR;
    if (Integer(offsetof(MQCFH, Control)) != MQCFC_LAST) return MQRCCF_CFH_CONTROL_ERROR;
    const MQLONG count = Integer(offsetof(MQCFH, ParameterCount));
    if (count < 0) return MQRCCF_CFH_PARM_COUNT_ERROR;
    std::size_t at = sizeof(MQCFH);
    for (MQLONG i = 0; i < count; ++i) {
      if (at == data_.size()) return MQRCCF_PARM_COUNT_TOO_BIG;
      if (const MQLONG reason = ReadParameter(at, request); reason != MQRC_NONE) return reason;
    }
    return at == data_.size() ? MQRC_NONE : MQRCCF_PARM_COUNT_TOO_SMALL;
  }

 private:
  static constexpr std::size_t kParameterHeader = 12;  // Type, StrucLength, Parameter

  MQLONG Integer(std::size_t offset) const {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value = value << 8 | data_[offset + (reversed_ ? 3 - i : i)];
    return static_cast<MQLONG>(value);
  }

  // Reads the parameter at `at` and moves behind it.
  MQLONG ReadParameter(std::size_t& at, Request& request) const {
    const std::size_t rest = data_.size() - at;
    if (rest < kParameterHeader) return MQRCCF_MSG_LENGTH_ERROR;
    Parameter parameter{Integer(at), Integer(at + 8)};
    const MQLONG length = Integer(at + 4);
    const auto bytes = static_cast<std::size_t>(std::max(length, MQLONG{0}));
    const bool fits = length >= 0 && bytes <= rest;
    switch (parameter.Type) {
      case MQCFT_INTEGER:
        if (!fits || length != MQCFIN_STRUC_LENGTH) return MQRCCF_CFIN_LENGTH_ERROR;
        parameter.Number = Integer(at + offsetof(MQCFIN, Value));
        break;
      case MQCFT_INTEGER_LIST: {
        if (!fits || length < MQCFIL_STRUC_LENGTH_FIXED) return MQRCCF_CFIL_LENGTH_ERROR;
        const MQLONG count = Integer(at + offsetof(MQCFIL, Count));
        if (count < 0) return MQRCCF_CFIL_COUNT_ERROR;
        if (std::int64_t{count} * 4 != std::int64_t{length} - MQCFIL_STRUC_LENGTH_FIXED)
          return MQRCCF_CFIL_LENGTH_ERROR;
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
          parameter.Numbers.push_back(Integer(at + offsetof(MQCFIL, Values) + 4 * i));
        }
        break;
      }
      case MQCFT_STRING: {
        if (!fits || length < MQCFST_STRUC_LENGTH_FIXED) return MQRCCF_CFST_LENGTH_ERROR;
        const MQLONG characters = Integer(at + offsetof(MQCFST, StringLength));
        if (characters < 0 || characters > length - MQCFST_STRUC_LENGTH_FIXED) return MQRCCF_CFST_STRING_LENGTH_ERR;
        const auto* text = reinterpret_cast<const char*>(data_.data()) + at + MQCFST_STRUC_LENGTH_FIXED;
        parameter.Text.assign(text, static_cast<std::size_t>(characters));
        parameter.Text.resize(std::min(parameter.Text.find('\0'), parameter.Text.size()));
        parameter.Text.erase(parameter.Text.find_last_not_of(' ') + 1);
        break;
      }
      default:
        return MQRCCF_STRUCTURE_TYPE_ERROR;
    }
    at += bytes;
    request.Parameters.push_back(std::move(parameter));
    return MQRC_NONE;
  }

  std::span<const std::uint8_t> data_;
  bool reversed_;
};

// Builds one reply.
class ReplyWriter {
 public:
  void Add(MQLONG id, MQLONG value) {
    MQCFIN parameter;
    parameter.Parameter = id;
    parameter.Value = value;
    Append(&parameter, sizeof parameter);
    ++count_;
  }

  // Adds a text, padded with blanks to `length` characters, a multiple of 4.
  void Add(MQLONG id, std::string text, std::size_t length) {
    text.resize(length, ' ');
    MQCFST parameter;
    parameter.Parameter = id;
    parameter.StringLength = static_cast<MQLONG>(length);
    parameter.StrucLength = static_cast<MQLONG>(MQCFST_STRUC_LENGTH_FIXED + length);
    Append(&parameter, MQCFST_STRUC_LENGTH_FIXED);
    Append(text.data(), text.size());
    ++count_;
  }

  Reply Finish(MQCFH header) {
    header.ParameterCount = count_;
    Reply reply(sizeof header + parameters_.size());
    std::memcpy(reply.data(), &header, sizeof header);
    std::ranges::copy(parameters_, reply.begin() + sizeof header);
    return reply;
  }

 private:
  void Append(const void* bytes, std::size_t length) {
    const auto* from = static_cast<const std::uint8_t*>(bytes);
    parameters_.insert(parameters_.end(), from, from + length);
  }

  std::vector<std::uint8_t> parameters_;
  MQLONG count_{0};
};

class CommandServer {
 public:
  explicit CommandServer(Store& store) : store_(store) {}

  std::vector<Reply> Answer(std::span<const std::uint8_t> data, const MQMD& md) {
    MQLONG reason = MQRCCF_MD_FORMAT_ERROR;
    if (std::memcmp(md.Format, MQFMT_ADMIN, sizeof md.Format) == 0) {
      reason = RequestReader(data, md.Encoding).Read(request_);
    }
    if (reason == MQRC_NONE) reason = Carry();
    if (reason != MQRC_NONE) {
      replies_.clear();
      Push({}, reason);
      Push({}, MQRCCF_COMMAND_FAILED);
    }
    const MQLONG last = MQCFC_LAST;
    std::memcpy(replies_.back().data() + offsetof(MQCFH, Control), &last, sizeof last);
    return std::move(replies_);
  }

 private:
  MQLONG Carry() {
    if (request_.Command == MQCMD_INQUIRE_Q) {
      return Inquire(kQueueAttributes, {MQCA_Q_NAME, MQIA_Q_TYPE, MQIACF_Q_ATTRS}, {MQCA_Q_NAME, MQIA_Q_TYPE});
    }
    if (request_.Command == MQCMD_INQUIRE_Q_STATUS) {
      return Inquire(kStatusAttributes, {MQCA_Q_NAME, MQIACF_Q_STATUS_TYPE, MQIACF_Q_STATUS_ATTRS}, {MQCA_Q_NAME});
    }
    return MQRCCF_CFH_COMMAND_ERROR;
  }

  // Which parameters a command takes: the name, what kind of thing is asked for, and the list of attributes.
  struct Parameters {
    MQLONG Name;
    MQLONG Kind;
    MQLONG Attributes;
  };

  MQLONG Inquire(std::span<const Attribute> table, const Parameters& takes, std::vector<MQLONG> always) {
    for (const Parameter& parameter : request_.Parameters) {
      if (parameter.Type == MQCFT_STRING && parameter.Id != takes.Name) return MQRCCF_CFST_PARM_ID_ERROR;
      if (parameter.Type == MQCFT_INTEGER && parameter.Id != takes.Kind) return MQRCCF_CFIN_PARM_ID_ERROR;
      if (parameter.Type == MQCFT_INTEGER_LIST && parameter.Id != takes.Attributes) return MQRCCF_CFIL_PARM_ID_ERROR;
    }
    const Parameter* name = request_.Find(MQCFT_STRING, takes.Name);
    if (name == nullptr) return MQRCCF_PARM_COUNT_TOO_SMALL;
    if (name->Text.empty() || name->Text.size() > kQueueNameLength) return MQRCCF_CFST_STRING_LENGTH_ERR;

    const bool status = request_.Command == MQCMD_INQUIRE_Q_STATUS;
    const Parameter* kind = request_.Find(MQCFT_INTEGER, takes.Kind);
    MQLONG type = status ? MQQT_LOCAL : MQQT_ALL;
    if (kind != nullptr && status && kind->Number != MQIACF_Q_STATUS) return MQRCCF_PARM_VALUE_ERROR;
    if (kind != nullptr && !status) {
      type = kind->Number;
      const bool known = type == MQQT_ALL || (type > 0 && type < 32 && (kAnyQueue & Bit(type)) != 0);
      if (!known) return MQRCCF_Q_TYPE_ERROR;
    }

    std::vector<const Attribute*> wanted;
    const Parameter* list = request_.Find(MQCFT_INTEGER_LIST, takes.Attributes);
    std::vector<MQLONG> selectors = list == nullptr ? std::vector<MQLONG>{MQIACF_ALL} : list->Numbers;
    selectors.insert(selectors.begin(), always.begin(), always.end());
    if (std::ranges::find(selectors, MQIACF_ALL) != selectors.end()) {
      for (const Attribute& attribute : table) wanted.push_back(&attribute);
    } else {
      for (const MQLONG selector : selectors) {
        const auto attribute = std::ranges::find(table, selector, &Attribute::Selector);
        if (attribute == table.end()) return MQRCCF_PARM_VALUE_ERROR;
        if (std::ranges::find(wanted, &*attribute) == wanted.end()) wanted.push_back(&*attribute);
      }
    }

    std::vector<Queue> queues;
    if (const MQLONG reason = store_.ListQueues(name->Text, type, queues); reason != MQRC_NONE) return reason;
    for (const Queue& queue : queues) {
      if (const MQLONG reason = Describe(queue, wanted); reason != MQRC_NONE) return reason;
    }
    if (replies_.empty()) return MQRC_UNKNOWN_OBJECT_NAME;
    return MQRC_NONE;
  }

  // Adds the reply for one queue. A queue that was deleted meanwhile gets none.
  MQLONG Describe(const Queue& queue, const std::vector<const Attribute*>& wanted) {
    const QueueAttributes& attributes = queue.Attributes;
    const bool needsStatus =
        attributes.Type == MQQT_LOCAL &&
        std::ranges::any_of(wanted, [](const Attribute* attribute) { return attribute->Figure != nullptr; });
    QueueStatus status;
    if (needsStatus) {
      const MQLONG reason = store_.ReadQueueStatus(attributes.Name, status);
      if (reason == MQRC_UNKNOWN_OBJECT_NAME) return MQRC_NONE;
      if (reason != MQRC_NONE) return reason;
    }
    ReplyWriter writer;
    for (const Attribute* attribute : wanted) {
      if ((attribute->Types & Bit(attributes.Type)) == 0) continue;
      if (attribute->Figure != nullptr) {
        writer.Add(attribute->Selector, status.*attribute->Figure);
      } else if (attribute->Number != nullptr) {
        writer.Add(attribute->Selector, attributes.*attribute->Number);
      } else {
        writer.Add(attribute->Selector, attributes.*attribute->Text, attribute->Length);
      }
    }
    Push(std::move(writer), MQRC_NONE);
    return MQRC_NONE;
  }

  // Adds a reply that is not marked as the last one.
  void Push(ReplyWriter writer, MQLONG reason) {
    const bool extended = request_.Type == MQCFT_COMMAND_XR;
    MQCFH header;
    header.Type = extended ? MQCFT_XR_ITEM : MQCFT_RESPONSE;
    header.Version = extended ? MQCFH_VERSION_3 : MQCFH_VERSION_1;
    header.Command = request_.Command;
    header.MsgSeqNumber = static_cast<MQLONG>(replies_.size()) + 1;
    header.Control = MQCFC_NOT_LAST;
    header.CompCode = reason == MQRC_NONE ? MQCC_OK : MQCC_FAILED;
    header.Reason = reason;
    replies_.push_back(writer.Finish(header));
  }

  Store& store_;
  Request request_;
  std::vector<Reply> replies_;
};

bool IsSilent(Store& store) {
  QueueManagerAttributes attributes;
  return store.ReadQueueManager(attributes) != MQRC_NONE || attributes.CommandServer == 0;
}

}  // namespace

std::vector<Reply> AnswerCommand(Store& store, std::span<const std::uint8_t> request, const MQMD& md) {
  if (md.MsgType != MQMT_REQUEST || IsSilent(store)) return {};
  return CommandServer(store).Answer(request, md);
}

}  // namespace localmq
