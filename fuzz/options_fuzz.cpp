// Command lines: an argument a line, and behind an empty line the content of a file "list" that they may name.

#include <string>
#include <vector>

#include "cmdline/options.h"
#include "cmdline/validate.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = AsText(data, size);
  const std::size_t gap = std::min(input.find("\n\n"), size);
  // Only files of the own folder are read.
  for (const char* outside : {"/dev", "/proc", "/sys"}) {
    if (input.find(outside) != std::string_view::npos) return 0;
  }
  WriteFile("list", input.substr(std::min(gap + 2, size)));
  std::string words("tarvo\0", 6);  // one behind the other, as the system lays them out
  std::vector<std::size_t> starts = {0};
  for (std::size_t at = 0; at < gap;) {
    const std::size_t end = std::min(input.find('\n', at), gap);
    starts.push_back(words.size());
    words.append(input.substr(at, end - at).substr(0, input.substr(at, end - at).find('\0'))) += '\0';
    at = end + 1;
  }
  std::vector<char*> argv;
  for (const std::size_t start : starts) argv.push_back(words.data() + start);
  argv.push_back(nullptr);

  Console screen;
  screen.PageLength = 1000;
  CommandLine line{screen, 1'600'000'000};
  const ParseOutcome outcome = ParseOptions(line, static_cast<int>(starts.size()), argv.data());
  Require(outcome.GoOn || outcome.ExitCode == 0 || outcome.ExitCode == MQRC_OPTIONS_ERROR);
  if (outcome.GoOn) ValidateOptions(line);
  return 0;
}
