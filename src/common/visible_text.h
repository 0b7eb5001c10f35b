#pragma once

// What a message, a file, a reply or an argument holds must not steer the terminal on which it is shown.

#include <cstddef>
#include <string>
#include <string_view>

// `data` with a dot in place of each byte that steers a terminal: control characters but tab and line end (a carriage
// return counts as one in front of a line feed), delete, and the controls from 0x80 to 0x9F, as bytes that are no UTF-8
// and as characters of it. All other bytes stay, so the length does too.
std::string VisibleText(std::string_view data);

// How many bytes of `text` are kept where at most `limit` fit: no UTF-8 character is torn.
std::size_t WholeCharacters(std::string_view text, std::size_t limit);
