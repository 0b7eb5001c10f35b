#pragma once

// Deciding which messages go to the target, and the two wildcard matchers that other rooms use too.

#include <cstdint>
#include <string_view>

#include "mq/mqi.h"

struct Parameters;

struct SearchString {
  int Length = 0;  // bytes; 0: not in use
  char Text[100]{};
};

inline constexpr int kSearchStrings = 3;

// Whether the message in hand meets every criterion (the inversion is the caller's). Looks only at delivered bytes.
bool SelectMessage(Parameters& run);

// Puts the range into its final form: "first n" starts at 1, bounds in order.
void NormaliseRange(Parameters& run);

// '*' matches any run, '?' one character. Case counts in the first; the second compares in upper case, and answers no
// for a '*' that is not the mask's last character once the text is used up.
bool WildcardMatch(std::string_view text, std::string_view mask);
bool WildcardMatchNoCase(std::string_view text, std::string_view mask);

// An MQMD PutDate (8 characters) and PutTime (8 characters, hundredths ignored) as seconds since 1970; -1 when an
// argument is missing (null). A text that is no date gives a value not above 0.
std::int64_t PutTimeUtc(const char* putDate, const char* putTime);
std::int64_t PutTimeLocal(const char* putDate, const char* putTime);
