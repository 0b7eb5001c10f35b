#include "cmdline/plain_options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

struct OptionCase {
  Texts Options;  // all but the last are taken
  PlainOptionResult Result;
  const char* Shown;
};

TEST(PlainOptions, Refusals) {
  const std::string hundred(100, 'x');
  using enum PlainOptionResult;
  const OptionCase cases[] = {
      {{"1!BFW"}, Ok, ""},
      {{"is:<msg>"}, Ok, ""},
      {{"d:" + hundred + hundred.substr(2)}, Ok, ""},
      {{"e:a:b"}, Ok, ""},
      {{"1x"}, RefusedWithHelp, "Unrecognised -n1x parameter.\n\n"},
      {{"s:a", "is:b"}, Refused, "Start message delimiter must only be specified once.\n"},
      {{"d:ab", "e:b"}, Refused, "End message delimiter only be specified once.\n"},
      {{"s:a", "d:ab"}, Refused, "Start message delimiter must only be specified once.\n"},
      {{"p:a", "p:a"}, Refused, "Start property delimiter must only be specified once.\n"},
      {{"q:a", "q:a"}, Refused, "End property delimiter only be specified once.\n"},
      {{"ip"}, Refused, "Expected ':' after parameter -nip\n"},
      {{"ss:"}, Refused, "Expected ':' after parameter -ns\n"},
      {{"s:"}, Refused, "Start message delimiter must be between 1 and 99 characters in length.\n"},
      {{"q:" + hundred}, Refused, "End property delimiter must be between 1 and 99 characters in length.\n"},
      {{"d:abc"}, Refused, "Message delimiter parameter must be even in length.\n"},
      {{"d:"}, Refused, "Message delimiters must be between 1 and 99 characters in length.\n"},
      {{"d:" + hundred + hundred}, Refused, "Message delimiters must be between 1 and 99 characters in length.\n"},
  };
  for (const OptionCase& c : cases) {
    PlainFileOptions plain;
    Console screen;
    PlainOptionResult result = Ok;
    testing::internal::CaptureStderr();
    for (const std::string& option : c.Options) {
      result = ParsePlainOptions(plain, screen, 'n', option);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.Shown);
    EXPECT_EQ(result, c.Result) << c.Options.back();
  }
}

TEST(PlainOptions, PendingLettersGoToTheNextDelimiter) {
  const std::pair<const char*, std::string> cases[] = {
      {"is:a", "i   "}, {"nd:ab", " n  "}, {"iq:a", "  i "}, {"i", "i i "}};
  for (const auto& [option, set] : cases) {
    PlainFileOptions asked;
    Console screen;
    EXPECT_EQ(ParsePlainOptions(asked, screen, 'n', option), PlainOptionResult::Ok) << option;
    EXPECT_EQ(asked.IncludeMsgDelims, set[0] == 'i') << option;
    EXPECT_EQ(asked.ExcludeMsgDelims, set[1] == 'n') << option;
    EXPECT_EQ(asked.IncludePropDelims, set[2] == 'i') << option;
    EXPECT_EQ(asked.ExcludePropDelims, set[3] == 'n') << option;
  }
}

}  // namespace
