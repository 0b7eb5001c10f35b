#pragma once

// SQL92 message selectors, as the published interface defines them:
//
//   Root.MQMD.Priority BETWEEN 4 AND 9 AND (Colour IN ('red', 'blue') OR Weight * 2 > 1.5E3) AND NOT Name LIKE 'A\_%'
//   ESCAPE '\'
//
// Logic is three-valued: a property that a message does not have is NULL, what is computed from it is unknown, and only
// messages for which the whole selector is true are selected. Texts, booleans and byte strings ("0x0AFC") compare by =
// and <> only; a comparison of values of different types is false.

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "localmq/properties.h"
#include "mq/mqi.h"

namespace localmq {

class Selector {
 public:
  // Compiles a selector; one of blanks only selects every message. Returns MQRC_SELECTOR_SYNTAX_ERROR, or
  // MQRC_SELECTION_STRING_ERROR when the text is longer than 10240 bytes; `selector` is then left alone.
  static MQLONG Compile(std::string_view text, std::unique_ptr<Selector>& selector);

  bool Matches(const MQMD& md, std::span<const std::uint8_t> data) const;

 private:
  friend class SelectorParser;

  // The selector is kept in postfix form and run on a stack of values, so that its evaluation needs no recursion.
  // Logical results are kBoolean values, with null for "unknown".
  enum class Operation {
    kLiteral,   // pushes Literals[Operand]
    kField,     // pushes a descriptor field
    kProperty,  // pushes a property of the name Literals[Operand]
    kAnd,
    kOr,
    kNot,
    kEqual,
    kNotEqual,
    kLess,
    kLessOrEqual,
    kGreater,
    kGreaterOrEqual,
    kBetween,  // value, low, high
    kIn,       // value, then Operand list members
    kLike,     // value; the pattern is Patterns[Operand]
    kIsNull,
    kAdd,
    kSubtract,
    kMultiply,
    kDivide,
    kNegate,
  };
  struct Instruction {
    Operation Code;
    std::size_t Operand{0};
    const DescriptorProperty* Field{nullptr};
  };
  // A LIKE pattern: one element a character of the pattern.
  struct PatternElement {
    enum class Kind { kByte, kAnyCharacter, kAnyRun };
    Kind Type;
    char Byte{0};
  };
  using Pattern = std::vector<PatternElement>;

  static PropertyValue Compare(Operation code, const PropertyValue& left, const PropertyValue& right);
  static PropertyValue Compute(Operation code, const PropertyValue& left, const PropertyValue& right);
  static bool Like(const Pattern& pattern, std::string_view text);

  std::vector<Instruction> program_;
  std::vector<PropertyValue> literals_;
  std::vector<std::unique_ptr<std::string>> texts_;  // what the literals point to
  std::vector<Pattern> patterns_;
};

}  // namespace localmq
