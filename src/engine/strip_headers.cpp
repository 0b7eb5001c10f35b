#include "engine/strip_headers.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/text.h"
#include "engine/code_pages.h"

namespace {

// Takes `bytes` off the front of the message in hand.
void SkipData(CurrentMessage& message, std::size_t bytes) {
  const auto skipped = static_cast<MQLONG>(bytes);
  message.Data += skipped;
  message.Length -= skipped;
  message.Delivered -= skipped;
}

void CopyText(char* to, const char* from, std::size_t bytes, bool ebcdic) {
  for (std::size_t i = 0; i < bytes; ++i) {
    to[i] = ebcdic ? EbcdicToAscii(static_cast<unsigned char>(from[i])) : from[i];
  }
}

MQLONG InOrder(MQLONG value, bool swapped) {
  return swapped ? std::bit_cast<MQLONG>(__builtin_bswap32(std::bit_cast<std::uint32_t>(value))) : value;
}

}  // namespace

void StripHeaders(CurrentMessage& message) {
  MQMD& descriptor = message.Descriptor;
  const bool swap = (descriptor.Encoding & MQENC_INTEGER_NORMAL) != 0;
  const bool ebcdic = IsEbcdicCcsid(descriptor.CodedCharSetId);
  if (IsFormat(descriptor.Format, MQFMT_DEAD_LETTER_HEADER) &&
      message.Delivered >= static_cast<MQLONG>(sizeof(MQDLH))) {
    MQDLH header;
    std::memcpy(&header, message.Data, sizeof header);
    descriptor.Encoding = InOrder(header.Encoding, swap);
    descriptor.CodedCharSetId = InOrder(header.CodedCharSetId, swap);
    descriptor.PutApplType = InOrder(header.PutApplType, swap);
    CopyText(descriptor.Format, header.Format, sizeof header.Format, ebcdic);
    CopyText(descriptor.PutApplName, header.PutApplName, sizeof header.PutApplName, ebcdic);
    CopyText(descriptor.PutDate, header.PutDate, sizeof header.PutDate, ebcdic);
    CopyText(descriptor.PutTime, header.PutTime, sizeof header.PutTime, ebcdic);
    SkipData(message, sizeof header);
  }
  if (IsFormat(descriptor.Format, MQFMT_XMIT_Q_HEADER) && message.Delivered >= static_cast<MQLONG>(sizeof(MQXQH))) {
    std::memcpy(static_cast<void*>(&descriptor), message.Data + offsetof(MQXQH, MsgDesc), sizeof(MQMD1));
    if (swap || ebcdic) ConvertDescriptor(descriptor, swap, ebcdic);
    // Whatever stood in the header, the descriptor that follows it is one of version 1.
    if (descriptor.Version != MQMD_VERSION_2) descriptor.Version = MQMD_VERSION_1;
    SkipData(message, sizeof(MQXQH));
  }
}
