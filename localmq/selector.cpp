#include "localmq/selector.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>

namespace localmq {
namespace {

constexpr std::size_t kLongestSelector = 10240;
// Parentheses, NOT and signs may be nested this deep; the parser's stack is bounded by it.
constexpr int kDeepestNesting = 200;

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '$' ||
         (static_cast<std::uint8_t>(c) & 0x80U);
}
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

enum class TokenKind { kEnd, kError, kWord, kKeyword, kSymbol, kText, kBytes, kInteger, kFloat };

struct Token {
  TokenKind Kind{TokenKind::kEnd};
  std::string_view Name{};  // a word as written, a keyword in upper case, a symbol
  std::string Text{};       // the value of a text or byte string
  std::int64_t Integer{0};
  double Float{0};
};

constexpr std::string_view kKeywords[] = {"AND", "OR",     "NOT",  "BETWEEN", "IN",   "LIKE",
                                          "IS",  "ESCAPE", "NULL", "TRUE",    "FALSE"};
constexpr std::string_view kSymbols[] = {"<>", "<=", ">=", "=", "<", ">", "(", ")", ",", "+", "-", "*", "/"};

class Lexer {
 public:
  explicit Lexer(std::string_view text) : text_(text) {}

  Token Next() {
    while (!text_.empty() && (text_[0] == ' ' || (text_[0] >= '\t' && text_[0] <= '\r'))) text_.remove_prefix(1);
    if (text_.empty()) return {};
    const char c = text_[0];
    if (c == '\'') return Quoted();
    if (c == '"') return ByteString();
    if (IsDigit(c) || (c == '.' && text_.size() > 1 && IsDigit(text_[1]))) return Number();
    if (IsLetter(c)) return Word();
    for (const std::string_view symbol : kSymbols) {
      if (text_.starts_with(symbol)) {
        text_.remove_prefix(symbol.size());
        return {.Kind = TokenKind::kSymbol, .Name = symbol};
      }
    }
    return Error();
  }

 private:
  static Token Error() { return {.Kind = TokenKind::kError}; }

  std::string_view Take(std::size_t n) {
    const std::string_view taken = text_.substr(0, n);
    text_.remove_prefix(n);
    return taken;
  }

  // 'text', with '' for a quote inside.
  Token Quoted() {
    Token token{.Kind = TokenKind::kText};
    text_.remove_prefix(1);
    for (;;) {
      const std::size_t quote = text_.find('\'');
      if (quote == std::string_view::npos) return Error();
      token.Text += Take(quote);
      text_.remove_prefix(1);
      if (!text_.starts_with('\'')) return token;
      token.Text += Take(1);
    }
  }

  // "0x0AFC23"
  Token ByteString() {
    text_.remove_prefix(1);
    const std::size_t quote = text_.find('"');
    if (quote == std::string_view::npos) return Error();
    const std::string_view inside = Take(quote);
    text_.remove_prefix(1);
    Token token{.Kind = TokenKind::kBytes};
    if (!inside.starts_with("0x") && !inside.starts_with("0X")) return Error();
    return DecodeHex(inside.substr(2), token.Text) ? token : Error();
  }

  Token Word() {
    std::size_t n = 1;
    while (n < text_.size() && (IsLetter(text_[n]) || IsDigit(text_[n]) || text_[n] == '.')) ++n;
    const std::string_view word = Take(n);
    for (const std::string_view keyword : kKeywords) {
      if (std::ranges::equal(word, keyword, {}, Upper)) return {.Kind = TokenKind::kKeyword, .Name = keyword};
    }
    if (word.ends_with('.') || word.find("..") != std::string_view::npos) return Error();
    return {.Kind = TokenKind::kWord, .Name = word};
  }

  // 57, 057 (octal), 0x39, 57L, 7., .5, 1.5E-3, 7D. An integer beyond 64 bits becomes approximate.
  Token Number() {
    std::size_t n = 0;
    int base = 10;
    if (text_.starts_with("0x") || text_.starts_with("0X")) {
      text_.remove_prefix(2);
      base = 16;
      while (n < text_.size() && std::isxdigit(static_cast<unsigned char>(text_[n]))) ++n;
      if (n == 0) return Error();
    } else {
      const auto digits = [&] {
        while (n < text_.size() && IsDigit(text_[n])) ++n;
      };
      digits();
      bool exact = true;
      if (n < text_.size() && text_[n] == '.') {
        exact = false;
        ++n;
        digits();
      }
      if (n < text_.size() && Upper(text_[n]) == 'E') {
        exact = false;
        ++n;
        if (n < text_.size() && (text_[n] == '+' || text_[n] == '-')) ++n;
        if (n == text_.size() || !IsDigit(text_[n])) return Error();
        digits();
      }
      const bool suffixed = n < text_.size() && (Upper(text_[n]) == 'D' || Upper(text_[n]) == 'F');
      if (!exact || suffixed) return Approximate(n, suffixed);
      if (n > 1 && text_[0] == '0') base = 8;
    }
    Token token{.Kind = TokenKind::kInteger};
    const auto [end, error] = std::from_chars(text_.data(), text_.data() + n, token.Integer, base);
    if (end != text_.data() + n) return Error();
    if (error == std::errc::result_out_of_range) return base == 10 ? Approximate(n, false) : Error();
    text_.remove_prefix(n);
    if (!text_.empty() && Upper(text_[0]) == 'L') text_.remove_prefix(1);
    return EndsHere() ? token : Error();
  }

  Token Approximate(std::size_t n, bool suffixed) {
    Token token{.Kind = TokenKind::kFloat};
    const auto [end, error] = std::from_chars(text_.data(), text_.data() + n, token.Float);
    if (error != std::errc{} || end != text_.data() + n) return Error();
    text_.remove_prefix(n + (suffixed ? 1 : 0));
    return EndsHere() ? token : Error();
  }

  bool EndsHere() const { return text_.empty() || (!IsLetter(text_[0]) && !IsDigit(text_[0]) && text_[0] != '.'); }

  std::string_view text_;
};

// The number of bytes of the UTF-8 character at the start of a text that is not empty; 1 where it is none.
std::size_t CharacterLength(std::string_view text) {
  const auto first = static_cast<std::uint8_t>(text[0]);
  const std::size_t length = first < 0xC0 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  for (std::size_t i = 1; i < length; ++i) {
    if (i == text.size() || (static_cast<std::uint8_t>(text[i]) & 0xC0U) != 0x80U) return 1;
  }
  return length;
}

std::string_view WithoutTrailingBlanks(std::string_view text) {
  while (text.ends_with(' ')) text.remove_suffix(1);
  return text;
}

double AsFloat(const PropertyValue& value) {
  return value.Type == PropertyValue::Kind::kFloat ? value.Float : static_cast<double>(value.Integer);
}

}  // namespace

// Recursive descent over the grammar, emitting the postfix form. Each function returns the type that its part has as
// far as the text tells it, or kWrong after an error; an identifier may be of any type.
class SelectorParser {
 public:
  SelectorParser(std::string_view text, Selector& selector) : lexer_(text), selector_(selector) { Advance(); }

  bool Parse() {
    if (token_.Kind == TokenKind::kEnd) return true;
    return IsLogical(Disjunction()) && token_.Kind == TokenKind::kEnd;
  }

 private:
  using Operation = Selector::Operation;
  enum class Type { kWrong, kAny, kBoolean, kNumber, kText, kBytes };

  static bool IsLogical(Type type) { return type == Type::kBoolean || type == Type::kAny; }
  static bool IsNumeric(Type type) { return type == Type::kNumber || type == Type::kAny; }
  static bool CanCompare(Type a, Type b) { return a == b || a == Type::kAny || b == Type::kAny; }

  void Advance() { token_ = lexer_.Next(); }
  bool At(TokenKind kind, std::string_view name) const { return token_.Kind == kind && token_.Name == name; }
  bool TakeKeyword(std::string_view name) { return Take(TokenKind::kKeyword, name); }
  bool TakeSymbol(std::string_view name) { return Take(TokenKind::kSymbol, name); }
  bool Take(TokenKind kind, std::string_view name) {
    if (!At(kind, name)) return false;
    Advance();
    return true;
  }
  void Emit(Operation code, std::size_t operand = 0) { selector_.program_.push_back({code, operand, nullptr}); }

  Type Disjunction() {
    Type type = Conjunction();
    while (TakeKeyword("OR")) type = Logical(Operation::kOr, type, Conjunction());
    return type;
  }

  Type Conjunction() {
    Type type = Negation();
    while (TakeKeyword("AND")) type = Logical(Operation::kAnd, type, Negation());
    return type;
  }

  Type Logical(Operation code, Type left, Type right) {
    if (!IsLogical(left) || !IsLogical(right)) return Type::kWrong;
    Emit(code);
    return Type::kBoolean;
  }

  Type Negation() {
    bool negated = false;
    bool any = false;
    while (TakeKeyword("NOT")) {
      any = true;
      negated = !negated;
    }
    const Type type = Predicate();
    if (!any) return type;
    if (!IsLogical(type)) return Type::kWrong;
    if (negated) Emit(Operation::kNot);
    return Type::kBoolean;
  }

  Type Predicate() {
    struct Comparison {
      std::string_view Symbol;
      Operation Code;
      bool Orders;
    };
    constexpr Comparison kComparisons[] = {
        {"=", Operation::kEqual, false},  {"<>", Operation::kNotEqual, false},
        {"<", Operation::kLess, true},    {"<=", Operation::kLessOrEqual, true},
        {">", Operation::kGreater, true}, {">=", Operation::kGreaterOrEqual, true},
    };
    const Type left = Sum();
    if (left == Type::kWrong) return left;
    for (const Comparison& comparison : kComparisons) {
      if (!TakeSymbol(comparison.Symbol)) continue;
      const Type right = Sum();
      if (right == Type::kWrong || !CanCompare(left, right)) return Type::kWrong;
      if (comparison.Orders && !(IsNumeric(left) && IsNumeric(right))) return Type::kWrong;
      Emit(comparison.Code);
      return Type::kBoolean;
    }
    if (TakeKeyword("IS")) {
      const bool negated = TakeKeyword("NOT");
      if (left != Type::kAny || !TakeKeyword("NULL")) return Type::kWrong;
      return Finish(Operation::kIsNull, 0, negated);
    }
    const bool negated = TakeKeyword("NOT");
    if (TakeKeyword("BETWEEN")) {
      const Type low = Sum();
      if (!TakeKeyword("AND")) return Type::kWrong;
      const Type high = Sum();
      if (!IsNumeric(left) || !IsNumeric(low) || !IsNumeric(high)) return Type::kWrong;
      return Finish(Operation::kBetween, 0, negated);
    }
    if (TakeKeyword("IN")) return left == Type::kAny ? In(negated) : Type::kWrong;
    if (TakeKeyword("LIKE")) return left == Type::kAny ? Like(negated) : Type::kWrong;
    return negated ? Type::kWrong : left;
  }

  Type Finish(Operation code, std::size_t operand, bool negated) {
    Emit(code, operand);
    if (negated) Emit(Operation::kNot);
    return Type::kBoolean;
  }

  Type In(bool negated) {
    if (!TakeSymbol("(")) return Type::kWrong;
    std::size_t members = 0;
    do {
      const bool negative = TakeSymbol("-");
      const Type member = Literal();
      if (member == Type::kWrong || (negative && member != Type::kNumber)) return Type::kWrong;
      if (negative) Emit(Operation::kNegate);
      ++members;
    } while (TakeSymbol(","));
    return TakeSymbol(")") ? Finish(Operation::kIn, members, negated) : Type::kWrong;
  }

  Type Like(bool negated) {
    using Element = Selector::PatternElement;
    if (token_.Kind != TokenKind::kText) return Type::kWrong;
    const std::string text = token_.Text;
    Advance();
    std::optional<char> escape;
    if (TakeKeyword("ESCAPE")) {
      if (token_.Kind != TokenKind::kText || token_.Text.size() != 1) return Type::kWrong;
      escape = token_.Text[0];
      Advance();
    }
    Selector::Pattern pattern;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text[i] == escape) {
        if (++i == text.size()) return Type::kWrong;
        pattern.push_back({Element::Kind::kByte, text[i]});
      } else if (text[i] == '_') {
        pattern.push_back({Element::Kind::kAnyCharacter});
      } else if (text[i] != '%') {
        pattern.push_back({Element::Kind::kByte, text[i]});
      } else if (pattern.empty() || pattern.back().Type != Element::Kind::kAnyRun) {
        pattern.push_back({Element::Kind::kAnyRun});
      }
    }
    selector_.patterns_.push_back(std::move(pattern));
    return Finish(Operation::kLike, selector_.patterns_.size() - 1, negated);
  }

  Type Sum() {
    Type type = Product();
    for (;;) {
      if (TakeSymbol("+")) {
        type = Arithmetic(Operation::kAdd, type, Product());
      } else if (TakeSymbol("-")) {
        type = Arithmetic(Operation::kSubtract, type, Product());
      } else {
        return type;
      }
    }
  }

  Type Product() {
    Type type = Signed();
    for (;;) {
      if (TakeSymbol("*")) {
        type = Arithmetic(Operation::kMultiply, type, Signed());
      } else if (TakeSymbol("/")) {
        type = Arithmetic(Operation::kDivide, type, Signed());
      } else {
        return type;
      }
    }
  }

  Type Arithmetic(Operation code, Type left, Type right) {
    if (!IsNumeric(left) || !IsNumeric(right)) return Type::kWrong;
    Emit(code);
    return Type::kNumber;
  }

  Type Signed() {
    bool negative = false;
    bool any = false;
    for (;;) {
      if (TakeSymbol("-")) {
        negative = !negative;
      } else if (!TakeSymbol("+")) {
        break;
      }
      any = true;
    }
    const Type type = Primary();
    if (!any) return type;
    if (!IsNumeric(type)) return Type::kWrong;
    if (negative) Emit(Operation::kNegate);
    return Type::kNumber;
  }

  Type Primary() {
    if (TakeSymbol("(")) {
      if (++nesting_ > kDeepestNesting) return Type::kWrong;
      const Type type = Disjunction();
      --nesting_;
      return TakeSymbol(")") ? type : Type::kWrong;
    }
    if (token_.Kind != TokenKind::kWord) return Literal();
    const DescriptorProperty* field = FindDescriptorProperty(token_.Name);
    if (field == nullptr && token_.Name.starts_with("Root.")) return Type::kWrong;
    if (field != nullptr) {
      selector_.program_.push_back({Operation::kField, 0, field});
    } else {
      EmitText(Operation::kProperty, PropertyValue::OfText({}), std::string(token_.Name));
    }
    Advance();
    return Type::kAny;
  }

  Type Literal() {
    Type type = Type::kWrong;
    if (token_.Kind == TokenKind::kInteger) {
      type = EmitLiteral(PropertyValue::OfInteger(token_.Integer), Type::kNumber);
    } else if (token_.Kind == TokenKind::kFloat) {
      type = EmitLiteral(PropertyValue::OfFloat(token_.Float), Type::kNumber);
    } else if (token_.Kind == TokenKind::kText) {
      type = EmitText(Operation::kLiteral, PropertyValue::OfText({}), token_.Text, Type::kText);
    } else if (token_.Kind == TokenKind::kBytes) {
      type = EmitText(Operation::kLiteral, PropertyValue::OfBytes({}), token_.Text, Type::kBytes);
    } else if (At(TokenKind::kKeyword, "TRUE") || At(TokenKind::kKeyword, "FALSE")) {
      type = EmitLiteral(PropertyValue::OfBoolean(token_.Name == "TRUE"), Type::kBoolean);
    }
    if (type != Type::kWrong) Advance();
    return type;
  }

  Type EmitLiteral(const PropertyValue& value, Type type) {
    selector_.literals_.push_back(value);
    Emit(Operation::kLiteral, selector_.literals_.size() - 1);
    return type;
  }

  Type EmitText(Operation code, PropertyValue value, std::string text, Type type = Type::kAny) {
    selector_.texts_.push_back(std::make_unique<std::string>(std::move(text)));
    value.Text = *selector_.texts_.back();
    selector_.literals_.push_back(value);
    Emit(code, selector_.literals_.size() - 1);
    return type;
  }

  Lexer lexer_;
  Selector& selector_;
  Token token_;
  int nesting_{0};
};

MQLONG Selector::Compile(std::string_view text, std::unique_ptr<Selector>& selector) {
  if (text.size() > kLongestSelector) return MQRC_SELECTION_STRING_ERROR;
  auto compiled = std::make_unique<Selector>();
  if (!SelectorParser(text, *compiled).Parse()) return MQRC_SELECTOR_SYNTAX_ERROR;
  selector = std::move(compiled);
  return MQRC_NONE;
}

bool Selector::Matches(const MQMD& md, std::span<const std::uint8_t> data) const {
  if (program_.empty()) return true;
  MessageProperties properties(md, data);
  std::vector<PropertyValue> stack;
  const auto pop = [&stack] {
    const PropertyValue value = stack.back();
    stack.pop_back();
    return value;
  };
  for (const Instruction& instruction : program_) {
    PropertyValue result;
    switch (instruction.Code) {
      case Operation::kLiteral:
        result = literals_[instruction.Operand];
        break;
      case Operation::kField:
        result = properties.Field(*instruction.Field);
        break;
      case Operation::kProperty:
        result = properties.Find(literals_[instruction.Operand].Text);
        break;
      case Operation::kAnd:
      case Operation::kOr: {
        // One operand decides alone (false for AND, true for OR); else an unknown one makes the result unknown.
        const bool decisive = instruction.Code == Operation::kOr;
        const PropertyValue right = pop();
        const PropertyValue left = pop();
        const auto is = [](const PropertyValue& value, bool wanted) {
          return value.Type == PropertyValue::Kind::kBoolean && value.Boolean == wanted;
        };
        if (is(left, decisive) || is(right, decisive)) {
          result = PropertyValue::OfBoolean(decisive);
        } else if (is(left, !decisive) && is(right, !decisive)) {
          result = PropertyValue::OfBoolean(!decisive);
        }
        break;
      }
      case Operation::kNot: {
        const PropertyValue value = pop();
        if (value.Type == PropertyValue::Kind::kBoolean) result = PropertyValue::OfBoolean(!value.Boolean);
        break;
      }
      case Operation::kEqual:
      case Operation::kNotEqual:
      case Operation::kLess:
      case Operation::kLessOrEqual:
      case Operation::kGreater:
      case Operation::kGreaterOrEqual: {
        const PropertyValue right = pop();
        result = Compare(instruction.Code, pop(), right);
        break;
      }
      case Operation::kBetween: {
        const PropertyValue notAbove = Compare(Operation::kLessOrEqual, stack[stack.size() - 3], stack.back());
        const PropertyValue notBelow =
            Compare(Operation::kGreaterOrEqual, stack[stack.size() - 3], stack[stack.size() - 2]);
        stack.resize(stack.size() - 3);
        const bool no = (!notAbove.IsNull() && !notAbove.Boolean) || (!notBelow.IsNull() && !notBelow.Boolean);
        if (no || (!notAbove.IsNull() && !notBelow.IsNull())) result = PropertyValue::OfBoolean(!no);
        break;
      }
      case Operation::kIn: {
        const std::size_t at = stack.size() - instruction.Operand - 1;
        if (!stack[at].IsNull()) {
          result = PropertyValue::OfBoolean(false);
          for (std::size_t i = at + 1; i < stack.size(); ++i) {
            if (Compare(Operation::kEqual, stack[at], stack[i]).Boolean) result.Boolean = true;
          }
        }
        stack.resize(at);
        break;
      }
      case Operation::kLike: {
        const PropertyValue value = pop();
        if (value.IsNull()) break;
        result = PropertyValue::OfBoolean(value.Type == PropertyValue::Kind::kText &&
                                          Like(patterns_[instruction.Operand], value.Text));
        break;
      }
      case Operation::kIsNull:
        result = PropertyValue::OfBoolean(pop().IsNull());
        break;
      case Operation::kNegate:
        result = Compute(Operation::kSubtract, PropertyValue::OfInteger(0), pop());
        break;
      case Operation::kAdd:
      case Operation::kSubtract:
      case Operation::kMultiply:
      case Operation::kDivide: {
        const PropertyValue right = pop();
        result = Compute(instruction.Code, pop(), right);
        break;
      }
    }
    stack.push_back(result);
  }
  return stack.back().Type == PropertyValue::Kind::kBoolean && stack.back().Boolean;
}

PropertyValue Selector::Compare(Operation code, const PropertyValue& left, const PropertyValue& right) {
  if (left.IsNull() || right.IsNull()) return {};
  const auto decide = [code](auto a, auto b) {
    switch (code) {
      case Operation::kEqual:
        return a == b;
      case Operation::kNotEqual:
        return a != b;
      case Operation::kLess:
        return a < b;
      case Operation::kLessOrEqual:
        return a <= b;
      case Operation::kGreater:
        return a > b;
      default:
        return a >= b;
    }
  };
  if (left.IsNumber() && right.IsNumber()) {
    if (left.Type == right.Type && left.Type == PropertyValue::Kind::kInteger) {
      return PropertyValue::OfBoolean(decide(left.Integer, right.Integer));
    }
    return PropertyValue::OfBoolean(decide(AsFloat(left), AsFloat(right)));
  }
  if (left.Type != right.Type || (code != Operation::kEqual && code != Operation::kNotEqual)) {
    return PropertyValue::OfBoolean(false);
  }
  if (left.Type == PropertyValue::Kind::kBoolean) return PropertyValue::OfBoolean(decide(left.Boolean, right.Boolean));
  if (left.Padded || right.Padded) {
    return PropertyValue::OfBoolean(decide(WithoutTrailingBlanks(left.Text), WithoutTrailingBlanks(right.Text)));
  }
  return PropertyValue::OfBoolean(decide(left.Text, right.Text));
}

// Integers stay exact while the result fits 64 bits. What is not a number, and a division by zero, gives null.
PropertyValue Selector::Compute(Operation code, const PropertyValue& left, const PropertyValue& right) {
  if (!left.IsNumber() || !right.IsNumber()) return {};
  if (left.Type == right.Type && left.Type == PropertyValue::Kind::kInteger) {
    const std::int64_t a = left.Integer;
    const std::int64_t b = right.Integer;
    std::int64_t exact = 0;
    if (code == Operation::kDivide && b == 0) return {};
    const bool fits = code == Operation::kAdd        ? !__builtin_add_overflow(a, b, &exact)
                      : code == Operation::kSubtract ? !__builtin_sub_overflow(a, b, &exact)
                      : code == Operation::kMultiply ? !__builtin_mul_overflow(a, b, &exact)
                                                     : b != -1;
    if (code == Operation::kDivide && fits) exact = a / b;
    if (fits) return PropertyValue::OfInteger(exact);
  }
  const double a = AsFloat(left);
  const double b = AsFloat(right);
  switch (code) {
    case Operation::kAdd:
      return PropertyValue::OfFloat(a + b);
    case Operation::kSubtract:
      return PropertyValue::OfFloat(a - b);
    case Operation::kMultiply:
      return PropertyValue::OfFloat(a * b);
    default:
      return b == 0 ? PropertyValue{} : PropertyValue::OfFloat(a / b);
  }
}

// Goes back only to the latest "%", so the time is at most the product of the two lengths.
bool Selector::Like(const Pattern& pattern, std::string_view text) {
  using Kind = PatternElement::Kind;
  std::size_t p = 0;
  std::size_t t = 0;
  std::optional<std::size_t> run;  // the element behind the latest "%"
  std::size_t runText = 0;         // where its attempt began in the text
  while (t < text.size() || p < pattern.size()) {
    if (p < pattern.size() && pattern[p].Type == Kind::kAnyRun) {
      run = ++p;
      runText = t;
      continue;
    }
    if (p < pattern.size() && t < text.size()) {
      if (pattern[p].Type == Kind::kAnyCharacter) {
        t += CharacterLength(text.substr(t));
        ++p;
        continue;
      }
      if (pattern[p].Byte == text[t]) {
        ++t;
        ++p;
        continue;
      }
    }
    if (!run || runText == text.size()) return false;
    runText += CharacterLength(text.substr(runText));
    t = runText;
    p = *run;
  }
  return true;
}

}  // namespace localmq
