#pragma once

// The command server: what answers the requests in programmable command format (PCF) that programs put on the queue
// manager's command queue. It knows Inquire Queue and Inquire Queue Status; other commands are refused as the published
// format says. Requests come from outside: every length in them is checked.

#include <cstdint>
#include <span>
#include <vector>

#include "localmq/store.h"
#include "mq/mqi.h"

namespace localmq {

// The replies to a request, in order, each a whole PCF message in native encoding. The last one carries MQCFC_LAST. A
// request that fails gets a reply with the reason and then one with MQRCCF_COMMAND_FAILED.
//
// There is no reply at all to what is no request message, nor while the queue manager's command server is off (its
// attribute CMDSERV is NO). Must be called outside any transaction of `store`.
std::vector<std::vector<std::uint8_t>> AnswerCommand(Store& store, std::span<const std::uint8_t> request,
                                                     const MQMD& md);

}  // namespace localmq
