#pragma once

// The attributes of queues and of the queue manager as MQSC names them: what values they take, where they are kept, and
// how they are shown. One table for each kind of object drives DEFINE, ALTER and DISPLAY alike.

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "common/member.h"
#include "localmq/mqsc_text.h"
#include "localmq/store.h"

namespace localmq {

// A word that stands for a number, such as ENABLED for MQQA_PUT_ALLOWED.
struct MqscChoice {
  std::string_view Word;
  MQLONG Value;
};

// An attribute of a Record; exactly one of Number and Text is set.
template <typename Record>
struct MqscAttribute {
  std::string_view Name;
  unsigned Types;  // of queues: which types have it, as bits of 1 << MQQT_...
  Member<Record, MQLONG> Number{nullptr};
  Member<Record, std::string> Text{nullptr};
  MQLONG Low{0};
  MQLONG High{0};                         // of a number its highest value, of a text its greatest length
  std::span<const MqscChoice> Choices{};  // when there are any, the only values
  enum class Use { kObjectName, kFreeText, kSecret, kShown, kNumber } Meaning{Use::kNumber};  // kShown: cannot be set
};

using QueueAttribute = MqscAttribute<QueueAttributes>;
using QueueManagerAttribute = MqscAttribute<QueueManagerAttributes>;

std::span<const QueueAttribute> MqscQueueAttributes();
std::span<const QueueManagerAttribute> MqscQueueManagerAttributes();

// QLOCAL, QALIAS... for a queue type.
std::string_view QueueTypeName(MQLONG type);
// The type for QLOCAL, QL, QALIAS, QA...; MQQT_ALL for QUEUE and Q; nothing for any other word.
std::optional<MQLONG> QueueTypeOf(std::string_view word);

// Stores the value of `word` in `record`. Returns an empty text, or what is wrong with it.
std::string SetAttribute(const MqscWord& word, QueueAttributes& record);
std::string SetAttribute(const MqscWord& word, QueueManagerAttributes& record);

// The attribute's value as DISPLAY shows it; empty for a secret.
std::string ShowAttribute(const QueueAttribute& attribute, const QueueAttributes& record);
std::string ShowAttribute(const QueueManagerAttribute& attribute, const QueueManagerAttributes& record);

}  // namespace localmq
