#include "cmdline/option_handlers.h"

#include "cmdline/command_line.h"

bool RefuseArgument(OptionScan& scan, std::string_view argument) {
  scan.Line.Screen.Print("Invalid -%c parameter '%.*s'\n", scan.Letter, static_cast<int>(argument.size()),
                         argument.data());
  return false;
}

bool StoreNumber(OptionScan& scan, std::string_view argument, std::string_view text, std::int32_t& field,
                 std::int32_t least, std::int32_t most) {
  const auto number = WholeNumber(text, least, most);
  if (!number) return RefuseArgument(scan, argument);
  field = static_cast<std::int32_t>(*number);
  return true;
}

bool ApplyLetter(Options& asked, std::span<const LetterSetting> table, char letter) {
  for (const LetterSetting& setting : table) {
    if (setting.Letter != letter) continue;
    setting.Field(asked) = true;
    return true;
  }
  return false;
}

bool CheckColon(OptionScan& scan, std::string_view argument) {
  if (argument.size() >= 2 && argument[1] == ':') return true;
  scan.Line.Screen.Print("':' missing as second character in parameter '-%c %.*s'\n", scan.Letter,
                         static_cast<int>(argument.size()), argument.data());
  return false;
}
