#pragma once

// The reading of ReadUnlessInterrupted, for a file descriptor.

#include <cstddef>

std::ptrdiff_t ReadUnlessInterrupted(int fd, void* buffer, std::size_t bytes);
