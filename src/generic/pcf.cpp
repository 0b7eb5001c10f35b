#include "generic/pcf.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

constexpr std::size_t kFirstBlock = 4596;  // holds the usual request and reply without growing

constexpr std::size_t kCommon = 3 * sizeof(MQLONG);  // type, length, parameter

// The structures that a reply may hold, with the bytes that each has at least. Of those whose least size is the common
// part nothing is read: nothing asked for has these types.
constexpr struct {
  MQLONG Type;
  std::size_t LeastSize;
} kStructures[] = {
    {MQCFT_INTEGER, sizeof(MQCFIN)}, {MQCFT_STRING, MQCFST_STRUC_LENGTH_FIXED},
    {MQCFT_GROUP, sizeof(MQCFGR)},   {MQCFT_INTEGER_LIST, kCommon},
    {MQCFT_STRING_LIST, kCommon},    {MQCFT_BYTE_STRING, kCommon},
    {MQCFT_INTEGER64, kCommon},
};

std::size_t RoundUp4(std::size_t n) { return (n + 3) / 4 * 4; }

MQLONG LongAt(const MQBYTE* at) {
  MQLONG value = 0;
  std::memcpy(&value, at, sizeof value);
  return value;
}

}  // namespace

PcfRequest::PcfRequest(const MQCFH& header) {
  bytes_.reserve(kFirstBlock);
  const auto* raw = reinterpret_cast<const MQBYTE*>(&header);
  bytes_.assign(raw, raw + sizeof header);
}

void PcfRequest::Add(const void* fixed, std::size_t fixedBytes, const void* tail, std::size_t tailBytes) {
  const auto* first = static_cast<const MQBYTE*>(fixed);
  const auto* second = static_cast<const MQBYTE*>(tail);
  bytes_.insert(bytes_.end(), first, first + fixedBytes);
  bytes_.insert(bytes_.end(), second, second + tailBytes);
  bytes_.resize(RoundUp4(bytes_.size()), MQBYTE{' '});
  MQCFH header;
  std::memcpy(&header, bytes_.data(), sizeof header);
  ++header.ParameterCount;
  std::memcpy(bytes_.data(), &header, sizeof header);
}

void PcfRequest::AddString(MQLONG parameter, std::string_view value) {
  MQCFST string;
  string.StrucLength = static_cast<MQLONG>(MQCFST_STRUC_LENGTH_FIXED + RoundUp4(value.size()));
  string.Parameter = parameter;
  string.StringLength = static_cast<MQLONG>(value.size());
  Add(&string, MQCFST_STRUC_LENGTH_FIXED, value.data(), value.size());
}

void PcfRequest::AddInteger(MQLONG parameter, MQLONG value) {
  MQCFIN integer;
  integer.Parameter = parameter;
  integer.Value = value;
  Add(&integer, sizeof integer, nullptr, 0);
}

void PcfRequest::AddIntegerList(MQLONG parameter, const std::vector<MQLONG>& values) {
  MQCFIL list;
  const std::size_t bytes = values.size() * sizeof(MQLONG);
  list.StrucLength = static_cast<MQLONG>(MQCFIL_STRUC_LENGTH_FIXED + bytes);
  list.Parameter = parameter;
  list.Count = static_cast<MQLONG>(values.size());
  Add(&list, MQCFIL_STRUC_LENGTH_FIXED, values.data(), bytes);
}

PcfReply::PcfReply(const MQBYTE* data, std::size_t bytes) : data_(data), bytes_(bytes) {
  if (bytes < sizeof header_) return;
  std::memcpy(&header_, data, sizeof header_);
  usable_ = true;
  at_ = sizeof header_;
  left_ = header_.ParameterCount;
}

bool PcfReply::EndMalformed() {
  malformed_ = true;
  return false;
}

std::size_t PcfReply::NextSize() const {
  const std::size_t rest = bytes_ - at_;
  if (left_ < 0 || rest < kCommon) return 0;
  const MQLONG length = LongAt(data_ + at_ + 4);
  if (length < static_cast<MQLONG>(kCommon) || static_cast<std::size_t>(length) > rest) return 0;
  return static_cast<std::size_t>(length);
}

bool PcfReply::Read(const MQBYTE* structure, std::size_t size, PcfParameter& parameter) {
  if (parameter.Type == MQCFT_INTEGER) parameter.Integer = LongAt(structure + kCommon);
  if (parameter.Type == MQCFT_GROUP) {
    const MQLONG inner = LongAt(structure + kCommon);
    left_ += inner;
    return inner >= 0;
  }
  if (parameter.Type == MQCFT_STRING) {
    constexpr std::size_t kFixed = MQCFST_STRUC_LENGTH_FIXED;
    const MQLONG text = LongAt(structure + 16);
    if (text < 0 || static_cast<std::size_t>(text) > size - kFixed) return false;
    parameter.String = {reinterpret_cast<const char*>(structure) + kFixed, static_cast<std::size_t>(text)};
  }
  return true;
}

bool PcfReply::Next(PcfParameter& parameter) {
  while (usable_ && !malformed_ && left_ != 0) {
    const MQBYTE* const structure = data_ + at_;
    const std::size_t size = NextSize();
    if (size == 0) return EndMalformed();
    --left_;
    at_ += size;
    parameter = PcfParameter{};
    parameter.Type = LongAt(structure);
    parameter.Parameter = LongAt(structure + 8);
    const auto* const known = std::find_if(std::begin(kStructures), std::end(kStructures),
                                           [&](const auto& entry) { return entry.Type == parameter.Type; });
    if (known == std::end(kStructures)) {
      left_ = 0;
      return false;
    }
    if (size < known->LeastSize || !Read(structure, size, parameter)) return EndMalformed();
    if (parameter.Type != MQCFT_GROUP) return true;
  }
  return false;
}
