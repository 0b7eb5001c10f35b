#pragma once

// The small languages of -T (ages and timestamps), -z (message sizes) and -L (limits of the output files). Every parser
// prints what is wrong and returns false; a field is only changed by a text that is right.

#include <cstdint>
#include <string_view>

#include "mq/mqi.h"

struct CommandLine;

// A whole -T, -z or -L argument. A message selection that is left without any bound is refused: a script that passes an
// empty variable means to restrict the line.
bool ParseTimeSelection(CommandLine& line, std::string_view text);
bool ParseSizeSelection(CommandLine& line, std::string_view text);
bool ParseFileLimit(CommandLine& line, std::string_view text);

// "[[DD:]HH:]MM", "14d", "2h" or "90m" into seconds. `label` names the bound in the refusal of a second value; an empty
// text sets nothing.
bool ParseAge(CommandLine& line, std::string_view text, const char* label, int& field);
// "[u][DD/MM/YYYY][_][HH:MM[:SS]]" into seconds since 1970; local time unless it starts with 'u'. Without a date it is
// the day on which the run started. What the calendar or the clock does not have is refused.
bool ParseTimestamp(CommandLine& line, std::string_view text, const char* label, std::int64_t& field);
// Numbers with the units B, K, M and G, added up, into bytes; a number of them that is not bytes may have
// decimals. An empty text sets nothing.
bool ParseSize(CommandLine& line, std::string_view text, const char* label, MQLONG& field);
