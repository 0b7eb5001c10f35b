#pragma once

// Names against masks.

#include <string_view>

// '*' matches any run, '?' one character. Case counts in the first; the second compares in upper case, and answers no
// for a '*' that is not the mask's last character once the text is used up. The time grows with the product of the
// lengths at most, however many stars a mask has.
bool WildcardMatch(std::string_view text, std::string_view mask);
bool WildcardMatchNoCase(std::string_view text, std::string_view mask);
