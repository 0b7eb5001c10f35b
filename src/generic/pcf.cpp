#include "generic/pcf.h"

#include <cstring>

namespace {

constexpr std::size_t kFirstBlock = 4596;  // holds the usual request and reply without growing

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

bool PcfReply::Next(PcfParameter& parameter) {
  constexpr std::size_t kCommon = 3 * sizeof(MQLONG);  // type, length, parameter
  while (usable_ && !malformed_ && left_ != 0) {
    if (left_ < 0 || bytes_ - at_ < kCommon) return EndMalformed();
    const MQBYTE* structure = data_ + at_;
    const MQLONG length = LongAt(structure + 4);
    if (length < static_cast<MQLONG>(kCommon) || static_cast<std::size_t>(length) > bytes_ - at_) return EndMalformed();
    const auto room = static_cast<std::size_t>(length);
    --left_;
    at_ += room;
    parameter = PcfParameter{};
    parameter.Type = LongAt(structure);
    parameter.Parameter = LongAt(structure + 8);
    switch (parameter.Type) {
      case MQCFT_INTEGER:
        if (room < sizeof(MQCFIN)) return EndMalformed();
        parameter.Integer = LongAt(structure + 12);
        return true;
      case MQCFT_STRING: {
        constexpr std::size_t kFixed = MQCFST_STRUC_LENGTH_FIXED;
        if (room < kFixed) return EndMalformed();
        const MQLONG text = LongAt(structure + 16);
        if (text < 0 || static_cast<std::size_t>(text) > room - kFixed) return EndMalformed();
        parameter.String = {reinterpret_cast<const char*>(structure) + kFixed, static_cast<std::size_t>(text)};
        return true;
      }
      case MQCFT_GROUP: {
        if (room < sizeof(MQCFGR)) return EndMalformed();
        const MQLONG inner = LongAt(structure + 12);
        if (inner < 0) return EndMalformed();
        left_ += inner;
        continue;
      }
      case MQCFT_INTEGER_LIST:
      case MQCFT_STRING_LIST:
      case MQCFT_BYTE_STRING:
      case MQCFT_INTEGER64:
        return true;  // nothing asked for has these types
      default:
        left_ = 0;
        return false;
    }
  }
  return false;
}
