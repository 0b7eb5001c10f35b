#pragma once

// Plain files: data that is not in the message file format, cut into messages at delimiters (or taken whole), with an
// optional block of message properties that becomes an MQRFH2 header. Messages are not copied: the message in hand
// points into the read buffer until the next one is read.

#include <string>
#include <string_view>

#include "mq/mqi.h"

struct Parameters;

// A delimiter as typed (at most 99 characters) and as the bytes that it stands for.
struct Delimiter {
  std::string Typed;
  std::string Bytes;
};

struct PlainFileState {
  Delimiter StartMessage, EndMessage, StartProperty, EndProperty;
  int MessagesFound = 0;           // preliminary count
  int MessagesWithProperties = 0;  // preliminary count
};

enum class PlainOptionResult { Ok, Refused, RefusedWithHelp };

// Reads one -n argument. Prints what is wrong with it.
PlainOptionResult ParseNonTarvoOptions(Parameters& run, char letter, std::string_view text);
