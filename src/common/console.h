#pragma once

// What the user sees, and the state of the console. Every line on standard error goes through PrintDiagnostic, which
// ends a progress line that stands in place before it writes, so that neither tears the other. At most one progress
// line stands on the terminal at a time; it is drawn with ShowInPlace. Results on standard output go through
// WriteStandardOutput. No data in either steers the terminal: what would is shown as dots (VisibleText).

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

struct Parameters;

struct Console {
  bool Quiet = false;            // no banner (set with FLAG_QUIET)
  bool StdinIsTerminal = false;  // decided once at start, like the next
  bool StderrIsTerminal = false;
  int PageLength = 24;  // rows of a help page
  int LinesShown = 0;   // lines since the last pause
  bool BannerShown = false;
  bool AnswerInterrupted =
      false;                     // an interrupt came while the user was asked: whatever the run makes of it is its end
  std::size_t InPlaceShown = 0;  // characters of the progress line that stands on the terminal now
  // Draws the progress line again with its latest figures; called before a diagnostic ends that line. May be null.
  void (*Redraw)(Parameters& run) = nullptr;
};

// Writes one formatted text to standard error and flushes it. A progress line that stands in place is drawn once more
// and ended first. While a log dump file is read, the text is preceded by its line number.
void PrintDiagnostic(Parameters& run, const char* format, ...) __attribute__((format(printf, 2, 3)));
// The same for a text that is already complete (no format).
void PrintDiagnosticText(Parameters& run, std::string_view text);

// Writes to standard output, as VisibleText shows it where that is a terminal, else byte by byte as it is. What is not
// written yet stays in the C library's buffer. Returns false, with errno, when a write failed.
bool WriteStandardOutput(std::string_view text);
// Formats one text and writes it so.
void PrintOutput(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Formats the message that the run driver prints once at the end (`MessageText`); cut to its 711 characters.
void SetMessageText(Parameters& run, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Replaces the progress line in place by `text` (backspaces, blanks over what is longer) and flushes.
void ShowInPlace(Parameters& run, std::string_view text);
// Blanks the progress line and leaves nothing shown.
void EraseInPlace(Parameters& run);

// Reads one answer from standard input: at most `limit` characters, the line end removed; the rest of a longer line is
// dropped. Returns false at the end of input, and when an interrupt came instead of an answer.
bool ReadAnswer(Parameters& run, std::string& answer, std::size_t limit);

// "<text>: <what the system says of the error>"; the colon is left out behind a full stop, and a line end at the end of
// `text` stays at the end. No error adds nothing. An error number is one of errno.
std::string WithCause(std::string_view text, int error);
std::string WithCause(std::string_view text, const std::error_code& error);

// printf into a std::string.
std::string FormatText(const char* format, ...) __attribute__((format(printf, 1, 2)));
