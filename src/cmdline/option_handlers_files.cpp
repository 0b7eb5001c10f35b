// Files: -f -F -a -L -n -j -d.

#include <cstring>
#include <string_view>

#include "cmdline/command_line.h"
#include "cmdline/help.h"
#include "cmdline/option_handlers.h"
#include "cmdline/plain_options.h"
#include "cmdline/value_parsers.h"
#include "files/naming.h"
#include "files/writer.h"
#include "logmode/log_source.h"

namespace {

constexpr LetterSetting kDisplayLetters[] = {
    {'A', TARVO_SETS(Layout.AsciiLines)},
    {'C', TARVO_SETS(Display.CorrelIds)},
    {'H', TARVO_SETS(Layout.NoHeader)},
    {'K', TARVO_SETS(Display.Count)},
    {'M', TARVO_SETS(Display.MsgIds)},
    {'N', TARVO_SETS(Layout.NoDescriptor)},
    {'T', TARVO_SETS(Layout.TimeOnQueue)},
    {'a', TARVO_SETS(Layout.AsciiColumns)},
    {'c', TARVO_SETS(Layout.ApplDataAsText)},
    {'i', TARVO_SETS(Layout.Index)},
    {'k', TARVO_SETS(Display.Count)},
    {'p', TARVO_SETS(Layout.Printable)},
    {'r', TARVO_SETS(Layout.Raw)},
    {'s', TARVO_SETS(Display.Summary)},
    {'t', TARVO_SETS(Layout.TextLines)},
};

// Moves `at` over the digits of a width and stores it.
bool StoreWidth(OptionScan& scan, const char* argument, const char*& at) {
  const std::size_t digits = std::strspn(at, "0123456789");
  const std::string_view text(at, digits);
  at += digits;
  return StoreNumber(scan, argument, text, scan.Line.Asked.Layout.DataWidth, 0, kWidestLine);
}

// One letter of -d other than w; `at` stands behind it.
bool TakeDisplayLetter(OptionScan& scan, char letter, const char*& at) {
  CommandLine& line = scan.Line;
  if (letter == 'x' && std::strncmp(at, "test", 4) == 0) {
    at += 4;
    scan.SelfTest = true;
    return true;
  }
  if (letter == 'x' || !ApplyLetter(line.Asked, kDisplayLetters, letter)) {
    if (letter == 'x') {
      line.Screen.PrintText("I did not understand display parameter\n\n");
    } else {
      line.Screen.Print("I did not understand your display parameter '%c'\n\n", letter);
    }
    ShowOptionHelp(line.Screen, scan.Letter);
    return false;
  }
  if (letter == 's' && *at == '-') {
    line.Asked.Display.NoQueueStatus = true;
    ++at;
  }
  return true;
}

}  // namespace

bool HandleFile(OptionScan& scan, const char* argument) {
  CommandLine& line = scan.Line;
  if (!line.Asked.Output.FileName.empty()) {
    line.Screen.Print("Sorry, you can only specify one input and one output file\n");
    return false;
  }
  if (argument[0] == '\0') {
    line.Screen.Print("No file was named in parameter '-%c %s'\n", scan.Letter, argument);
    return false;
  }
  // Cut, two long names would be those of one file.
  if (std::strlen(argument) > kFileNameLimit) {
    line.Screen.Print("Sorry the file name of parameter '-%c' is limited to %d characters\n", scan.Letter,
                      static_cast<int>(kFileNameLimit));
    return false;
  }
  (line.Asked.Input.HasFile() ? line.Asked.Output.FileName : line.Asked.Input.FileName) = argument;
  return true;
}

bool HandleForcedFile(OptionScan& scan, const char* argument) {
  scan.Line.Asked.Output.Overwrite = true;
  return HandleFile(scan, argument);
}

bool HandleAccessMode(OptionScan& scan, const char* argument) {
  scan.Line.Asked.Output.AccessMode = argument;
  return true;
}

bool HandleFileLimit(OptionScan& scan, const char* argument) { return ParseFileLimit(scan.Line, argument); }

bool HandleNonTarvo(OptionScan& scan, const char* argument) {
  const PlainOptionResult result = ParsePlainOptions(scan.Line.Asked.Plain, scan.Line.Screen, scan.Letter, argument);
  if (result == PlainOptionResult::RefusedWithHelp) ShowOptionHelp(scan.Line.Screen, scan.Letter);
  return result == PlainOptionResult::Ok;
}

bool HandleLog(OptionScan& scan, const char* argument) {
  Options& asked = scan.Line.Asked;
  asked.Log.Given = true;
  return ParseLogParameter(asked.Log, asked.QMgrs[asked.Input.QMgr].Name, scan.Line.Screen, argument);
}

bool HandleDisplay(OptionScan& scan, const char* argument) {
  CommandLine& line = scan.Line;
  const std::string_view letters = argument;
  const auto has = [letters](char letter) { return letters.find(letter) != std::string_view::npos ? 1 : 0; };
  if (has('A') + has('p') + has('t') > 1) {
    line.Screen.Print("Please enter only one display option, 'A', 'p' or 't'\n");
    return false;
  }
  for (const char* at = argument; *at != '\0';) {
    const char letter = *at++;
    if (letter == 'w' ? !StoreWidth(scan, argument, at) : !TakeDisplayLetter(scan, letter, at)) return false;
    if (letter == 'K') line.Asked.Display.Quiet = true;
    line.Screen.Quiet = line.Asked.Display.Quiet;
  }
  return true;
}
