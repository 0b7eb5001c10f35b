#include "localmq/mqsc_text.h"

#include <algorithm>
#include <cstdio>
#include <istream>
#include <ostream>

namespace localmq {
namespace {

constexpr std::string_view kBlanks = " \t\r\n\f\v";

std::string_view WithoutBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Cuts `text` at each ';' that stands outside quotes; appends the pieces that are not blank.
void SplitCommands(std::string_view text, std::vector<std::string>& commands) {
  bool quoted = false;
  std::size_t start = 0;
  for (std::size_t i = 0; i <= text.size(); ++i) {
    if (i < text.size() && text[i] == '\'') quoted = !quoted;
    if (i < text.size() && (quoted || text[i] != ';')) continue;
    const std::string_view command = WithoutBlanks(text.substr(start, i - start));
    if (!command.empty()) commands.emplace_back(command);
    start = i + 1;
  }
}

}  // namespace

std::string UpperCase(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return upper;
}

bool MqscReader::ReadLine(std::string& line) {
  if (!std::getline(input_, line)) return false;
  ++lines_;
  if (line.ends_with('\r')) line.pop_back();
  if (echo_ != nullptr) {
    char number[16];
    std::snprintf(number, sizeof number, "%6d : ", static_cast<int>(lines_));
    *echo_ << number << line << '\n';
  }
  return true;
}

bool MqscReader::Next(std::string& command) {
  std::string text;
  std::string line;
  bool keepBlanks = false;  // the line before ended in '-'
  while (waiting_.empty() && ReadLine(line)) {
    const std::string_view content = WithoutBlanks(line);
    if (content.empty() || content.front() == '*') continue;
    const char last = content.back();
    const bool goesOn = last == '+' || last == '-';
    const std::size_t start = keepBlanks ? 0 : static_cast<std::size_t>(content.data() - line.data());
    const std::size_t end = static_cast<std::size_t>(content.data() - line.data()) + content.size() - (goesOn ? 1 : 0);
    text.append(line, start, end - start);
    keepBlanks = last == '-';
    if (goesOn) continue;
    SplitCommands(text, waiting_);
    std::ranges::reverse(waiting_);
    text.clear();
  }
  if (waiting_.empty()) SplitCommands(text, waiting_);
  if (waiting_.empty()) return false;
  command = std::move(waiting_.back());
  waiting_.pop_back();
  return true;
}

bool ParseMqsc(std::string_view command, std::vector<MqscWord>& words, std::string& problem) {
  constexpr std::string_view kBetween = " \t\r\n\f\v,";
  words.clear();
  std::size_t at = command.find_first_not_of(kBetween);
  while (at != std::string_view::npos) {
    const std::size_t end = std::min(command.find_first_of(" \t\r\n\f\v,()'", at), command.size());
    if (end == at) {
      problem = "A keyword is expected at \"" + std::string(command.substr(at, 20)) + "\".";
      return false;
    }
    MqscWord word;
    word.Keyword = UpperCase(command.substr(at, end - at));
    at = command.find_first_not_of(kBlanks, end);
    if (at != std::string_view::npos && command[at] == '(') {
      word.HasValue = true;
      at = command.find_first_not_of(kBlanks, at + 1);
      std::size_t close = std::string_view::npos;
      if (at != std::string_view::npos && command[at] == '\'') {
        std::size_t quote = at;
        do {  // two quotes stand for one
          const std::size_t from = quote + 1;
          quote = command.find('\'', from);
          if (quote == std::string_view::npos) {
            problem = "The quote behind " + word.Keyword + "( is not closed.";
            return false;
          }
          word.Value += command.substr(from, quote - from);
          if (++quote < command.size() && command[quote] == '\'') word.Value += '\'';
        } while (quote < command.size() && command[quote] == '\'');
        close = command.find_first_not_of(kBlanks, quote);
      } else if (at != std::string_view::npos) {
        close = command.find(')', at);
        if (close != std::string_view::npos) word.Value = UpperCase(WithoutBlanks(command.substr(at, close - at)));
      }
      if (close == std::string_view::npos || command[close] != ')') {
        problem = "The bracket behind " + word.Keyword + " is not closed.";
        return false;
      }
      at = close + 1;
    }
    words.push_back(std::move(word));
    at = at == std::string_view::npos ? at : command.find_first_not_of(kBetween, at);
  }
  return true;
}

}  // namespace localmq
