#pragma once

// What a message selector can ask a message for: its descriptor fields ("Root.MQMD.Priority", and the JMS names that
// stand for them) and the properties in an MQRFH2 header at the start of its data. A property of the "usr" folder goes
// by its bare name, one of another folder by "folder.name". Message data comes from outside: every length in it is
// checked, and a header that is not well formed simply has no (further) properties.
//
// Texts in values point into the descriptor, the data or the MessageProperties, and live as long as these.

#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mq/mqi.h"

namespace localmq {

struct PropertyValue {
  enum class Kind { kNull, kBoolean, kInteger, kFloat, kText, kBytes };

  Kind Type{Kind::kNull};
  bool Boolean{false};
  std::int64_t Integer{0};
  double Float{0};
  std::string_view Text{};  // kText, and the bytes of kBytes
  bool Padded{false};       // a fixed-width field, where trailing blanks mean nothing

  static PropertyValue OfBoolean(bool value) { return {.Type = Kind::kBoolean, .Boolean = value}; }
  static PropertyValue OfInteger(std::int64_t value) { return {.Type = Kind::kInteger, .Integer = value}; }
  static PropertyValue OfFloat(double value) { return {.Type = Kind::kFloat, .Float = value}; }
  static PropertyValue OfText(std::string_view value) { return {.Type = Kind::kText, .Text = value}; }
  static PropertyValue OfBytes(std::string_view value) { return {.Type = Kind::kBytes, .Text = value}; }
  bool IsNull() const { return Type == Kind::kNull; }
  bool IsNumber() const { return Type == Kind::kInteger || Type == Kind::kFloat; }
};

// A name that stands for a descriptor field, and how the field is shown.
struct DescriptorProperty;

// Null when `name` is not the name of a descriptor field.
const DescriptorProperty* FindDescriptorProperty(std::string_view name);

// Decodes pairs of hexadecimal digits; false when `digits` is anything else.
bool DecodeHex(std::string_view digits, std::string& bytes);

class MessageProperties {
 public:
  // Both must outlive this object. The data is looked at when the first property is asked for.
  MessageProperties(const MQMD& md, std::span<const std::uint8_t> data) : md_(md), data_(data) {}
  MessageProperties(const MessageProperties&) = delete;
  MessageProperties& operator=(const MessageProperties&) = delete;

  PropertyValue Field(const DescriptorProperty& field);
  // The first property of that name, or null.
  PropertyValue Find(std::string_view name);

 private:
  struct Property {
    std::string Name;
    PropertyValue Value;
  };

  void ParseHeader();
  void ParseFolder(std::string_view xml);
  PropertyValue TypedValue(std::string_view type, std::string_view text);
  std::string_view Keep(std::string text) { return kept_.emplace_back(std::move(text)); }

  const MQMD& md_;
  std::span<const std::uint8_t> data_;
  bool parsed_{false};
  std::vector<Property> properties_;
  std::deque<std::string> kept_;  // texts that had to be decoded
};

}  // namespace localmq
