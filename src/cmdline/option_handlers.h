#pragma once

// One handler an option: it stores the argument in the command line. A handler returns false when scanning must stop,
// after telling the user why. Handlers live in option_handlers_<theme>.cpp.

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "cmdline/numbers.h"
#include "cmdline/queue_arguments.h"
#include "common/secret.h"
#include "mq/mqi.h"
#include "options/options.h"

struct CommandLine;

// The scan in progress.
struct OptionScan {
  CommandLine& Line;
  QueueArguments Queues;
  std::vector<Secret> Passwords{};  // those of the command line that are not stored yet, in its order
  char Letter = 0;                  // the option in hand
  int OptionsSeen = 0;              // including the one in hand
  int CurrentQMgr = 0;              // the queue manager that -l, -u and -U describe
  int FirstQMgrOption = 0;          // which option the first -m was; 0: none yet
  bool SelfTest = false;            // the format self-test was asked for
};

// `argument` is NUL-terminated and lives as long as the process; null for an option that takes none.
using OptionHandler = bool(OptionScan& scan, const char* argument);

// Queues and queue managers.
OptionHandler HandleInputQueue, HandleOutputQueue, HandleQMgr, HandleLibrary, HandleUserId, HandlePassword,
    HandleSeparator;
// Files.
OptionHandler HandleFile, HandleForcedFile, HandleAccessMode, HandleFileLimit, HandleNonTarvo, HandleLog, HandleDisplay;
// Which messages.
OptionHandler HandleAsciiSearch, HandleAsciiNotSearch, HandleEbcdicSearch, HandleEbcdicNotSearch, HandleHexSearch,
    HandleHexNotSearch, HandleIdentifier, HandleGetFilter, HandleSelector, HandlePriority, HandleRange, HandleTime,
    HandleSize;
// What happens to a message.
OptionHandler HandleOverride, HandleConvert, HandleContext, HandleDelay, HandleStripHeaders, HandlePurge,
    HandleTransactionLimit, HandleRate, HandleWait, HandleBufferSize;
// The run itself.
OptionHandler HandleGeneral, HandleQuiet, HandleVerbose, HandleDebug;

// Whether the argument of -U names a file that holds the password: "@file", while "@@" begins a password.
bool NamesPasswordFile(std::string_view argument);

// Tells that an argument is refused: "Invalid -r parameter 'x'". Returns false.
bool RefuseArgument(OptionScan& scan, std::string_view argument);

// Stores the number that `text` is. What is none between `least` and `most` refuses `argument`.
bool StoreNumber(OptionScan& scan, std::string_view argument, std::string_view text, std::int32_t& field,
                 std::int32_t least = 0, std::int32_t most = kMostInteger);

// One letter of an option that is a list of letters, and what it sets.
struct LetterSetting {
  char Letter;
  bool& (*Field)(Options& asked);
};
#define TARVO_SETS(member) [](Options& asked) -> bool& { return asked.member; }
// Sets what `letter` stands for in the table. False when the letter is not in it.
bool ApplyLetter(Options& asked, std::span<const LetterSetting> table, char letter);

// "<letter>:<value>" arguments: false, after printing why, when the ':' is missing.
bool CheckColon(OptionScan& scan, std::string_view argument);
