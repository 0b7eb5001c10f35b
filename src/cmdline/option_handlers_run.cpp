// The run itself: -O -q -v -V.

#include <cinttypes>
#include <cstring>
#include <string_view>

#include "cmdline/help.h"
#include "cmdline/option_handlers.h"
#include "cmdline/parameters.h"
#include "cmdline/selection_report.h"
#include "common/units.h"

namespace {

constexpr LetterSetting kGeneralLetters[] = {
    {'B', TARVO_SETS(Input.NoBackoutQueue)}, {'F', TARVO_SETS(Input.NoForcedRfh2)},
    {'I', TARVO_SETS(Output.Individually)},  {'T', TARVO_SETS(Input.AlwaysData)},
    {'a', TARVO_SETS(Output.AsyncPut)},      {'e', TARVO_SETS(Input.Exclusive)},
    {'r', TARVO_SETS(Input.ReadAhead)},
};

void ShowMachineInformation(Parameters& run) {
  ShowBanner(run);
  PrintOutput("  User Identifier:%s\n  Machine Name   :%s\n\n", UserName(), ComputerName());
}

// What follows an 'S': one character, or "(...)" with the name of a feature; of one that is never closed, the first
// letter. Returns where the letters go on.
const char* ApplyFeature(Parameters& run, const char* at) {
  run.Asked.Input.AlwaysData = true;
  if (*at == '\0') return at;
  if (*at++ != '(') return at;
  const std::size_t length = std::strcspn(at, ")");
  if (at[length] == '\0') return length == 0 ? at : at + 1;
  if (std::string_view(at, length) == "CFH3") {
    PrintOutput("CFH3 Processing Active\n");
    run.Asked.Output.RaiseCfhVersion = true;
  }
  return at + length + 1;
}

// An interval directly behind a verbose letter; without digits the field keeps its value.
bool StoreInterval(OptionScan& scan, const char* argument, const char*& at, int& field) {
  scan.run.Asked.Display.Status = true;
  const std::size_t digits = std::strspn(at, "0123456789");
  if (digits == 0) return true;
  const std::string_view text(at, digits);
  at += digits;
  return StoreNumber(scan, argument, text, field);
}

}  // namespace

bool HandleGeneral(OptionScan& scan, const char* argument) {
  Parameters& run = scan.run;
  for (const char* at = argument; *at != '\0';) {
    const char letter = *at++;
    if (letter == 'S') {
      at = ApplyFeature(run, at);
    } else if (letter == 'i') {
      ShowMachineInformation(run);
      return false;
    } else if (!ApplyLetter(run.Asked, kGeneralLetters, letter)) {
      run.Screen.Print("I did not understand your options parameter '%c'\n\n", letter);
      ShowOptionHelp(run, scan.Letter);
      return false;
    }
  }
  return true;
}

bool HandleQuiet(OptionScan& scan, const char*) {
  scan.run.Asked.Display.Quiet = true;
  scan.run.Screen.Quiet = true;
  return true;
}

bool HandleVerbose(OptionScan& scan, const char* argument) {
  Parameters& run = scan.run;
  for (const char* at = argument; *at != '\0';) {
    const char letter = *at++;
    switch (letter) {
      case 'a':
        run.Asked.Display.TraceCalls = true;
        break;
      case 'd':
        run.Asked.Display.ShowDestinations = true;
        break;
      case 'r':
        run.Asked.Display.RateDetails = true;
        break;
      case 's':
        if (!StoreInterval(scan, argument, at, run.Asked.Display.StatusEveryMsgs)) return false;
        break;
      case 't':
        if (!StoreInterval(scan, argument, at, run.Asked.Display.StatusEverySecs)) return false;
        break;
      case '!':
        run.Screen.Print("sizeof(MQLONG) '%d'\nsizeof(char *) '%d'\n", static_cast<int>(sizeof(MQLONG)),
                         static_cast<int>(sizeof(char*)));
        break;
      default:
        run.Screen.Print("Unrecognised verbose option '%c'\n", letter);
        ShowOptionHelp(run, scan.Letter);
        return false;
    }
  }
  return true;
}

bool HandleDebug(OptionScan& scan, const char* argument) {
  Parameters& run = scan.run;
  const auto has = [argument](char letter) { return std::strchr(argument, letter) != nullptr; };
  if (has('m')) run.Asked.Display.TraceMemory = true;
  if (has('t')) run.Asked.Display.TraceTimes = true;
  if (has('v')) run.Asked.Display.WordSize = true;
  if (has('T')) {
    const std::int64_t now = run.StartTime;
    run.Screen.Print("Current Time:%" PRId64 "\n", now);
    run.Screen.Print("Local Time  :%s\n", LocalTimeText(now).c_str());
    ShowExampleDates(run, "20141225");
    ShowExampleDates(run, "20150625");
  }
  return true;
}
