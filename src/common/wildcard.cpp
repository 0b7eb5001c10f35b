#include "common/wildcard.h"

#include <cstddef>

namespace {

char UpperCase(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

// A mask on its way through a text. Only the last star passed needs to be taken up again: whatever an earlier star
// could still reach, the last one reaches too.
template <bool CaseCounts>
class Walk {
 public:
  Walk(std::string_view text, std::string_view mask) : text_(text), mask_(mask) {}

  bool Matches() {
    for (;;) {
      const Step step = Next();
      if (step == Step::Matched) return true;
      if (step == Step::Stuck && !TakeUpStar()) return false;
    }
  }

 private:
  enum class Step { GoOn, Stuck, Matched };

  bool TextEnded() const { return textAt_ == text_.size(); }
  bool MaskEnded() const { return maskAt_ == mask_.size(); }
  // A star is a wildcard at the start of the mask and behind another star; elsewhere it first stands for itself when
  // the text has a star there.
  bool AtWildcard() const {
    return !MaskEnded() && mask_[maskAt_] == '*' && (wildcardFirst_ || TextEnded() || text_[textAt_] != '*');
  }
  bool AtSameCharacter() const {
    if (TextEnded() || MaskEnded()) return false;
    const char a = text_[textAt_];
    const char b = mask_[maskAt_];
    return b == '?' || (CaseCounts ? a == b : UpperCase(a) == UpperCase(b));
  }

  Step Next() {
    if (AtWildcard()) return PassStar();
    if (!AtSameCharacter()) return TextEnded() && MaskEnded() ? Step::Matched : Step::Stuck;
    ++textAt_;
    ++maskAt_;
    wildcardFirst_ = false;
    return Step::GoOn;
  }

  Step PassStar() {
    if (maskAt_ + 1 == mask_.size()) return Step::Matched;
    if (!CaseCounts && TextEnded()) return Step::Stuck;
    star_ = maskAt_++;
    resume_ = textAt_;
    wildcardFirst_ = true;
    return Step::GoOn;
  }

  // Lets the last star stand for one character more.
  bool TakeUpStar() {
    if (star_ == std::string_view::npos || ++resume_ >= text_.size()) return false;
    textAt_ = resume_;
    maskAt_ = star_ + 1;
    wildcardFirst_ = true;
    return true;
  }

  std::string_view text_;
  std::string_view mask_;
  std::size_t textAt_ = 0;
  std::size_t maskAt_ = 0;
  std::size_t star_ = std::string_view::npos;  // the last star passed
  std::size_t resume_ = 0;                     // where in the text the mask behind it was tried last
  bool wildcardFirst_ = true;
};

}  // namespace

bool WildcardMatch(std::string_view text, std::string_view mask) { return Walk<true>(text, mask).Matches(); }
bool WildcardMatchNoCase(std::string_view text, std::string_view mask) { return Walk<false>(text, mask).Matches(); }
