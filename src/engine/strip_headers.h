#pragma once

// Taking the headers off that a message got on its way (-h).

#include "files/current_message.h"

// A dead-letter header, then a transmission-queue header are taken off, and the descriptor says again what it said of
// the message inside. A message that is too short for the header its format announces has none.
void StripHeaders(CurrentMessage& message);
