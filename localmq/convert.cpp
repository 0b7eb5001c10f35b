#include "localmq/convert.h"

#include <cstring>

#include "localmq/platform.h"

namespace localmq {

MQLONG ConvertMessage(const DataForm& target, MQMD& descriptor, std::span<const std::uint8_t> data,
                      std::vector<std::uint8_t>& converted) {
  const bool sameCharacters = descriptor.CodedCharSetId == target.CodedCharSetId;
  if (sameCharacters && descriptor.Encoding == target.Encoding) return MQRC_NONE;
  if (std::memcmp(descriptor.Format, MQFMT_NONE, sizeof descriptor.Format) == 0) return MQRC_FORMAT_ERROR;
  if (std::memcmp(descriptor.Format, MQFMT_STRING, sizeof descriptor.Format) != 0) return MQRC_NOT_CONVERTED;
  // Text has characters only, so that the encoding of numbers means nothing to it.
  if (!sameCharacters && !data.empty() &&
      !ConvertText(descriptor.CodedCharSetId, target.CodedCharSetId, data, converted)) {
    converted.clear();
    return MQRC_NOT_CONVERTED;
  }
  descriptor.CodedCharSetId = target.CodedCharSetId;
  descriptor.Encoding = target.Encoding;
  return MQRC_NONE;
}

}  // namespace localmq
