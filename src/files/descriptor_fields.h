#pragma once

// The one table of message descriptor fields. It drives the writer, the reader, the dump reader and the self-test; no
// other place repeats a tag, a width or a place.

#include <cstddef>

#include "mq/mqi.h"

enum class FieldKind { End = 0, Integer, String, Hex };
enum class FieldCondition { Always, OnlyAsCharacters, OnlyAsHex };  // -dc, or its absence

struct DescriptorField {
  FieldKind Kind;
  std::size_t Offset;  // in MQMD
  std::size_t Length;  // bytes
  MQLONG MinVersion;   // written only when the descriptor's Version is at least this; 0 for every version
  char Tag[4];         // empty: never written, never matched by tag
  const char* LongName;
  FieldCondition Condition;
};

// In the order of the lines in a file; ends with a row of kind End.
extern const DescriptorField DescriptorFields[];
