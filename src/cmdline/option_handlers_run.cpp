// The run itself: -O -q -v -V.

#include <cinttypes>
#include <cstring>
#include <string_view>

#include "cmdline/command_line.h"
#include "cmdline/help.h"
#include "cmdline/option_handlers.h"
#include "cmdline/selection_report.h"
#include "common/units.h"

namespace {

constexpr LetterSetting kGeneralLetters[] = {
    {'B', TARVO_SETS(Input.NoBackoutQueue)}, {'F', TARVO_SETS(Input.NoForcedRfh2)},
    {'I', TARVO_SETS(Output.Individually)},  {'T', TARVO_SETS(Input.AlwaysData)},
    {'a', TARVO_SETS(Output.AsyncPut)},      {'e', TARVO_SETS(Input.Exclusive)},
    {'r', TARVO_SETS(Input.ReadAhead)},
};

void ShowMachineInformation(CommandLine& line) {
  ShowBanner(line.Screen);
  PrintOutput("  User Identifier:%s\n  Machine Name   :%s\n\n", UserName(), ComputerName());
}

// What follows an 'S': one character, or "(...)" with the name of a feature; of one that is never closed, the first
// letter. Returns where the letters go on.
const char* ApplyFeature(CommandLine& line, const char* at) {
  line.Asked.Input.AlwaysData = true;
  if (*at == '\0') return at;
  if (*at++ != '(') return at;
  const std::size_t length = std::strcspn(at, ")");
  if (at[length] == '\0') return length == 0 ? at : at + 1;
  if (std::string_view(at, length) == "CFH3") {
    PrintOutput("CFH3 Processing Active\n");
    line.Asked.Output.RaiseCfhVersion = true;
  }
  return at + length + 1;
}

// An interval directly behind a verbose letter; without digits the field keeps its value.
bool StoreInterval(OptionScan& scan, const char* argument, const char*& at, int& field) {
  scan.Line.Asked.Display.Status = true;
  const std::size_t digits = std::strspn(at, "0123456789");
  if (digits == 0) return true;
  const std::string_view text(at, digits);
  at += digits;
  return StoreNumber(scan, argument, text, field);
}

}  // namespace

bool HandleGeneral(OptionScan& scan, const char* argument) {
  CommandLine& line = scan.Line;
  for (const char* at = argument; *at != '\0';) {
    const char letter = *at++;
    if (letter == 'S') {
      at = ApplyFeature(line, at);
    } else if (letter == 'i') {
      ShowMachineInformation(line);
      return false;
    } else if (!ApplyLetter(line.Asked, kGeneralLetters, letter)) {
      line.Screen.Print("I did not understand your options parameter '%c'\n\n", letter);
      ShowOptionHelp(line.Screen, scan.Letter);
      return false;
    }
  }
  return true;
}

bool HandleQuiet(OptionScan& scan, const char*) {
  scan.Line.Asked.Display.Quiet = true;
  scan.Line.Screen.Quiet = true;
  return true;
}

bool HandleVerbose(OptionScan& scan, const char* argument) {
  CommandLine& line = scan.Line;
  for (const char* at = argument; *at != '\0';) {
    const char letter = *at++;
    switch (letter) {
      case 'a':
        line.Asked.Display.TraceCalls = true;
        break;
      case 'd':
        line.Asked.Display.ShowDestinations = true;
        break;
      case 'r':
        line.Asked.Display.RateDetails = true;
        break;
      case 's':
        if (!StoreInterval(scan, argument, at, line.Asked.Display.StatusEveryMsgs)) return false;
        break;
      case 't':
        if (!StoreInterval(scan, argument, at, line.Asked.Display.StatusEverySecs)) return false;
        break;
      case '!':
        line.Screen.Print("sizeof(MQLONG) '%d'\nsizeof(char *) '%d'\n", static_cast<int>(sizeof(MQLONG)),
                          static_cast<int>(sizeof(char*)));
        break;
      default:
        line.Screen.Print("Unrecognised verbose option '%c'\n", letter);
        ShowOptionHelp(line.Screen, scan.Letter);
        return false;
    }
  }
  return true;
}

bool HandleDebug(OptionScan& scan, const char* argument) {
  CommandLine& line = scan.Line;
  const auto has = [argument](char letter) { return std::strchr(argument, letter) != nullptr; };
  if (has('m')) line.Asked.Display.TraceMemory = true;
  if (has('t')) line.Asked.Display.TraceTimes = true;
  if (has('v')) line.Asked.Display.WordSize = true;
  if (has('T')) {
    const std::int64_t now = line.StartTime;
    line.Screen.Print("Current Time:%" PRId64 "\n", now);
    line.Screen.Print("Local Time  :%s\n", LocalTimeText(now).c_str());
    ShowExampleDates(line.Screen, "20141225");
    ShowExampleDates(line.Screen, "20150625");
  }
  return true;
}
