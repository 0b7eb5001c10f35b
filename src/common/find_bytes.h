#pragma once

// Searching for a byte string in a block of memory at memory speed, on every system.

#include <cstddef>
#include <string_view>

// The position of the first occurrence of `wanted` in `data`, or npos. An empty `wanted` is found at 0. Looks at no
// byte outside `data`.
std::size_t FindBytes(std::string_view data, std::string_view wanted);
