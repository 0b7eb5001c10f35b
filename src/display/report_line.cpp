#include <cinttypes>
#include <string>

#include "display/summary.h"

namespace {

// Puts a comma before every third digit from the right. What stands before the digits stays as it is.
std::string Grouped(std::string number) {
  const auto isDigit = [&number](std::size_t i) { return number[i] >= '0' && number[i] <= '9'; };
  for (std::size_t i = number.size(), digits = 0; i-- > 1 && isDigit(i);) {
    if (++digits % 3 == 0 && isDigit(i - 1)) number.insert(i, 1, ',');
  }
  return number;
}

}  // namespace

void PrintReportLine(Console& screen, const ReportLine& line) {
  std::string text = line.ShowFiles ? FormatText("%-7s - Files:%4d  ", line.Label, line.Files)
                                    : FormatText("%-7s -             ", line.Label);
  text += FormatText("Messages:%7s  ", Grouped(std::to_string(line.Messages)).c_str());
  text += FormatText("Bytes:%12s\n", Grouped(FormatText("%10" PRIu64, line.Bytes)).c_str());
  screen.PrintText(text);
}
