#include "cmdline/option_handlers.h"

#include "cmdline/numbers.h"
#include "cmdline/parameters.h"

bool RefuseArgument(OptionScan& scan, std::string_view argument) {
  PrintDiagnostic(scan.run, "Invalid -%c parameter '%.*s'\n", scan.Letter, static_cast<int>(argument.size()),
                  argument.data());
  return false;
}

bool StoreNumber(OptionScan& scan, std::string_view argument, std::string_view text, std::int32_t& field,
                 std::int32_t least, std::int32_t most) {
  std::int32_t number = 0;
  if (!ReadInteger(text, number) || number < least || number > most) return RefuseArgument(scan, argument);
  field = number;
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
  PrintDiagnostic(scan.run, "':' missing as second character in parameter '-%c %.*s'\n", scan.Letter,
                  static_cast<int>(argument.size()), argument.data());
  return false;
}
