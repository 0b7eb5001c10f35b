#pragma once

// The text side of MQSC: lines are joined into commands, commands are cut into words, and a word is a keyword that may
// have a value in brackets:
//
//   * a comment
//   DEFINE QLOCAL(ORDERS) DESCR('What''s new') +
//          MAXDEPTH(100)
//
// A line that ends in '+' goes on at the first character of the next line that is not blank, one that ends in '-' at
// its very start. A ';' outside quotes ends a command.

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace localmq {

struct MqscWord {
  std::string Keyword;  // in upper case
  bool HasValue{false};
  std::string Value;  // without quotes; upper case unless it stood in quotes
};

class MqscReader {
 public:
  // `echo` gets every line that is read, with its number; it may be null.
  MqscReader(std::istream& input, std::ostream* echo) : input_(input), echo_(echo) {}

  // The next command, without the blanks around it; false at the end of the input.
  bool Next(std::string& command);

 private:
  bool ReadLine(std::string& line);

  std::istream& input_;
  std::ostream* echo_;
  std::int64_t lines_{0};
  std::vector<std::string> waiting_;  // commands read already, the next one last
};

// Cuts a command into words. On a mistake returns false with what is wrong in `problem`.
bool ParseMqsc(std::string_view command, std::vector<MqscWord>& words, std::string& problem);

std::string UpperCase(std::string_view text);

}  // namespace localmq
