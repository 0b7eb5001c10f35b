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
  Result(std::int32_t reason) {  // NOLINT(google-explicit-constructor): a reason is a result
    if (reason != 0) end_ = std::make_unique<End>(End{reason, {}});
  }
  // A text is cut to the 711 characters that a message has.
  Result(std::int32_t reason, std::string_view text)
      : end_(std::make_unique<End>(End{reason, std::string(text.substr(0, WholeCharacters(text, kLongestText)))})) {}

  std::int32_t reason() const { return end_ != nullptr ? end_->Reason : 0; }
  bool failed() const { return reason() != 0; }
  // Empty when there is none.
  std::string_view text() const { return end_ != nullptr ? std::string_view(end_->Text) : std::string_view(); }

  // Adds how a later step ended: what failed first stays, and the first text that there is.
  void Add(Result later) {
    if (end_ == nullptr || later.end_ == nullptr) {
      if (end_ == nullptr) end_ = std::move(later.end_);
      return;
    }
    if (end_->Reason == 0) end_->Reason = later.end_->Reason;
    if (end_->Text.empty()) end_->Text = std::move(later.end_->Text);
  }

  static constexpr std::size_t kLongestText = 711;

 private:
  struct End {
    std::int32_t Reason;
    std::string Text;
  };
  std::unique_ptr<End> end_;  // steps that go well, which is every message, have none
};
