#include "cmdline/option_handlers.h"

#include "cmdline/parameters.h"

bool RefuseArgument(OptionScan& scan, std::string_view argument) {
  scan.run.Screen.Print("Invalid -%c parameter '%.*s'\n", scan.Letter, static_cast<int>(argument.size()),
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

bool ApplyLetter(Parameters& run, const LetterBits* table, char letter) {
  while (table->Letter != 0 && table->Letter != letter) ++table;
  run.Flags |= table->Flags;
  run.Flags2 |= table->Flags2;
  return table->Letter != 0;
}

bool CheckColon(OptionScan& scan, std::string_view argument) {
  if (argument.size() >= 2 && argument[1] == ':') return true;
  scan.run.Screen.Print("':' missing as second character in parameter '-%c %.*s'\n", scan.Letter,
                        static_cast<int>(argument.size()), argument.data());
  return false;
}
