#include "localmq/properties.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>

#include "localmq/platform.h"

namespace localmq {

struct DescriptorProperty {
  enum class Shape { kNumber, kText, kBytes, kIdentifier, kDeliveryMode };

  std::string_view Name;
  Shape Shown;
  std::size_t Offset;
  std::size_t Length;
  MQLONG Version{MQMD_VERSION_1};  // the first descriptor version that has the field
};

namespace {

using Shape = DescriptorProperty::Shape;

#define LOCALMQ_FIELD(field, shape, ...)                                                                     \
  DescriptorProperty {                                                                                       \
    "Root.MQMD." #field, Shape::shape, offsetof(MQMD, field), sizeof(MQMD::field) __VA_OPT__(, ) __VA_ARGS__ \
  }

constexpr DescriptorProperty kDescriptorProperties[] = {
    LOCALMQ_FIELD(StrucId, kText),
    LOCALMQ_FIELD(Version, kNumber),
    LOCALMQ_FIELD(Report, kNumber),
    LOCALMQ_FIELD(MsgType, kNumber),
    LOCALMQ_FIELD(Expiry, kNumber),
    LOCALMQ_FIELD(Feedback, kNumber),
    LOCALMQ_FIELD(Encoding, kNumber),
    LOCALMQ_FIELD(CodedCharSetId, kNumber),
    LOCALMQ_FIELD(Format, kText),
    LOCALMQ_FIELD(Priority, kNumber),
    LOCALMQ_FIELD(Persistence, kNumber),
    LOCALMQ_FIELD(MsgId, kBytes),
    LOCALMQ_FIELD(CorrelId, kBytes),
    LOCALMQ_FIELD(BackoutCount, kNumber),
    LOCALMQ_FIELD(ReplyToQ, kText),
    LOCALMQ_FIELD(ReplyToQMgr, kText),
    LOCALMQ_FIELD(UserIdentifier, kText),
    LOCALMQ_FIELD(AccountingToken, kBytes),
    LOCALMQ_FIELD(ApplIdentityData, kText),
    LOCALMQ_FIELD(PutApplType, kNumber),
    LOCALMQ_FIELD(PutApplName, kText),
    LOCALMQ_FIELD(PutDate, kText),
    LOCALMQ_FIELD(PutTime, kText),
    LOCALMQ_FIELD(ApplOriginData, kText),
    LOCALMQ_FIELD(GroupId, kBytes, MQMD_VERSION_2),
    LOCALMQ_FIELD(MsgSeqNumber, kNumber, MQMD_VERSION_2),
    LOCALMQ_FIELD(Offset, kNumber, MQMD_VERSION_2),
    LOCALMQ_FIELD(MsgFlags, kNumber, MQMD_VERSION_2),
    LOCALMQ_FIELD(OriginalLength, kNumber, MQMD_VERSION_2),
    {"JMSPriority", Shape::kNumber, offsetof(MQMD, Priority), sizeof(MQMD::Priority)},
    {"JMSDeliveryMode", Shape::kDeliveryMode, offsetof(MQMD, Persistence), sizeof(MQMD::Persistence)},
    {"JMSMessageID", Shape::kIdentifier, offsetof(MQMD, MsgId), sizeof(MQMD::MsgId)},
    {"JMSCorrelationID", Shape::kIdentifier, offsetof(MQMD, CorrelId), sizeof(MQMD::CorrelId)},
    {"JMSXUserID", Shape::kText, offsetof(MQMD, UserIdentifier), sizeof(MQMD::UserIdentifier)},
    {"JMSXAppID", Shape::kText, offsetof(MQMD, PutApplName), sizeof(MQMD::PutApplName)},
    {"JMSXDeliveryCount", Shape::kNumber, offsetof(MQMD, BackoutCount), sizeof(MQMD::BackoutCount)},
};

#undef LOCALMQ_FIELD

// JMS header names whose values travel in the header's own folders.
struct Alias {
  std::string_view Name;
  std::string_view Property;
};
constexpr Alias kAliases[] = {
    {"JMSType", "mcd.Type"},     {"JMSDestination", "jms.Dst"}, {"JMSReplyTo", "jms.Rto"},
    {"JMSTimestamp", "jms.Tms"}, {"JMSXGroupID", "jms.Gid"},    {"JMSXGroupSeq", "jms.Seq"},
};

// Elements nested deeper than this hold no properties.
constexpr std::size_t kDeepestElement = 20;

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) text.remove_suffix(1);
  return text;
}

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string_view TrimmedSpace(std::string_view text) {
  while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
  return text;
}

void AppendUtf8(std::string& text, std::uint32_t code) {
  const auto continuation = [&](unsigned shift) { text += static_cast<char>(0x80U | ((code >> shift) & 0x3FU)); };
  if (code < 0x80) {
    text += static_cast<char>(code);
  } else if (code < 0x800) {
    text += static_cast<char>(0xC0U | (code >> 6));
    continuation(0);
  } else if (code < 0x10000) {
    text += static_cast<char>(0xE0U | (code >> 12));
    continuation(6);
    continuation(0);
  } else if (code < 0x110000) {
    text += static_cast<char>(0xF0U | (code >> 18));
    continuation(12);
    continuation(6);
    continuation(0);
  }
}

// Appends what an entity such as "lt" or "#x41" stands for; false when it is not known.
bool AppendEntity(std::string& text, std::string_view entity) {
  struct Named {
    std::string_view Name;
    char Character;
  };
  constexpr Named kNamed[] = {{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}};
  for (const Named& named : kNamed) {
    if (entity == named.Name) {
      text += named.Character;
      return true;
    }
  }
  if (entity.size() < 2 || entity[0] != '#') return false;
  const int base = entity[1] == 'x' ? 16 : 10;
  entity.remove_prefix(base == 16 ? 2 : 1);
  std::uint32_t code = 0;
  const auto [end, error] = std::from_chars(entity.data(), entity.data() + entity.size(), code, base);
  if (error != std::errc{} || end != entity.data() + entity.size()) return false;
  AppendUtf8(text, code);
  return true;
}

std::string DecodeEntities(std::string_view text) {
  std::string decoded;
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t ampersand = std::min(text.find('&', at), text.size());
    decoded.append(text.substr(at, ampersand - at));
    at = ampersand;
    if (at == text.size()) break;
    const std::size_t end = text.substr(0, at + 12).find(';', at);
    if (end != std::string_view::npos && AppendEntity(decoded, text.substr(at + 1, end - at - 1))) {
      at = end + 1;
    } else {
      decoded += text[at++];
    }
  }
  return decoded;
}

// The value of an attribute inside a start tag, or an empty text.
std::string_view AttributeOf(std::string_view tag, std::string_view name) {
  std::size_t at = 0;
  while ((at = tag.find('=', at)) != std::string_view::npos) {
    const std::string_view before = TrimmedSpace(tag.substr(0, at));
    const std::string_view after = TrimmedSpace(tag.substr(at + 1));
    if (after.empty() || (after[0] != '"' && after[0] != '\'')) return {};
    const std::size_t close = after.find(after[0], 1);
    if (close == std::string_view::npos) return {};
    const std::size_t start = before.size() - std::min(before.size(), name.size());
    if (before.substr(start) == name && start > 0 && IsSpace(before[start - 1])) return after.substr(1, close - 1);
    at = static_cast<std::size_t>(after.data() - tag.data()) + close + 1;
  }
  return {};
}

template <typename Number>
bool ParseWhole(std::string_view text, Number& number) {
  if (text.starts_with('+')) text.remove_prefix(1);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size() && !text.empty();
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string ToHex(std::string_view bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string digits;
  for (const char byte : bytes) {
    digits += kDigits[static_cast<std::uint8_t>(byte) >> 4];
    digits += kDigits[static_cast<std::uint8_t>(byte) & 15];
  }
  return digits;
}

// Reads a 32-bit integer of a message's data in the byte order of its encoding.
class IntegerReader {
 public:
  IntegerReader(std::span<const std::uint8_t> data, MQLONG encoding)
      : data_(data), reversed_((encoding & MQENC_INTEGER_MASK) == MQENC_INTEGER_REVERSED) {}

  // The four bytes at `offset` must exist.
  MQLONG At(std::size_t offset) const {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value = value << 8 | data_[offset + (reversed_ ? 3 - i : i)];
    return static_cast<MQLONG>(value);
  }

 private:
  std::span<const std::uint8_t> data_;
  bool reversed_;
};

}  // namespace

const DescriptorProperty* FindDescriptorProperty(std::string_view name) {
  const auto* found = std::ranges::find(kDescriptorProperties, name, &DescriptorProperty::Name);
  return found == std::end(kDescriptorProperties) ? nullptr : found;
}

bool DecodeHex(std::string_view digits, std::string& bytes) {
  if (digits.empty() || digits.size() % 2 != 0) return false;
  bytes.clear();
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    const int high = HexDigit(digits[i]);
    const int low = HexDigit(digits[i + 1]);
    if (high < 0 || low < 0) return false;
    bytes += static_cast<char>(high * 16 + low);
  }
  return true;
}

PropertyValue MessageProperties::Field(const DescriptorProperty& field) {
  if (md_.Version < field.Version) return {};
  const char* at = reinterpret_cast<const char*>(&md_) + field.Offset;
  if (field.Shown == Shape::kBytes) return PropertyValue::OfBytes({at, field.Length});
  if (field.Shown == Shape::kText) {
    PropertyValue value = PropertyValue::OfText(Trimmed({at, field.Length}));
    value.Padded = true;
    return value;
  }
  if (field.Shown == Shape::kIdentifier) return PropertyValue::OfText(Keep("ID:" + ToHex({at, field.Length})));
  MQLONG number = 0;
  std::memcpy(&number, at, sizeof number);
  if (field.Shown == Shape::kDeliveryMode) {
    return PropertyValue::OfText(number == MQPER_PERSISTENT ? "PERSISTENT" : "NON_PERSISTENT");
  }
  return PropertyValue::OfInteger(number);
}

PropertyValue MessageProperties::Find(std::string_view name) {
  if (!parsed_) ParseHeader();
  parsed_ = true;
  const auto* alias = std::ranges::find(kAliases, name, &Alias::Name);
  if (alias != std::end(kAliases)) name = alias->Property;
  const auto found = std::ranges::find(properties_, name, &Property::Name);
  return found == properties_.end() ? PropertyValue{} : found->Value;
}

// An MQRFH2 is 36 fixed bytes, then folders: a 32-bit length and that many bytes of one XML element each, up to
// StrucLength. Its integers are in the encoding that the descriptor names, its folders in NameValueCCSID.
void MessageProperties::ParseHeader() {
  constexpr std::size_t kFixed = MQRFH_STRUC_LENGTH_FIXED_2;
  constexpr std::uint8_t kEbcdicStrucId[] = {0xD9, 0xC6, 0xC8, 0x40};
  if (std::memcmp(md_.Format, MQFMT_RF_HEADER_2, sizeof md_.Format) != 0 || data_.size() < kFixed) return;
  if (std::memcmp(data_.data(), MQRFH_STRUC_ID, 4) != 0 && std::memcmp(data_.data(), kEbcdicStrucId, 4) != 0) return;
  const IntegerReader integers(data_, md_.Encoding);
  const MQLONG length = integers.At(offsetof(MQRFH2, StrucLength));
  if (integers.At(offsetof(MQRFH2, Version)) != MQRFH_VERSION_2) return;
  if (length < MQRFH_STRUC_LENGTH_FIXED_2 || static_cast<std::size_t>(length) > data_.size()) return;
  const MQLONG ccsid = integers.At(offsetof(MQRFH2, NameValueCCSID));

  std::size_t at = kFixed;
  const auto end = static_cast<std::size_t>(length);
  while (end - at >= 4) {
    const MQLONG folderLength = integers.At(at);
    at += 4;
    if (folderLength < 0 || static_cast<std::size_t>(folderLength) > end - at) return;
    const auto folder = data_.subspan(at, static_cast<std::size_t>(folderLength));
    at += folder.size();
    if (ccsid == MQCCSI_APPL || ccsid == MQCCSI_DEFAULT) {
      ParseFolder({reinterpret_cast<const char*>(folder.data()), folder.size()});
      continue;
    }
    std::vector<std::uint8_t> converted;
    if (!ConvertText(ccsid, MQCCSI_APPL, folder, converted)) return;
    ParseFolder(Keep({converted.begin(), converted.end()}));
  }
}

// Walks the elements of a folder and takes each element that holds no other as a property. What is not well formed ends
// the walk.
void MessageProperties::ParseFolder(std::string_view xml) {
  struct Open {
    std::string_view Name;
    std::string_view Tag;  // everything between '<' and '>'
    std::size_t Content;   // where its content starts
    bool HasChildren;
  };
  std::vector<Open> open;
  std::size_t at = 0;
  while ((at = xml.find('<', at)) != std::string_view::npos) {
    const std::size_t close = xml.find('>', at);
    if (close == std::string_view::npos) return;
    const std::string_view tag = xml.substr(at + 1, close - at - 1);
    const bool ends = tag.starts_with('/');
    const bool empty = tag.ends_with('/');
    if (!ends) {
      const std::size_t nameLength = std::min(tag.find_first_of(" \t\r\n/"), tag.size());
      if (nameLength == 0 || open.size() == kDeepestElement) return;
      if (!open.empty()) open.back().HasChildren = true;
      open.push_back({tag.substr(0, nameLength), tag, close + 1, false});
    }
    if (ends || empty) {
      if (open.empty() || (ends && TrimmedSpace(tag.substr(1)) != open.back().Name)) return;
      const Open& element = open.back();
      if (!element.HasChildren && open.size() > 1) {
        const std::string_view text = ends ? xml.substr(element.Content, at - element.Content) : std::string_view();
        std::string name;
        for (const Open& outer : open) {
          if (&outer == &open.front() && outer.Name == "usr") continue;
          if (!name.empty()) name += '.';
          name += outer.Name;
        }
        const bool nil = AttributeOf(element.Tag, "xsi:nil") == "true";
        properties_.push_back(
            {std::move(name), nil ? PropertyValue{} : TypedValue(AttributeOf(element.Tag, "dt"), text)});
      }
      open.pop_back();
    }
    at = close + 1;
  }
}

// A value that does not fit its type is null.
PropertyValue MessageProperties::TypedValue(std::string_view type, std::string_view text) {
  constexpr std::string_view kIntegers[] = {"i1", "i2", "i4", "i8", "int"};
  constexpr std::string_view kFloats[] = {"r4", "r8"};
  const std::string_view word = TrimmedSpace(text);
  if (std::ranges::find(kIntegers, type) != std::end(kIntegers)) {
    std::int64_t number = 0;
    return ParseWhole(word, number) ? PropertyValue::OfInteger(number) : PropertyValue{};
  }
  if (std::ranges::find(kFloats, type) != std::end(kFloats)) {
    double number = 0;
    return ParseWhole(word, number) ? PropertyValue::OfFloat(number) : PropertyValue{};
  }
  if (type == "boolean") {
    const bool yes = word == "1" || word == "true" || word == "TRUE";
    const bool no = word == "0" || word == "false" || word == "FALSE";
    return yes || no ? PropertyValue::OfBoolean(yes) : PropertyValue{};
  }
  if (type == "bin.hex") {
    std::string bytes;
    if (word.empty()) return PropertyValue::OfBytes({});
    return DecodeHex(word, bytes) ? PropertyValue::OfBytes(Keep(std::move(bytes))) : PropertyValue{};
  }
  if (text.find('&') == std::string_view::npos) return PropertyValue::OfText(text);
  return PropertyValue::OfText(Keep(DecodeEntities(text)));
}

}  // namespace localmq
