
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "common/console.h"
#include "generic/pcf.h"
#include "generic/queue_files.h"

namespace {

const QueueFileNames kHere{"", "", ".tvo"};

TEST(GenericFileSpec, NamesDirectoryAndType) {
  const struct {
    const char* Text;
    PathStyle Style;
    MQLONG Result;
    const char* Directory;
    const char* Type;
  } cases[] = {
      {"*", PathStyle::Posix, 0, "./", ".tvo"},
      {"/out/*", PathStyle::Posix, 0, "/out/", ".tvo"},
      {"*.msg", PathStyle::Windows, 0, ".\\", ".msg"},
      {"C:\\out\\*", PathStyle::Windows, 0, "C:\\out\\", ".tvo"},
      {"*.a23456789012345678", PathStyle::Posix, 0, "./", ".a23456789012345678"},
      {"*.a2345678901234567890", PathStyle::Posix, MQRC_OPTIONS_ERROR, "./", ""},
      {"*.m-1", PathStyle::Posix, MQRC_OPTIONS_ERROR, "./", ""},
      {"*.", PathStyle::Posix, MQRC_OPTIONS_ERROR, "./", ""},
      {"a*", PathStyle::Posix, MQRC_OPTIONS_ERROR, "./", ""},
      {"out/*x", PathStyle::Posix, MQRC_OPTIONS_ERROR, "out/", ""},
  };
  for (const auto& c : cases) {
    Console screen;
    QueueFileNames names;
    EXPECT_EQ(ParseGenericFileSpec(screen, c.Text, names, c.Style), c.Result) << c.Text;
    EXPECT_EQ(names.Directory, c.Directory) << c.Text;
    EXPECT_EQ(names.FileType, c.Type) << c.Text;
  }
}

TEST(QueueFileName, YieldsQueueBaseNameAndIndex) {
  const struct {
    const char* Name;
    const char* Fault;
    const char* Queue;
    const char* Base;
    int Index;  // -1: none
  } cases[] = {
      {"Q1.tvo", nullptr, "Q1", "Q1", -1},
      {"A!B.tvo", nullptr, "A/B", "A!B", -1},
      {"q1#1.tvo", nullptr, "q1", "q1#1", -1},
      {"Q1$12.tvo", nullptr, "Q1", "Q1", 12},
      {"Q1$00012.tvo", nullptr, "Q1", "Q1", 12},
      {"q1#2$3.tvo", nullptr, "q1", "q1#2", 3},
      {"Q1$.tvo", "its index is no number", "Q1", "Q1", 0},
      {"Q1$2x.tvo", "its index is no number", "Q1", "Q1", 2},
      {"Q1$-2.tvo", "its index is no number", "Q1", "Q1", -2},
      {"Q1$99999999999.tvo", "its index is no number", "Q1", "Q1", 0},
      {"Q1#old.tvo", "what follows the '#' is no number", "Q1", "Q1#old", -1},
      {".tvo", "it names no queue", "", "", -1},
      {"A23456789.123456789.123456789.123456789.123456789.tvo", "its queue name is longer than 48 characters",
       "A23456789.123456789.123456789.123456789.123456789", "A23456789.123456789.123456789.123456789.123456789", -1},
  };
  const QueueFileNames names{"dir/", "", ".tvo"};
  for (const auto& c : cases) {
    const std::optional<GenericQueueEntry> entry = ParseQueueFileName(names, c.Name);
    ASSERT_TRUE(entry) << c.Name;
    EXPECT_STREQ(entry->Fault, c.Fault) << c.Name;
    EXPECT_EQ(entry->QueueName, c.Queue) << c.Name;
    EXPECT_EQ(entry->BaseName, c.Base) << c.Name;
    EXPECT_EQ(entry->HasIndex, c.Index != -1) << c.Name;
    EXPECT_EQ(entry->Index, c.Index == -1 ? 0 : c.Index) << c.Name;
    EXPECT_EQ(entry->FilePath, std::string("dir/") + c.Name);
  }
  EXPECT_FALSE(ParseQueueFileName(names, "Q1.TVO"));
}

TEST(GenericQueueList, NamesFilesThatLeadBackToTheirQueues) {
  const struct {
    std::vector<std::string> Existing;
    std::vector<std::string> Queues;
    const char* Files;
  } cases[] = {
      {{}, {"q1", "Q/1", "Q1"}, "Q!1.tvo Q1.tvo q1#1.tvo "},
      // A file of another queue that differs only by its case may be the same file.
      {{"Q1.tvo", "Q1#1.tvo", "q1#2.tvo"}, {"q1"}, "q1#2.tvo "},
      {{"q1.tvo", "Q1#1.tvo"}, {"Q1", "q1"}, "Q1#1.tvo q1.tvo "},
      {{"q1$1.tvo"}, {"Q1"}, "Q1#1.tvo "},
      {{"q1.other"}, {"Q1"}, "Q1.tvo "},
      // Windows takes the part before the first dot for a device.
      {{},
       {"AUX.X", "COM1", "CON.", "NUL", "lpt9./.x", "nul", "prn%n"},
       "AUX~.X.tvo COM1~.tvo CON~..tvo NUL~.tvo lpt9~.!.x.tvo nul~#1.tvo prn%n.tvo "},
      {{},
       {"..", "A.NUL", "COM", "COM10", "CONSOLE", "NUL/X"},
       "...tvo A.NUL.tvo COM.tvo COM10.tvo CONSOLE.tvo NUL!X.tvo "},
  };
  for (const auto& c : cases) {
    GenericQueueList existing;
    for (const auto& name : c.Existing) {
      const std::optional<GenericQueueEntry> entry = ParseQueueFileName(kHere, name);
      EXPECT_EQ(entry ? existing.Add(*entry) : 0, 0);
    }
    GenericQueueList list;
    for (const auto& name : c.Queues) {
      GenericQueueEntry entry;
      entry.QueueName = name;
      ASSERT_EQ(list.Add(entry), 0);
    }
    list.NameFiles("", ".tvo", existing);
    std::string files;
    for (const auto& [key, entry] : list) {
      files += entry.FilePath + " ";
      const std::optional<GenericQueueEntry> back = ParseQueueFileName(kHere, entry.FilePath);
      ASSERT_TRUE(back);
      EXPECT_EQ(back->Fault, nullptr);
      EXPECT_EQ(back->QueueName, entry.QueueName);
    }
    EXPECT_EQ(files, c.Files);
  }
}

TEST(GenericQueueList, FormsGroupsOfIndexedFiles) {
  GenericQueueList list;
  for (const char* name : {"B$10.tvo", "B$2.tvo", "B$1.tvo", "A.tvo", "b#1$1.tvo"}) {
    ASSERT_EQ(list.Add(ParseQueueFileName(kHere, name).value()), 0);
  }
  list.FormGroups();
  std::string seen;
  for (const auto& [key, entry] : list) {
    seen += entry.FilePath;
    if (entry.GroupStart && entry.HasIndex) seen += ":" + std::to_string(entry.HighestIndex);
    seen += entry.GroupStart ? "|" : " ";
  }
  EXPECT_EQ(seen, "A.tvo|B$1.tvo:10|B$2.tvo B$10.tvo b#1$1.tvo:1|");
}

// ---- Replies of the command server

std::vector<MQBYTE> Reply(const std::vector<MQLONG>& words) {
  MQCFH header;
  header.ParameterCount = words[0];
  std::vector<MQBYTE> bytes(sizeof header + (words.size() - 1) * 4);
  std::memcpy(bytes.data(), &header, sizeof header);
  std::memcpy(bytes.data() + sizeof header, words.data() + 1, bytes.size() - sizeof header);
  return bytes;
}

int CountParameters(const std::vector<MQBYTE>& bytes) {
  PcfReply reply(bytes.data(), bytes.size());
  int n = 0;
  for (PcfParameter parameter; reply.Next(parameter);) ++n;
  return n;
}

TEST(PcfReply, WalksWhatARequestBuilds) {
  PcfRequest request{MQCFH{}};
  request.AddString(MQCA_Q_NAME, "APP.*");
  request.AddInteger(MQIA_Q_TYPE, MQQT_LOCAL);
  request.AddIntegerList(MQIACF_Q_ATTRS, {1, 2, 3});
  request.AddString(MQCA_Q_DESC, "");
  PcfReply reply(static_cast<const MQBYTE*>(request.data()), static_cast<std::size_t>(request.size()));
  ASSERT_TRUE(reply.usable());
  EXPECT_EQ(reply.header().ParameterCount, 4);
  PcfParameter parameter;
  ASSERT_TRUE(reply.Next(parameter));
  EXPECT_EQ(parameter.String, "APP.*");
  ASSERT_TRUE(reply.Next(parameter));
  EXPECT_EQ(parameter.Integer, MQQT_LOCAL);
  ASSERT_TRUE(reply.Next(parameter));
  ASSERT_TRUE(reply.Next(parameter));
  EXPECT_EQ(parameter.String, "");
  EXPECT_FALSE(reply.Next(parameter));
}

TEST(PcfReply, StopsAtLengthsThatDoNotFit) {
  const struct {
    const char* Name;
    std::vector<MQLONG> Words;
    int Walked;
  } cases[] = {
      {"count beyond the bytes", {5, MQCFT_INTEGER, 16, 3, 7}, 1},
      {"integer without value", {1, MQCFT_INTEGER, 12, 3}, 0},
      {"string without its length", {1, MQCFT_STRING, 16, 2016, 0}, 0},
      {"unknown type", {2, 99, 12, 3, MQCFT_INTEGER, 16, 3, 7}, 0},
      {"group of two and one behind it",
       {2, MQCFT_GROUP, 16, 1, 2, MQCFT_INTEGER, 16, 1, 1, MQCFT_INTEGER, 16, 2, 2, MQCFT_INTEGER, 16, 3, 3},
       3},
      {"group count negative", {2, MQCFT_GROUP, 16, 1, -5, MQCFT_INTEGER, 16, 1, 1}, 0},
      {"group without count", {2, MQCFT_GROUP, 12, 1, MQCFT_INTEGER, 16, 1, 1}, 0},
  };
  for (const auto& c : cases) EXPECT_EQ(CountParameters(Reply(c.Words)), c.Walked) << c.Name;
}

}  // namespace
