#include "files/descriptor_fields.h"

#include <cstdint>

#define FIELD(name) offsetof(MQMD, name), sizeof(MQMD::name)

namespace {

constexpr auto kInteger = FieldKind::Integer;
constexpr auto kString = FieldKind::String;
constexpr auto kHex = FieldKind::Hex;
constexpr auto kAlways = FieldCondition::Always;
constexpr auto kAsText = FieldCondition::OnlyAsCharacters;
constexpr auto kAsHex = FieldCondition::OnlyAsHex;

bool SameTag(const char (&tag)[4], std::string_view text) {
  return tag[0] == text[0] && tag[1] == text[1] && tag[2] == text[2];
}

TaggedField Match(const DescriptorField& field, std::string_view tag) {
  if (SameTag(field.Tag, tag)) return {&field, field.Kind};
  if (field.Kind == kString && SameTag(field.ExactTag, tag)) return {&field, kHex};
  return {};
}

}  // namespace

const DescriptorField DescriptorFields[] = {
    {kInteger, FIELD(Version), 2, "VER", "Version", kAlways, ""},
    {kInteger, FIELD(Report), 0, "RPT", "Report", kAlways, ""},
    {kInteger, FIELD(MsgType), 0, "MST", "MsgType", kAlways, ""},
    {kInteger, FIELD(Expiry), 0, "EXP", "Expiry", kAlways, ""},
    {kInteger, FIELD(Feedback), 0, "FDB", "Feedback", kAlways, ""},
    {kInteger, FIELD(Encoding), 0, "ENC", "Encoding", kAlways, ""},
    {kInteger, FIELD(CodedCharSetId), 0, "CCS", "CodedCharSetId", kAlways, ""},
    {kString, FIELD(Format), 0, "FMT", "Format", kAlways, "FMX"},
    {kInteger, FIELD(Priority), 0, "PRI", "Priority", kAlways, ""},
    {kInteger, FIELD(Persistence), 0, "PER", "Persistence", kAlways, ""},
    {kHex, FIELD(MsgId), 0, "MSI", "MsgId", kAlways, ""},
    {kHex, FIELD(CorrelId), 0, "COI", "CorrelId", kAlways, ""},
    {kInteger, FIELD(BackoutCount), 0, "BOC", "BackoutCount", kAlways, ""},
    {kString, FIELD(ReplyToQ), 0, "RTQ", "ReplyToQ", kAlways, "RQX"},
    {kString, FIELD(ReplyToQMgr), 0, "RTM", "ReplyToQMgr", kAlways, "RMX"},
    {kString, FIELD(UserIdentifier), 0, "USR", "UserIdentifier", kAlways, "USX"},
    {kHex, FIELD(AccountingToken), 0, "ACC", "AccountingToken", kAlways, ""},
    {kString, FIELD(ApplIdentityData), 0, "AID", "ApplIdentityData", kAsText, "AIX"},
    {kHex, FIELD(ApplIdentityData), 0, "AIX", "ApplIdentityData", kAsHex, ""},
    {kInteger, FIELD(PutApplType), 0, "PAT", "PutApplType", kAlways, ""},
    {kString, FIELD(PutApplName), 0, "PAN", "PutApplName", kAlways, "PAX"},
    {kString, FIELD(PutDate), 0, "PTD", "PutDate", kAlways, "PDX"},
    {kString, FIELD(PutTime), 0, "PTT", "PutTime", kAlways, "PTX"},
    {kString, FIELD(ApplOriginData), 0, "AOD", "ApplOriginData", kAsText, "AOX"},
    {kHex, FIELD(ApplOriginData), 0, "AOX", "ApplOriginData", kAsHex, ""},
    {kString, FIELD(StrucId), 0, "", "StrucId", kAlways, ""},
    {kHex, FIELD(GroupId), 2, "GRP", "GroupId", kAlways, ""},
    {kInteger, FIELD(MsgSeqNumber), 2, "MSQ", "MsgSeqNumber", kAlways, ""},
    {kInteger, FIELD(Offset), 2, "OFF", "Offset", kAlways, ""},
    {kInteger, FIELD(MsgFlags), 2, "MSF", "MsgFlags", kAlways, ""},
    {kInteger, FIELD(OriginalLength), 2, "ORL", "OriginalLength", kAlways, ""},
    {FieldKind::End, 0, 0, 0, "", "", kAlways, ""},
};
#undef FIELD

std::size_t LongestDescriptor() {
  static const std::size_t longest = [] {
    constexpr std::size_t kAround = 2 + 3 + 1 + 1;  // "A ", tag, blank, line end
    constexpr std::size_t kLongestInteger = 11;
    std::size_t bytes = 0;
    for (const DescriptorField* field = DescriptorFields; field->Kind != FieldKind::End; ++field) {
      if (field->Kind == kInteger) bytes += kAround + kLongestInteger;
      if (field->Kind == kString) bytes += kAround + field->Length;
      if (field->Kind != kInteger) bytes += kAround + 2 * field->Length;
    }
    return bytes;
  }();
  return longest;
}

TaggedField FindByTag(std::string_view tag, const DescriptorField* previous) {
  if (tag.size() != 3 || tag[0] == '\0') return {};
  const DescriptorField* const first = previous != nullptr ? previous + 1 : DescriptorFields;
  for (const DescriptorField* field = first; field->Kind != FieldKind::End; ++field) {
    if (const TaggedField found = Match(*field, tag); found.Field != nullptr) return found;
  }
  for (const DescriptorField* field = DescriptorFields; field != first; ++field) {
    if (const TaggedField found = Match(*field, tag); found.Field != nullptr) return found;
  }
  return {};
}

const DescriptorField* FindByLongName(std::string_view name) {
  for (const DescriptorField* field = DescriptorFields; field->Kind != FieldKind::End; ++field) {
    if (name == field->LongName) return field;
  }
  return nullptr;
}
