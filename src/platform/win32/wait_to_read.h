#pragma once

#include <windows.h>

// Waits until a read from this console, pipe or file would not wait. False when an interrupt came first.
bool WaitToRead(HANDLE input);
