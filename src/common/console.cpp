#include "common/console.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <new>

#include "common/result.h"
#include "common/visible_text.h"
#include "platform/interrupt.h"
#include "platform/terminal.h"

namespace {

bool WriteAll(std::FILE* file, std::string_view text) {
  return std::fwrite(text.data(), 1, text.size(), file) == text.size();
}

// One write, so that lines of two threads do not mix.
void WriteToStderr(std::string_view text) {
  WriteAll(stderr, text);
  std::fflush(stderr);
}

__attribute__((format(printf, 1, 0))) std::string FormatArguments(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  char shortText[1024];
  const int length = std::vsnprintf(shortText, sizeof shortText, format, arguments);
  std::string text;
  if (length > 0) {
    const auto bytes = static_cast<std::size_t>(length);
    if (bytes < sizeof shortText) {
      text.assign(shortText, bytes);
    } else {
      text.resize(bytes);
      std::vsnprintf(text.data(), bytes + 1, format, again);
    }
  }
  va_end(again);
  return text;
}

// What it takes to replace `shown` characters in place by `text`, leaving the cursor behind it.
std::string Redrawn(std::size_t shown, std::string_view text) {
  std::string out(shown, '\b');
  out += VisibleText(text);
  if (shown > text.size()) {
    const std::size_t excess = shown - text.size();
    out.append(excess, ' ');
    out.append(excess, '\b');
  }
  return out;
}

}  // namespace

std::string FormatText(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::string text = FormatArguments(format, arguments);
  va_end(arguments);
  return text;
}

std::string WithCause(std::string_view text, int error) {
  return WithCause(text, std::error_code(error, std::generic_category()));
}

std::string WithCause(std::string_view text, const std::error_code& error) {
  if (!error) return std::string(text);
  const bool line = text.ends_with('\n');
  if (line) text.remove_suffix(1);
  return std::string(text) + (text.ends_with('.') ? " " : ": ") + error.message() + (line ? "\n" : "");
}

void Console::PrintText(std::string_view text) {
  const std::lock_guard<std::recursive_mutex> lock(mutex_);
  std::string out;
  if (inPlaceShown_ > 0) {
    if (Redraw) Redraw();
    inPlaceShown_ = 0;
    out = "\n";
  }
  if (Prefix) out += Prefix();
  out += VisibleText(text);
  WriteToStderr(out);
}

void Console::Print(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const std::string text = FormatArguments(format, arguments);
  va_end(arguments);
  PrintText(text);
}

bool WriteStandardOutput(std::string_view text) {
  static const bool terminal = StdoutIsTerminal();
  if (!terminal) return WriteAll(stdout, text);
  try {
    return WriteAll(stdout, VisibleText(text));
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return false;
  }
}

void PrintOutput(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  WriteStandardOutput(FormatArguments(format, arguments));
  va_end(arguments);
}

void FailureText::Format(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Assign(FormatArguments(format, arguments));
  va_end(arguments);
}

void Console::ShowInPlace(std::string_view text) {
  const std::lock_guard<std::recursive_mutex> lock(mutex_);
  WriteToStderr(Redrawn(inPlaceShown_, text));
  inPlaceShown_ = text.size();
}

bool Console::StandsInPlace() {
  const std::lock_guard<std::recursive_mutex> lock(mutex_);
  return inPlaceShown_ > 0;
}

void Console::LeaveInPlace() {
  const std::lock_guard<std::recursive_mutex> lock(mutex_);
  inPlaceShown_ = 0;
}

bool Console::ReadAnswer(std::string& answer, std::size_t limit) {
  answer.clear();
  char c = '\0';
  std::ptrdiff_t got = ReadUnlessInterrupted(stdin, &c, 1);
  const bool any = got > 0;
  for (; got > 0 && c != '\n'; got = ReadUnlessInterrupted(stdin, &c, 1)) {
    if (answer.size() < limit) answer += c;
  }
  if (got < 0 && InterruptSignal() != 0) {
    answer.clear();
    AnswerInterrupted = true;
    return false;
  }
  if (!answer.empty() && answer.back() == '\r') answer.pop_back();
  return any;
}
