#pragma once

// Conversion of message data for a get with MQGMO_CONVERT.

#include <cstdint>
#include <span>
#include <vector>

#include "mq/mqi.h"

namespace localmq {

// How the numbers and the characters of message data are written.
struct DataForm {
  MQLONG Encoding;
  MQLONG CodedCharSetId;
};

// Brings data to the wanted form and says so in the descriptor. `converted` stays empty when the data already has it.
// MQRC_NOT_CONVERTED or MQRC_FORMAT_ERROR when it cannot be done; descriptor and data then stay as they are.
MQLONG ConvertMessage(const DataForm& target, MQMD& descriptor, std::span<const std::uint8_t> data,
                      std::vector<std::uint8_t>& converted);

}  // namespace localmq
