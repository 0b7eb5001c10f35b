#include "files/line_buffer.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "cmdline/parameters.h"
#include "files/reader.h"

namespace {

constexpr std::size_t kFirstLineCapacity = 1024;

bool TracesMemory(const Parameters& run) { return run.Asked.Display.TraceMemory; }

int Shown(std::size_t bytes) { return static_cast<int>(std::min(bytes, std::size_t{INT32_MAX})); }

MQLONG NoLineStorage(Parameters& run, std::size_t bytes) {
  if (TracesMemory(run)) run.Screen.Print("Allocation failed\n");
  run.MessageText.Format("Unable to allocate %d bytes line storage", Shown(bytes));
  return MQRC_STORAGE_NOT_AVAILABLE;
}

// Lines are looked at in the read block, which grows by itself; the capacity tells what a line needs.
void GrantLine(Parameters& run, std::string_view line) {
  ReaderState& reader = run.Reader;
  const bool ended = line.back() == '\n';
  // One place is kept for a terminator, and a line without a line end that fills the rest may go on.
  const std::size_t needed = line.size() + (ended ? 1 : 2);
  while (reader.LineCapacity < needed) {
    reader.LineCapacity = std::max(2 * reader.LineCapacity, kFirstLineCapacity);
    if (!TracesMemory(run)) continue;
    run.Screen.Print("Allocating %d bytes\n", Shown(reader.LineCapacity));
    run.Screen.Print("Allocation success %p\n", static_cast<const void*>(line.data()));
  }
}

MQLONG ReadFailed(Parameters& run) {
  const int error = run.Reader.In.error();
  if (error == ENOMEM) return NoLineStorage(run, 2 * std::max(run.Reader.LineCapacity, kStreamBlock));
  run.MessageText.Format("Error reading from file '%s' RC(%d)", run.Naming.InputName.c_str(), error);
  return MQRC_FILE_SYSTEM_ERROR;
}

std::string_view WithoutLineEnd(std::string_view line) {
  line.remove_suffix(1);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

}  // namespace

MQLONG CreateLineBuffer(Parameters& run) {
  if (run.Reader.LineCapacity != 0) return 0;
  if (TracesMemory(run)) run.Screen.Print("Allocating %d bytes\n", Shown(kFirstLineCapacity));
  const void* const block = run.Reader.In.AllocateBlock();
  if (block == nullptr) return NoLineStorage(run, kFirstLineCapacity);
  if (TracesMemory(run)) run.Screen.Print("Allocation success %p\n", block);
  run.Reader.LineCapacity = kFirstLineCapacity;
  return 0;
}

void ReleaseLineBuffer(Parameters& run) {
  ReaderState& reader = run.Reader;
  reader.Line = {};
  reader.LineCapacity = 0;
  if (reader.In.HoldsBytes()) return;  // they go with the file
  if (TracesMemory(run)) run.Screen.Print("Freeing %p\n", reader.In.AllocateBlock());
  reader.In.ReleaseBlock();
}

MQLONG ReadFileLine(Parameters& run, bool advance, bool& end) {
  ReaderState& reader = run.Reader;
  end = false;
  if (!advance && !reader.Line.empty()) return 0;
  reader.PassedEmptyLine = false;
  reader.BehindLine = reader.FileBytes;
  const bool commentsCount = run.Reader.ReadsDump;
  for (;;) {
    std::string_view line = reader.In.NextLine();
    if (line.empty()) {
      reader.Line = {};
      if (reader.In.error() != 0) return ReadFailed(run);
      end = true;
      return 0;
    }
    reader.FileBytes += static_cast<std::int64_t>(line.size());
    ++reader.LineNumber;
    if (line.size() + 2 > reader.LineCapacity) GrantLine(run, line);
    if (line.back() != '\n') {
      reader.CutLine = line;
      reader.Line = {};
      end = true;
      return 0;
    }
    line = WithoutLineEnd(line);
    if (line.empty()) {
      if (!reader.PassedEmptyLine) reader.BehindLine = reader.FileBytes;
      reader.PassedEmptyLine = true;
      continue;
    }
    if (line.front() == '*' && !commentsCount) continue;
    reader.Line = line;
    return 0;
  }
}
