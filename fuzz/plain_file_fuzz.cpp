// Plain files: delimiters of any kind on any bytes. The first line of the input holds -n arguments, the rest is the
// file. The messages must be those that the rules give when they are followed word for word, which looks at most bytes
// many times.

#include <optional>
#include <vector>

#include "cmdline/plain_options.h"
#include "files/plain_file.h"
#include "fuzz.h"

namespace {

constexpr std::size_t kNone = std::string_view::npos;

bool Balanced(std::string_view bytes) {
  std::string due;
  for (const char c : bytes) {
    if (const char closing = ClosingBracket(c); closing != 0) {
      due += closing;
    } else if (c == ')' || c == '>' || c == ']' || c == '}') {
      if (due.empty() || due.back() != c) return false;
      due.pop_back();
    }
  }
  return due.empty();
}

// The rules of cutting, without a thought of speed.
class Cutter {
 public:
  Cutter(const PlainFileOptions& asked, const PlainDelimiters& delimiters, std::string_view file)
      : asked_(asked), delimiters_(delimiters), file_(file) {}

  // The next message without its properties; none at the end or at a failure.
  std::optional<std::string_view> Next() {
    const std::string& start = delimiters_.StartMessage.Bytes;
    const std::string& end = delimiters_.EndMessage.Bytes;
    if (position_ == file_.size()) return {};
    const std::size_t outer = start.empty() ? position_ : Find(start, position_, position_, false);
    if (outer == kNone || !SkipProperties(outer)) return {};
    const std::size_t inner = outer + start.size();
    if (inner == file_.size()) return {};
    std::size_t stop = Find(end, inner, inner, true);
    std::size_t behind = stop + end.size();
    if (stop == kNone) {
      if (end != "\n" || !Balances(file_.substr(inner))) return {};
      stop = behind = file_.size();
    }
    position_ = behind;
    return asked_.IncludeMsgDelims ? file_.substr(outer, behind - outer) : file_.substr(inner, stop - inner);
  }

 private:
  bool Balances(std::string_view bytes) const { return asked_.NoBrackets || Balanced(bytes); }
  // The first place at or behind `from` where the delimiter counts: brackets are looked at from `origin` on.
  std::size_t Find(std::string_view delimiter, std::size_t origin, std::size_t from, bool itsBracketsCount) const {
    for (std::size_t at = file_.find(delimiter, from); at != kNone; at = file_.find(delimiter, at + 1)) {
      const std::size_t to = itsBracketsCount ? at + delimiter.size() : at;
      if (Balances(file_.substr(origin, to - origin))) return at;
    }
    return kNone;
  }
  // False when properties in front of the message have no end.
  bool SkipProperties(std::size_t message) const {
    const std::string& start = delimiters_.StartProperty.Bytes;
    if (start.empty()) return true;
    const std::size_t at = Find(start, position_, position_, false);
    if (at == kNone || at > message) return true;
    const std::size_t end = Find(delimiters_.EndProperty.Bytes, at, at + start.size(), true);
    return end != kNone && end <= message;
  }

  const PlainFileOptions& asked_;
  const PlainDelimiters& delimiters_;
  std::string_view file_;
  std::size_t position_ = 0;
};

bool TakeOptions(PlainFileOptions& asked, Console& screen, std::string_view line) {
  for (std::size_t at = 0; at <= line.size();) {
    const std::size_t end = std::min(line.find(' ', at), line.size());
    if (ParsePlainOptions(asked, screen, 'n', line.substr(at, end - at)) != PlainOptionResult::Ok) return false;
    at = end + 1;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = AsText(data, size);
  const std::size_t lineEnd = input.find('\n');
  if (lineEnd == kNone) return 0;
  const std::string_view file = input.substr(lineEnd + 1);
  WriteFile("in", file);

  PlainFileOptions asked;
  Console screen;
  if (!TakeOptions(asked, screen, input.substr(0, lineEnd))) return 0;
  InputFiles files("in");
  Require(files.OpenFirst() == 0);
  PlainFileReader reader(files, asked, screen);
  if (const Result prepared = reader.Prepare(); prepared.failed()) {
    Require(!prepared.text().empty());
    return 0;
  }
  std::vector<std::string> messages;
  CurrentMessage current;
  Result result = reader.Read(current);
  for (; !result.failed() && !reader.at_end(); result = reader.Read(current)) messages.push_back(DataOf(current));
  Require(!result.failed() || !result.text().empty());
  if (asked.WholeFile) {
    Require(!result.failed() && messages.size() == 1 && messages[0] == file);
    return 0;
  }
  PlainDelimiters delimiters;
  Require(!MakePlainDelimiters(asked, delimiters).failed());
  Cutter cutter(asked, delimiters, file);
  for (const std::string& message : messages) {
    const std::optional<std::string_view> expected = cutter.Next();
    Require(expected.has_value() && message.ends_with(*expected));
    if (message.size() != expected->size()) Require(message.starts_with("RFH "));
  }
  Require(!cutter.Next().has_value());
  return 0;
}
