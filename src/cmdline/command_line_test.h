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
  std::vector<std::string> Arguments;  // Run points into these
  ParseOutcome Outcome{};
  std::string Errors;
  std::string Output;

  Parameters* operator->() { return Run.get(); }
};

inline Parsed Parse(const std::vector<std::string>& arguments, PathStyle style = NativePathStyle()) {
  Parsed parsed;
  parsed.Arguments = arguments;
  parsed.Arguments.insert(parsed.Arguments.begin(), "tarvo");
  std::vector<char*> argv;
  for (std::string& argument : parsed.Arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  const Written written = CaptureOf([&] {
    parsed.Outcome = ParseOptions(*parsed.Run, static_cast<int>(parsed.Arguments.size()), argv.data(), style);
  });
  parsed.Errors = written.Errors;
  parsed.Output = written.Output;
  return parsed;
}

inline std::string Joined(const std::vector<std::string>& arguments) {
  std::string text;
  for (const std::string& argument : arguments) text += " [" + argument + "]";
  return text;
}
