#include "files/format_check.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "common/console.h"
#include "common/cs.h"
#include "files/descriptor_fields.h"
#include "files/reader.h"
#include "files/writer.h"
#include "platform/system.h"

namespace {

constexpr int kDataLength = 4096;

struct LayoutCase {
  const char* Title;
  LayoutOptions Layout;
};

constexpr LayoutCase kLayouts[] = {{"  Testing Hex file\n", {}},
                                   {"  Testing Ascii file\n", {.AsciiLines = true}},
                                   {"  Testing Ascii column file\n", {.AsciiLines = true, .AsciiColumns = true}}};

// Every field that has a tag holds its place in the table, so that no two fields are alike.
MQMD TestDescriptor() {
  MQMD descriptor;
  auto* const bytes = reinterpret_cast<unsigned char*>(&descriptor);
  for (MQLONG i = 0; DescriptorFields[i].Kind != FieldKind::End; ++i) {
    const DescriptorField& field = DescriptorFields[i];
    if (field.Tag[0] == '\0') continue;
    if (field.Kind == FieldKind::Integer) {
      std::memcpy(bytes + field.Offset, &i, sizeof i);
    } else {
      std::memset(bytes + field.Offset, field.Kind == FieldKind::String ? 'a' + i : i, field.Length);
    }
  }
  descriptor.Version = MQMD_VERSION_2;
  return descriptor;
}

[[noreturn]] void Mismatch(const char* text, int line, long long value) {
  WriteStandardOutput(text);
  std::fflush(stdout);
  CSTrap("tarvofnc", __TIMESTAMP__, line, value);
}

bool WriteTestFile(const LayoutOptions& layout, const MQMD& descriptor, DataBytes data, const std::string& name) {
  errno = 0;
  std::FILE* const file = OpenTemporaryForWrite(name);
  OutputFile out;
  if (const int error = errno; file == nullptr || out.Adopt(file) != 0) {
    const std::string text = FormatText("Can not open test file '%s' for output\n", name.c_str());
    WriteStandardOutput(WithCause(text, error));
    return false;
  }
  const Text<255> shown(name);
  const Result result =
      MessageWriter(layout, out, shown)
          .Write({.Descriptor = descriptor, .Data = data, .Length = static_cast<MQLONG>(data.size())});
  MQLONG reason = result.reason();
  if (reason == 0 && out.Close(true) != 0) reason = MQRC_RESOURCE_PROBLEM;
  if (reason != 0) PrintOutput("WriteFileMessage returned RC(%d)\n", reason);
  return reason == 0;
}

bool ReadTestFile(CurrentMessage& message, Console& screen, const std::string& name) {
  InputFiles files(name);
  MessageFileReader reader(files, screen);
  if (reader.Allocate().failed()) {
    PrintOutput("Can not allocate line area\n");
    return false;
  }
  if (const int error = files.OpenFirst(); error != 0) {
    WriteStandardOutput(WithCause(FormatText("Can not open test file '%s' for input\n", name.c_str()), error));
    return false;
  }
  message.Length = 0;
  std::memset(static_cast<void*>(&message.Descriptor), 0, sizeof message.Descriptor);
  bool end = false;
  const Result result = reader.ReadMessage(message, end);
  if (result.failed()) PrintOutput("ReadFileMessage returned RC(%d)\n", result.reason());
  return !result.failed();
}

bool TestLayout(CurrentMessage& message, Console& screen, const LayoutCase& layout, const MQMD& descriptor,
                MQBYTE* data) {
  WriteStandardOutput(layout.Title);
  const std::string name = TemporaryFilePath("tarvo.tst");
  if (!WriteTestFile(layout.Layout, descriptor, {data, kDataLength}, name) || !ReadTestFile(message, screen, name)) {
    return false;
  }
  if (std::memcmp(&message.Descriptor, &descriptor, sizeof descriptor) != 0) {
    Mismatch("Message Descriptors don't match\n", __LINE__, 0);
  }
  if (message.Length != kDataLength) Mismatch("Message length does not match\n", __LINE__, message.Length);
  if (std::memcmp(message.Buffer.data(), data, kDataLength) != 0) Mismatch("Message does not match!\n", __LINE__, 0);
  return true;
}

bool TestLayouts() {
  CurrentMessage message;
  Console screen;
  const std::unique_ptr<MQBYTE, void (*)(void*)> data(static_cast<MQBYTE*>(CSGetMem(kDataLength)), CSFreeMem);
  if (data == nullptr || message.Buffer.Grow(kDataLength).failed()) {
    PrintOutput("Can not allocate %d bytes\n", kDataLength);
    return false;
  }
  for (int i = 0; i < kDataLength; ++i) data.get()[i] = static_cast<MQBYTE>(i);
  const MQMD descriptor = TestDescriptor();
  for (const LayoutCase& layout : kLayouts) {
    if (!TestLayout(message, screen, layout, descriptor, data.get())) return false;
  }
  return true;
}

}  // namespace

void RunFileFormatTest() {
  PrintOutput("\nRunning file format tests");
  PrintOutput("\n-------------------------\n");
  if (TestLayouts()) {
    PrintOutput("All tests passed\n");
    PrintOutput("----------------\n\n");
  }
  std::fflush(stdout);
}
