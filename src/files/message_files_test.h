#pragma once

// For tests: messages into files and back.

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

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

// A file that is read.
struct ReadFile {
  explicit ReadFile(const std::string& name) : In(name), Reader(In, Screen) { EXPECT_EQ(In.OpenFirst(), 0); }

  // Every message up to the end of the file or a failure.
  std::vector<TestMessage> Messages() {
    bool empty = false;
    std::vector<TestMessage> messages;
    Failure = Reader.StartFile(empty);
    while (!Failure.failed()) {
      Failure = Reader.Read(Message);
      if (Failure.failed() || Reader.at_end()) break;
      const auto* const data = reinterpret_cast<const char*>(Message.Data);
      messages.push_back({Message.Descriptor, std::string(data, static_cast<std::size_t>(Message.Length))});
    }
    return messages;
  }

  Console Screen;
  InputFiles In;
  MessageFileReader Reader;
  CurrentMessage Message;
  Result Failure;
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

  std::vector<TestMessage> MessagesOf(std::string_view content) {
    ReadFile file(folder.Write("in", content));
    auto messages = file.Messages();
    EXPECT_EQ(file.Failure.reason(), 0) << file.Failure.text();
    return messages;
  }

  TestFolder folder;
};

inline bool SameDescriptor(const MQMD& one, const MQMD& other) { return std::memcmp(&one, &other, sizeof one) == 0; }
