#pragma once

// Texts of reason, PCF reason and feedback codes, and the one-line report of an MQ call. The dictionary is made from
// reasons.tsv; where a value stands more than once, its first row is the one shown.

#include <optional>
#include <string_view>

#include "mq/mqi.h"

class Console;

// Never null; empty when the code is unknown.
const char* ReasonText(MQLONG reason);

// The code of a constant's name ("MQRC_Q_FULL"), whatever the case of its letters.
std::optional<MQLONG> ReasonNamed(std::string_view name);

// One line on standard error: the call, "on qmgr '...'" / "on object '...'" as far as given (names end at their first
// blank, at most 48 characters), "returned %d", the reason's text, a full stop. Safe from any thread.
void ReportMqCall(Console& screen, std::string_view call, std::string_view qmgr, std::string_view object,
                  MQLONG reason);
