#pragma once

// How a step ended: a reason code, 0 when it went well, and what the user is told of a failure.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "common/text.h"

// The text of a failure on its way to the end of the run.
struct FailureText : Text<711> {
  void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
};

class [[nodiscard]] Result {
 public:
  Result() = default;
  // A failure that has been told already, or that its caller tells.
  Result(std::int32_t reason) : reason_(reason) {}  // NOLINT(google-explicit-constructor): a reason is a result
  // A text is cut to the 711 characters that a message has.
  Result(std::int32_t reason, std::string_view text)
      : reason_(reason), text_(std::make_unique<std::string>(text.substr(0, WholeCharacters(text, kLongestText)))) {}

  std::int32_t reason() const { return reason_; }
  bool failed() const { return reason_ != 0; }
  // Empty when there is none.
  std::string_view text() const { return text_ != nullptr ? std::string_view(*text_) : std::string_view(); }

  static constexpr std::size_t kLongestText = 711;

 private:
  std::int32_t reason_ = 0;
  std::unique_ptr<std::string> text_;  // steps that go well, which is every message, have none
};
