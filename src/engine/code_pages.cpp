#include "engine/code_pages.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <string_view>

#include "common/member.h"

namespace {

// In ascending order.
constexpr std::array<MQLONG, 146> kEbcdicCcsids = {
    37,    256,   273,   277,   278,   280,   284,   285,   286,   290,   297,   300,   420,   421,   424,
    425,   500,   803,   833,   834,   835,   836,   837,   838,   870,   871,   875,   880,   918,   924,
    930,   931,   933,   935,   937,   939,   1025,  1026,  1027,  1047,  1097,  1112,  1122,  1123,  1130,
    1132,  1137,  1140,  1141,  1142,  1143,  1144,  1145,  1146,  1147,  1148,  1149,  1279,  1364,  1388,
    1390,  1399,  4133,  4325,  4369,  4370,  4371,  4372,  4373,  4374,  4376,  4378,  4380,  4381,  4386,
    4393,  4396,  4516,  4520,  4596,  4899,  4929,  4931,  4932,  4933,  4934,  4966,  4967,  4971,  4976,
    5014,  5026,  5029,  5031,  5033,  5035,  5123,  5143,  5484,  8229,  8448,  8478,  8482,  8489,  8492,
    8612,  8692,  9025,  9026,  9028,  9030,  9122,  9125,  9127,  9131,  12325, 12544, 12588, 12712, 12788,
    13218, 13219, 13221, 13223, 16421, 16684, 16884, 17314, 20517, 20980, 24613, 25076, 29172, 32805, 33058,
    33268, 33698, 33699, 37364, 41460, 45556, 49652, 53748, 61696, 61711, 61712};
static_assert(std::is_sorted(kEbcdicCcsids.begin(), kEbcdicCcsids.end()));
static_assert(kEbcdicCcsids.back() == 61712);

// Characters that follow each other in both codes, from an EBCDIC byte on.
struct Sequence {
  unsigned char Ebcdic;
  std::string_view Ascii;
};

constexpr Sequence kLettersAndDigits[] = {{0x81, "abcdefghi"}, {0x91, "jklmnopqr"}, {0xA2, "stuvwxyz"},
                                          {0xC1, "ABCDEFGHI"}, {0xD1, "JKLMNOPQR"}, {0xE2, "STUVWXYZ"},
                                          {0xF0, "0123456789"}};

// Several EBCDIC bytes may read as the same ASCII character, since code pages place brackets differently.
constexpr Sequence kReadCharacters[] = {{0x40, " "},         {0x4A, "$.<(+|&"}, {0x5A, "!\x9C*);"}, {0x60, "-/"},
                                        {0x6A, "\xDD,%_>?"}, {0x7A, ":#@'=\""}, {0x8B, "{"},        {0x8D, "(+"},
                                        {0x9B, "}"},         {0x9D, ")"},       {0xA1, "~"},        {0xBA, "[]"},
                                        {0xBF, "-"},         {0xC0, "{"},       {0xD0, "}"}};

// A search needs one EBCDIC byte for each ASCII character.
constexpr Sequence kSearchedCharacters[] = {{0x40, " "},     {0x4B, ".<(+|&"},  {0x5A, "!$*);"}, {0x60, "-/"},
                                            {0x6B, ",%_>?"}, {0x7A, ":#@'=\""}, {0xA1, "~"},     {0xAD, "["},
                                            {0xBD, "]"},     {0xC0, "{"},       {0xD0, "}"},     {0xE0, "\\"},
                                            {0x15, "\n"},    {0x0D, "\r"},      {0x5B, "\x9C"},  {0x6A, "\xDD"}};

using CodeTable = std::array<unsigned char, 256>;

constexpr CodeTable MakeReadTable() {
  CodeTable table{};
  table.fill('.');
  const auto add = [&table](const Sequence& sequence) {
    for (std::size_t i = 0; i < sequence.Ascii.size(); ++i) {
      table[sequence.Ebcdic + i] = static_cast<unsigned char>(sequence.Ascii[i]);
    }
  };
  for (const Sequence& sequence : kLettersAndDigits) add(sequence);
  for (const Sequence& sequence : kReadCharacters) add(sequence);
  return table;
}

constexpr CodeTable MakeSearchTable() {
  CodeTable table{};
  table.fill(0x4B);  // a full stop
  const auto add = [&table](const Sequence& sequence) {
    for (std::size_t i = 0; i < sequence.Ascii.size(); ++i) {
      table[static_cast<unsigned char>(sequence.Ascii[i])] = static_cast<unsigned char>(sequence.Ebcdic + i);
    }
  };
  for (const Sequence& sequence : kLettersAndDigits) add(sequence);
  for (const Sequence& sequence : kSearchedCharacters) add(sequence);
  return table;
}

constexpr CodeTable kReadTable = MakeReadTable();
constexpr CodeTable kSearchTable = MakeSearchTable();

template <std::size_t N>
void ToAscii(char (&field)[N]) {
  for (char& c : field) c = EbcdicToAscii(static_cast<unsigned char>(c));
}

MQLONG Swapped(MQLONG value) { return std::bit_cast<MQLONG>(__builtin_bswap32(std::bit_cast<std::uint32_t>(value))); }

}  // namespace

bool IsEbcdicCcsid(MQLONG ccsid) { return std::binary_search(kEbcdicCcsids.begin(), kEbcdicCcsids.end(), ccsid); }

char EbcdicToAscii(unsigned char byte) { return static_cast<char>(kReadTable[byte]); }

unsigned char AsciiToEbcdic(unsigned char byte) { return kSearchTable[byte]; }

void ConvertDescriptor(MQMD& descriptor, bool integersBigEndian, bool textsEbcdic) {
  if (textsEbcdic) {
    ToAscii(descriptor.StrucId);
    ToAscii(descriptor.Format);
    ToAscii(descriptor.ReplyToQ);
    ToAscii(descriptor.ReplyToQMgr);
    ToAscii(descriptor.UserIdentifier);
    ToAscii(descriptor.ApplIdentityData);
    ToAscii(descriptor.PutApplName);
    ToAscii(descriptor.PutDate);
    ToAscii(descriptor.PutTime);
    ToAscii(descriptor.ApplOriginData);
  }
  if (integersBigEndian) {
    for (const Member<MQMD, MQLONG> field :
         {&MQMD::Version, &MQMD::Report, &MQMD::MsgType, &MQMD::Expiry, &MQMD::Feedback, &MQMD::Encoding,
          &MQMD::CodedCharSetId, &MQMD::Priority, &MQMD::Persistence, &MQMD::BackoutCount, &MQMD::PutApplType}) {
      descriptor.*field = Swapped(descriptor.*field);
    }
  }
}
