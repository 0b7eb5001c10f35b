#include "cmdline/options.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "cmdline/command_line.h"
#include "cmdline/help.h"
#include "cmdline/option_handlers.h"
#include "files/format_check.h"
#include "platform/system.h"

namespace {

constexpr char kHelpLetter = '?';
constexpr char kPasswordLetter = 'U';

struct Option {
  char Letter;
  bool TakesArgument;
  OptionHandler* Handle;
};

constexpr Option kOptions[] = {
    {'a', true, HandleAccessMode},
    {'A', true, HandleOverride},
    {'b', true, HandleBufferSize},
    {'c', true, HandleConvert},
    {'C', true, HandleContext},
    {'d', true, HandleDisplay},
    {'D', true, HandleDelay},
    {'e', true, HandleEbcdicSearch},
    {'E', true, HandleEbcdicNotSearch},
    {'f', true, HandleFile},
    {'F', true, HandleForcedFile},
    {'g', true, HandleIdentifier},
    {'G', true, HandleGetFilter},
    {'h', false, HandleStripHeaders},
    {'H', true, HandleSelector},
    {'i', true, HandleInputQueue},
    {'I', true, HandleInputQueue},
    {'j', true, HandleLog},
    {'l', true, HandleLibrary},
    {'L', true, HandleFileLimit},
    {'m', true, HandleQMgr},
    {'n', true, HandleNonTarvo},
    {'o', true, HandleOutputQueue},
    {'O', true, HandleGeneral},
    {'p', false, HandlePurge},
    {'P', true, HandlePriority},
    {'q', false, HandleQuiet},
    {'r', true, HandleRange},
    {'R', true, HandleRate},
    {'s', true, HandleAsciiSearch},
    {'S', true, HandleAsciiNotSearch},
    {'t', true, HandleTransactionLimit},
    {'T', true, HandleTime},
    {'u', true, HandleUserId},
    {kPasswordLetter, true, HandlePassword},
    {'v', true, HandleVerbose},
    {'V', true, HandleDebug},
    {'w', true, HandleWait},
    {'x', true, HandleHexSearch},
    {'X', true, HandleHexNotSearch},
    {'z', true, HandleSize},
    {'$', true, HandleSeparator},
};

const Option* FindOption(char letter) {
  for (const Option& option : kOptions) {
    if (option.Letter == letter) return &option;
  }
  return nullptr;
}

// Where '/' separates directories only, it begins a path.
bool StartsOptions(const char* argument, PathStyle style) {
  return (argument[0] == '-' || (argument[0] == '/' && style == PathStyle::Windows)) && argument[1] != '\0';
}

bool EndsOptions(const char* argument) { return std::strcmp(argument, "--") == 0; }

bool IsQuestion(const char* text) { return std::strcmp(text, "?") == 0; }

// Walks the arguments letter by letter.
class Cursor {
 public:
  Cursor(int argc, char** argv, PathStyle style) : argc_(argc), argv_(argv), style_(style) {}

  // Moves to the next option letter. False when the next argument starts no options; "--" is passed.
  bool Next(char& letter) {
    if (*at_ == '\0') {
      if (index_ >= argc_ || !StartsOptions(argv_[index_], style_)) return false;
      if (EndsOptions(argv_[index_])) {
        ++index_;
        return false;
      }
      at_ = argv_[index_++] + 1;
      startsArgument_ = true;
    } else {
      startsArgument_ = false;
    }
    letter = *at_++;
    return true;
  }

  // The argument of the letter in hand: the rest of this argument, else the whole next one, without one leading ':'.
  // Null when there is none.
  char* Argument() {
    char* argument = at_;
    at_ = &nothing_;
    if (*argument == '\0') {
      if (index_ >= argc_) return nullptr;
      argument = argv_[index_++];
    }
    return *argument == ':' ? argument + 1 : argument;
  }

  // Whether the whole argument is the letter in hand and a question mark.
  bool IsQuestionAboutLetter() const { return startsArgument_ && IsQuestion(at_); }
  // The first argument that is left over, null when there is none.
  const char* LeftOver() const { return index_ < argc_ ? argv_[index_] : nullptr; }
  void PassLeftOver() { ++index_; }

 private:
  int argc_;
  char** argv_;
  PathStyle style_;
  int index_ = 1;
  char nothing_ = '\0';
  char* at_ = &nothing_;  // the rest of the argument in hand
  bool startsArgument_ = false;
};

bool TakesArgument(char letter) {
  const Option* option = FindOption(letter);
  return option != nullptr ? option->TakesArgument : letter == kHelpLetter;
}

// Takes one password out of an argument. In its place stands one character, so that its length is not shown either.
Secret TakePassword(char* argument) {
  const std::string_view text = argument;
  Secret password(text.starts_with('@') ? text.substr(1) : text);
  if (!text.empty()) {
    Wipe(argument, text.size());
    *argument = '*';
  }
  return password;
}

// Takes the passwords out of the options up to the next argument that is none.
void TakePasswordsOfOptions(Cursor& cursor, std::vector<Secret>& passwords) {
  char letter = 0;
  while (cursor.Next(letter)) {
    char* argument = TakesArgument(letter) ? cursor.Argument() : nullptr;
    if (letter != kPasswordLetter || argument == nullptr) continue;
    if (!IsQuestion(argument) && !NamesPasswordFile(argument)) passwords.push_back(TakePassword(argument));
  }
}

// Takes the passwords out of the arguments, in their order. Every argument is looked at, also behind one that will be
// refused: the refusal may stand on the screen for long.
std::vector<Secret> TakePasswords(int argc, char** argv, PathStyle style) {
  std::vector<Secret> passwords;
  Cursor cursor(argc, argv, style);
  for (;; cursor.PassLeftOver()) {
    TakePasswordsOfOptions(cursor, passwords);
    if (cursor.LeftOver() == nullptr) return passwords;
  }
}

void EchoArguments(int argc, char** argv) {
  if (std::getenv("ORVEX_TARVO_PARMS") == nullptr) return;
  for (int i = 0; i < argc; ++i) PrintOutput("argv[%d] = '%s'\n", i, argv[i]);
}

bool RefuseLetter(CommandLine& line, char letter) {
  if (letter != kHelpLetter) line.Screen.Print("-%c is not a valid parameter.\n\n", letter);
  ShowFullUsage(line.Screen);
  return false;
}

// The interactive help, beginning with `topic` unless it is a question mark.
bool ShowInteractiveHelp(CommandLine& line, const char* topic) {
  if (!IsQuestion(topic)) ShowHelpTopic(line.Screen, topic);
  HelpPrompt(line.Screen);
  return false;
}

// One option. Returns false when scanning must stop.
bool ScanOption(OptionScan& scan, Cursor& cursor, char letter) {
  CommandLine& line = scan.Line;
  const Option* option = FindOption(letter);
  const bool isHelp = letter == kHelpLetter;
  if (option == nullptr && !isHelp) return RefuseLetter(line, letter);

  const char* argument = nullptr;
  if (TakesArgument(letter)) {
    argument = cursor.Argument();
    if (argument == nullptr) return RefuseLetter(line, letter);
    if (isHelp) return ShowInteractiveHelp(line, argument);
  }
  if (argument != nullptr ? IsQuestion(argument) : cursor.IsQuestionAboutLetter()) {
    ShowOptionHelp(line.Screen, letter);
    return false;
  }
  scan.Letter = letter;
  ++scan.OptionsSeen;
  return option->Handle(scan, argument);
}

void FinishScan(OptionScan& scan) {
  CommandLine& line = scan.Line;
  ShowBanner(line.Screen);
  if (line.Asked.Display.WordSize) line.Screen.Print("%dBit %s\n", 64, "LittleEndian");
  if (scan.SelfTest) RunFileFormatTest();
}

}  // namespace

ParseOutcome ParseOptions(CommandLine& line, int argc, char** argv, PathStyle style) {
  OptionScan scan{line, {line.Asked, line.Screen}, TakePasswords(argc, argv, style)};
  if (!scan.Passwords.empty()) ShowArguments(argc, argv);
  EchoArguments(argc, argv);
  if (argc <= 1) {
    ShowShortUsage(line.Screen);
    return {false, 0};
  }
  Cursor cursor(argc, argv, style);
  char letter = 0;
  while (cursor.Next(letter)) {
    if (!ScanOption(scan, cursor, letter)) return {false, MQRC_OPTIONS_ERROR};
  }
  if (const char* leftOver = cursor.LeftOver()) {
    line.Screen.Print("Unexpected argument '%s'\n\n", leftOver);
    ShowShortUsage(line.Screen);
    return {false, MQRC_OPTIONS_ERROR};
  }
  FinishScan(scan);
  return {true, 0};
}
