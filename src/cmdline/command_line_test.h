#pragma once

// Runs command lines through the option scanner and keeps what they led to.

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cmdline/options.h"
#include "cmdline/parameters.h"

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

inline std::unique_ptr<Parameters> FreshRun() {
  auto run = std::make_unique<Parameters>();
  run->StartTime = kStart;
  run->NowCentis = kStart * 100;
  run->Screen.PageLength = 500;
  run->Screen.BannerShown = true;
  return run;
}

struct Parsed {
  std::unique_ptr<Parameters> Run = FreshRun();
  std::vector<char> Arguments;  // one behind the other, as the system lays them out; Run points into these
  std::vector<char*> Argv;
  ParseOutcome Outcome{};
  std::string Errors;
  std::string Output;

  Parameters* operator->() { return Run.get(); }
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
      CaptureOf([&] { parsed.Outcome = ParseOptions(*parsed.Run, argc, parsed.Argv.data(), style); });
  parsed.Errors = written.Errors;
  parsed.Output = written.Output;
  return parsed;
}

inline std::string Joined(const std::vector<std::string>& arguments) {
  std::string text;
  for (const std::string& argument : arguments) text += " [" + argument + "]";
  return text;
}
