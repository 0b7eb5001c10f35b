#pragma once

// The EBCDIC code pages, and turning a descriptor from another machine into this machine's form.

#include <cstddef>

#include "mq/mqi.h"

bool IsEbcdicCcsid(MQLONG ccsid);

// One EBCDIC byte as ASCII; '.' for every byte without a counterpart.
char EbcdicToAscii(unsigned char byte);
// One ASCII byte as EBCDIC, for search strings.
unsigned char AsciiToEbcdic(unsigned char byte);

// Converts the version-1 part of a descriptor in place.
void ConvertDescriptor(MQMD& descriptor, bool integersBigEndian, bool textsEbcdic);
