// Message files and dumps of the browse sample. What the reader takes from any of them, the writer brings into a file
// from which the same messages are read.

#include <cstddef>
#include <cstring>
#include <vector>

#include "files/reader.h"
#include "files/writer.h"
#include "fuzz.h"

namespace {

struct Message {
  MQMD Descriptor;
  std::string Data;
};

constexpr LayoutOptions kLayouts[] = {{},
                                      {.AsciiColumns = true},
                                      {.AsciiLines = true, .ApplDataAsText = true},
                                      {.Printable = true, .ApplDataAsText = true}};

// Every message of a file; `whole` is cleared when its end was not reached.
std::vector<Message> ReadAll(const char* name, bool& whole) {
  std::vector<Message> messages;
  Console screen;
  CurrentMessage message;
  InputFiles files(name);
  MessageFileReader reader(files, screen);
  bool empty = false;
  Result result = files.OpenNext();
  if (!result.failed()) result = reader.StartFile(empty);
  while (!result.failed() && !reader.at_end()) {
    result = reader.Read(message);
    if (!result.failed() && !reader.at_end()) messages.push_back({message.Descriptor, DataOf(message)});
  }
  Require(!result.failed() || !result.text().empty());
  whole = !result.failed();
  return messages;
}

void WriteAll(const char* name, const std::vector<Message>& messages, std::size_t layout) {
  OutputFile out;
  const Text<255> called(name);
  MessageWriter writer(kLayouts[layout], out, called);
  Require(out.Open(name, "wb") == 0 && !writer.WriteHeader("\n", {}).failed());
  for (const auto& [descriptor, data] : messages) {
    const DataBytes bytes(reinterpret_cast<const MQBYTE*>(data.data()), data.size());
    const auto length = static_cast<MQLONG>(bytes.size());
    Require(!writer.Write({.Descriptor = descriptor, .Data = bytes, .Length = length}).failed());
  }
  Require(out.Close(false) == 0);
}

// A file holds no StrucId, and of a message of version 1 (or of none) only that version's fields: the others are as in
// any new message of version 2.
bool Same(const MQMD& one, const MQMD& other) {
  const bool extended = one.Version >= MQMD_VERSION_2;
  const std::size_t end = extended ? sizeof one : offsetof(MQMD, GroupId);
  return other.Version == (extended ? one.Version : MQMD_VERSION_2) &&
         std::memcmp(&one.Report, &other.Report, end - offsetof(MQMD, Report)) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  WriteFile("in", AsText(data, size));
  bool whole = false;
  const std::vector<Message> messages = ReadAll("in", whole);
  if (messages.empty()) return 0;
  WriteAll("out", messages, size % std::size(kLayouts));
  const std::vector<Message> again = ReadAll("out", whole);
  Require(whole && again.size() == messages.size());
  for (std::size_t i = 0; i < again.size(); ++i) {
    Require(again[i].Data == messages[i].Data);
    Require(Same(messages[i].Descriptor, again[i].Descriptor));
  }
  return 0;
}
