#pragma once

// Deciding which messages go to the target, and the two wildcard matchers that other rooms use too.

#include <string_view>

#include "mq/mqi.h"
#include "mq/put_time.h"

struct Parameters;

// Whether the message in hand meets every criterion (the inversion is the caller's). Looks only at delivered bytes.
bool SelectMessage(Parameters& run);

// Puts the range into its final form: "first n" starts at 1, bounds in order.
void NormaliseRange(Parameters& run);

// '*' matches any run, '?' one character. Case counts in the first; the second compares in upper case, and answers no
// for a '*' that is not the mask's last character once the text is used up. The time grows with the product of the
// lengths at most, however many stars a mask has.
bool WildcardMatch(std::string_view text, std::string_view mask);
bool WildcardMatchNoCase(std::string_view text, std::string_view mask);
