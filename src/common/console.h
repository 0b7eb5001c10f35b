#pragma once

// What the user sees. Every line on standard error goes through a Console, which ends a progress line that stands in
// place before it writes, so that neither tears the other. At most one progress line stands on the terminal at a time.
// Results on standard output go through WriteStandardOutput. No data in either steers the terminal: what would is shown
// as dots (VisibleText).

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>

// The streams of the process and its terminal. Several threads may write through one console.
class Console {
 public:
  // Writes one formatted text to standard error and flushes it. A progress line that stands in place is drawn once more
  // and ended first.
  void Print(const char* format, ...) __attribute__((format(printf, 2, 3)));
  // The same for a text that is already complete (no format).
  void PrintText(std::string_view text);

  // Replaces the progress line in place by `text` (backspaces, blanks over what is longer) and flushes.
  void ShowInPlace(std::string_view text);
  // Blanks the progress line and leaves nothing shown.
  void EraseInPlace() { ShowInPlace({}); }
  bool StandsInPlace();
  // Lets the progress line stand as it is: nothing that follows replaces it or ends it.
  void LeaveInPlace();

  // Reads one answer from standard input: at most `limit` characters, the line end removed; the rest of a longer line
  // is dropped. Returns false at the end of input, and when an interrupt came instead of an answer.
  bool ReadAnswer(std::string& answer, std::size_t limit);

  bool Quiet = false;             // no banner
  bool StdinIsTerminal = false;   // decided once at start, like the next
  bool StderrIsTerminal = false;  //
  int PageLength = 24;            // rows of a help page
  int LinesShown = 0;             // lines since the last pause
  bool BannerShown = false;       //
  bool AnswerInterrupted =
      false;  // an interrupt came while the user was asked: whatever the run makes of it is its end

  // What stands in front of each text; may be empty.
  std::function<std::string()> Prefix;
  // Draws the progress line again with its latest figures; called before a text ends that line. May be empty.
  std::function<void()> Redraw;

 private:
  std::recursive_mutex mutex_;    // Redraw draws
  std::size_t inPlaceShown_ = 0;  // characters of the progress line that stands on the terminal now
};

// Writes to standard output, as VisibleText shows it where that is a terminal, else byte by byte as it is. What is not
// written yet stays in the C library's buffer. Returns false, with errno, when a write failed.
bool WriteStandardOutput(std::string_view text);
// Formats one text and writes it so.
void PrintOutput(const char* format, ...) __attribute__((format(printf, 1, 2)));

// "<text>: <what the system says of the error>"; the colon is left out behind a full stop, and a line end at the end of
// `text` stays at the end. No error adds nothing. An error number is one of errno.
std::string WithCause(std::string_view text, int error);
std::string WithCause(std::string_view text, const std::error_code& error);

// printf into a std::string.
std::string FormatText(const char* format, ...) __attribute__((format(printf, 1, 2)));
