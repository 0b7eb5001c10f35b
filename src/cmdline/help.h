#pragma once

// How the program explains itself on standard error: the banner, the usage text as a table of lines keyed by option
// letter, and the topic search. Everything but the banner is paged against Console::PageLength.

#include <cstddef>
#include <string_view>

class Console;

struct HelpLine {
  char Key;  // the option letter; 0 for a line that belongs to no option
  const char* Text;
};

inline constexpr std::size_t kHelpLineCount = 135;
extern const HelpLine HelpLines[kHelpLineCount];

// Program, version and build date; once per run, and not when quiet.
void ShowBanner(Console& screen);

// Each of these shows the banner first. A '?' at a pause ends the listing and leads to the topic prompt.
void ShowShortUsage(Console& screen);  // the head line of every option, and the examples
void ShowFullUsage(Console& screen);
void ShowOptionHelp(Console& screen, char letter);  // every line of one option

// Shows every option of which some line contains `topic`, whatever its case. A '?' at a pause only ends the listing.
void ShowHelpTopic(Console& screen, std::string_view topic);
// Asks for topics until an empty line or the end of input.
void HelpPrompt(Console& screen);
