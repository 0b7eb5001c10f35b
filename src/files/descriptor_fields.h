#pragma once

// The one table of message descriptor fields. It drives the writer, the reader, the dump reader and the self-test; no
// other place repeats a tag, a width or a place.

#include <cstddef>
#include <string_view>

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
  // A string field's second tag: every byte in hex. It follows the plain line of a value that the plain line alone
  // would not bring back.
  char ExactTag[4];
};

// In the order of the lines in a file; ends with a row of kind End.
extern const DescriptorField DescriptorFields[];

// No more bytes than this are needed for the lines of any descriptor.
std::size_t LongestDescriptor();

// The field that a line's tag names, and how its value is written: Hex for an exact tag, else the field's own kind.
struct TaggedField {
  const DescriptorField* Field = nullptr;  // null: no such tag
  FieldKind Kind = FieldKind::End;
};
// Looks from the row behind `previous` on (null: from the first) and then from the start, because lines mostly stand in
// the order of the table.
TaggedField FindByTag(std::string_view tag, const DescriptorField* previous);
// The first row with that long name, or null.
const DescriptorField* FindByLongName(std::string_view name);
