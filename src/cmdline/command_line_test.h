#pragma once

// Runs command lines through the option scanner and keeps what they led to.

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cmdline/command_line.h"
#include "cmdline/options.h"

// The start of every run here: Wednesday, 1 January 2025, 12:00:00 UTC.
inline constexpr std::int64_t kStart = 1735732800;

// What a function wrote to standard error and standard output.
struct Written {
  std::string Errors;
  std::string Output;
};
template <typename Function>
Written CaptureOf(Function function) {
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  function();
  return {testing::internal::GetCapturedStderr(), testing::internal::GetCapturedStdout()};
}

// A command line that has not been read yet, with the console of its run.
struct FreshLine {
  Console Screen;
  CommandLine Line{Screen, kStart, kStart * 100};

  FreshLine() {
    Screen.PageLength = 500;
    Screen.BannerShown = true;
  }
};

struct Parsed {
  std::unique_ptr<FreshLine> Fresh = std::make_unique<FreshLine>();
  std::vector<char> Arguments;  // one behind the other, as the system lays them out
  std::vector<char*> Argv;
  ParseOutcome Outcome{};
  std::string Errors;
  std::string Output;

  CommandLine* operator->() { return &Fresh->Line; }
};

inline Parsed Parse(const std::vector<std::string>& arguments, PathStyle style = NativePathStyle()) {
  Parsed parsed;
  std::vector<std::size_t> starts;
  const auto add = [&](const std::string& argument) {
    starts.push_back(parsed.Arguments.size());
    parsed.Arguments.insert(parsed.Arguments.end(), argument.c_str(), argument.c_str() + argument.size() + 1);
  };
  add("tarvo");
  for (const std::string& argument : arguments) add(argument);
  for (const std::size_t start : starts) parsed.Argv.push_back(parsed.Arguments.data() + start);
  const int argc = static_cast<int>(starts.size());
  const Written written =
      CaptureOf([&] { parsed.Outcome = ParseOptions(parsed.Fresh->Line, argc, parsed.Argv.data(), style); });
  parsed.Errors = written.Errors;
  parsed.Output = written.Output;
  return parsed;
}

inline std::string Joined(const std::vector<std::string>& arguments) {
  std::string text;
  for (const std::string& argument : arguments) text += " [" + argument + "]";
  return text;
}
