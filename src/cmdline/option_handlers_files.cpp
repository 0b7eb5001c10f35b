// Files: -f -F -a -L -n -j -d.

#include <cstring>
#include <string_view>

#include "cmdline/help.h"
#include "cmdline/option_handlers.h"
#include "cmdline/parameters.h"
#include "cmdline/value_parsers.h"

namespace {

constexpr LetterBits kDisplayLetters[] = {
    {'A', FLAG_ASCII_LINES, 0},
    {'C', FLAG_SHOW_CORRELID, 0},
    {'H', 0, FLAG2_NO_FILE_HEADER},
    {'K', FLAG_QUIET, FLAG2_COUNT},
    {'M', FLAG_SHOW_MSGID, 0},
    {'N', 0, FLAG2_NO_MQMD},
    {'T', FLAG_SHOW_TIME_ON_QUEUE, 0},
    {'a', FLAG_ASCII_COLUMNS, 0},
    {'c', FLAG_APPLDATA_CHAR, 0},
    {'i', FLAG_WRITE_INDEX, 0},
    {'k', 0, FLAG2_COUNT},
    {'p', 0, FLAG2_PRINTABLE},
    {'r', 0, FLAG2_RAW},
    {'s', FLAG_SUMMARY, 0},
    {'t', 0, FLAG2_TEXT_LINES},
    {0, 0, 0},
};

// Moves `at` over the digits of a width and stores it.
bool StoreWidth(OptionScan& scan, const char* argument, const char*& at) {
  const std::size_t digits = std::strspn(at, "0123456789");
  const std::string_view text(at, digits);
  at += digits;
  return StoreNumber(scan, argument, text, scan.run.DataWidth, 0, kWidestLine);
}

}  // namespace

bool HandleFile(OptionScan& scan, const char* argument) {
  Parameters& run = scan.run;
  if (!run.OutputFileName.empty()) {
    run.Screen.Print("Sorry, you can only specify one input and one output file\n");
    return false;
  }
  if (argument[0] == '\0') {
    run.Screen.Print("No file was named in parameter '-%c %s'\n", scan.Letter, argument);
    return false;
  }
  (run.InputFileName.empty() ? run.InputFileName : run.OutputFileName).Assign(argument);
  return true;
}

bool HandleForcedFile(OptionScan& scan, const char* argument) {
  scan.run.Flags |= FLAG_FORCE;
  return HandleFile(scan, argument);
}

bool HandleAccessMode(OptionScan& scan, const char* argument) {
  scan.run.FileAccessMode = argument;
  return true;
}

bool HandleFileLimit(OptionScan& scan, const char* argument) { return ParseFileLimit(scan.run, argument); }

bool HandleNonTarvo(OptionScan& scan, const char* argument) {
  const PlainOptionResult result = ParseNonTarvoOptions(scan.run, scan.Letter, argument);
  if (result == PlainOptionResult::RefusedWithHelp) ShowOptionHelp(scan.run, scan.Letter);
  return result == PlainOptionResult::Ok;
}

bool HandleLog(OptionScan& scan, const char* argument) {
  scan.run.LogMode = true;
  return ParseLogParameter(scan.run, argument);
}

bool HandleDisplay(OptionScan& scan, const char* argument) {
  Parameters& run = scan.run;
  const std::string_view letters = argument;
  const auto has = [letters](char letter) { return letters.find(letter) != std::string_view::npos ? 1 : 0; };
  if (has('A') + has('p') + has('t') > 1) {
    run.Screen.Print("Please enter only one display option, 'A', 'p' or 't'\n");
    return false;
  }
  for (const char* at = argument; *at != '\0';) {
    const char letter = *at++;
    if (letter == 'w') {
      if (!StoreWidth(scan, argument, at)) return false;
    } else if (letter == 'x') {
      if (std::strncmp(at, "test", 4) != 0) {
        run.Screen.Print("I did not understand display parameter\n\n");
        ShowOptionHelp(run, scan.Letter);
        return false;
      }
      at += 4;
      scan.SelfTest = true;
    } else if (!ApplyLetter(run, kDisplayLetters, letter)) {
      run.Screen.Print("I did not understand your display parameter '%c'\n\n", letter);
      ShowOptionHelp(run, scan.Letter);
      return false;
    } else if (letter == 's' && *at == '-') {
      run.Flags2 |= FLAG2_NO_QSTATUS;
      ++at;
    }
    run.Screen.Quiet = run.Has(FLAG_QUIET);
  }
  return true;
}
