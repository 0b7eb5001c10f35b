#pragma once

// The option of the run because of which an MQ call failed, for the user who gave it. A connect and the opening of the
// output queues, which know only their own options, tell of those themselves.

#include <string>
#include <string_view>

#include "mq/mqi.h"
#include "options/options.h"

// What a call was made for.
enum class MqStep { OpenInput, Get, Put };

// A text about the option; empty where no single option is behind the failure.
std::string_view OptionBehind(const Options& asked, MqStep step, MQLONG reason);
// The same on a line of its own, to stand below the text of the failure: a line end and the text, or nothing.
std::string OptionLine(const Options& asked, MqStep step, MQLONG reason);
