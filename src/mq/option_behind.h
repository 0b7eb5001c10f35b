#pragma once

// The option of the run because of which an MQ call failed, for the user who gave it.

#include <string>
#include <string_view>

#include "mq/mqi.h"

struct Parameters;

// What a call was made for.
enum class MqStep { ConnectUser, OpenInput, OpenOutput, Get, Put, Other };

// A line end and a line about the option, to stand below the text of the failure; empty where no single option is
// behind it.
std::string OptionBehind(const Parameters& run, MqStep step, MQLONG reason);

// ReportMqCall for a failed call, with that line below it.
void ReportFailedCall(Parameters& run, MqStep step, std::string_view call, std::string_view qmgr,
                      std::string_view object, MQLONG reason);
