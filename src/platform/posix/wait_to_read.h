#pragma once

// The waiting and reading of ReadUnlessInterrupted, for a file descriptor.

#include <cstddef>

// False after an error, with EINTR in errno when it was an interrupt.
bool WaitToRead(int fd);
std::ptrdiff_t ReadUnlessInterrupted(int fd, void* buffer, std::size_t bytes);
