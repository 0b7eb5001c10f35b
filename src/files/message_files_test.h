#pragma once

// For tests: messages into files and back.

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cmdline/parameters.h"
#include "files/reader.h"
#include "files/writer.h"
#include "platform/test_folder.h"

struct TestMessage {
  MQMD Descriptor;
  std::string Data;
};

struct Layout {
  const char* Name;
  LayoutOptions Form{};
};

// A message file that is written.
struct WrittenFile {
  WrittenFile(const std::string& path, const LayoutOptions& layout) : Layout(layout), Name(path) {
    EXPECT_EQ(Out.Open(path.c_str(), "wb"), 0);
  }
  Result Write(const TestMessage& message, bool leavesQueue = false) {
    const std::vector<MQBYTE> data(message.Data.begin(), message.Data.end());  // exactly as long as the message
    return Writer.Write({.Descriptor = message.Descriptor,
                         .Data = data,
                         .Length = static_cast<MQLONG>(data.size()),
                         .Position = 3,
                         .Ordinal = 7,
                         .LeavesQueue = leavesQueue});
  }

  LayoutOptions Layout;
  Text<255> Name;
  OutputFile Out;
  MessageWriter Writer{Layout, Out, Name};
};

class MessageFiles : public testing::Test {
 protected:
  // What the file holds after one message.
  std::string FileOf(const LayoutOptions& layout, const TestMessage& message) {
    WrittenFile file(folder.Path("out"), layout);
    EXPECT_FALSE(file.Write(message).failed());
    EXPECT_EQ(file.Out.Close(false), 0);
    return folder.Read("out");
  }

  void OpenFile(Parameters& run, std::string_view content) {
    run.Naming.InputName.Assign(folder.Write("in", content));
    ASSERT_EQ(run.Reader.In.Open(run.Naming.InputName.c_str(), "rb"), 0);
  }

  // Every message of a file up to its end or a failure, whose reason goes to `reason`.
  std::vector<TestMessage> Messages(Parameters& run, MQLONG& reason) {
    bool end = false;
    std::vector<TestMessage> messages;
    reason = CheckInputFormat(run, end);
    while (reason == 0 && !run.Finished) {
      reason = ReadNextFileMessage(run);
      if (reason != 0 || run.Finished) break;
      const auto* const data = reinterpret_cast<const char*>(run.Message.Data);
      messages.push_back({run.Message.Descriptor, std::string(data, static_cast<std::size_t>(run.Message.Length))});
    }
    return messages;
  }
  std::vector<TestMessage> MessagesOf(std::string_view content) {
    Parameters run;
    OpenFile(run, content);
    MQLONG reason = 0;
    auto messages = Messages(run, reason);
    EXPECT_EQ(reason, 0) << run.MessageText.c_str();
    return messages;
  }

  TestFolder folder;
};

inline bool SameDescriptor(const MQMD& one, const MQMD& other) { return std::memcmp(&one, &other, sizeof one) == 0; }
