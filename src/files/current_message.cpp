#include "files/current_message.h"

#include <algorithm>
#include <cstring>

#include "cmdline/parameters.h"
#include "common/cs.h"

namespace {

constexpr std::size_t kBufferUnit = 4096;

// For the messages, which show 32-bit sizes.
int Shown(std::size_t bytes) { return static_cast<int>(std::min(bytes, std::size_t{INT32_MAX})); }

bool TracesMemory(const Parameters& run) { return run.Asked.Display.TraceMemory; }

}  // namespace

MessageBuffer::~MessageBuffer() { CSFreeMem(data_); }

MQLONG GrowMessageBuffer(Parameters& run, std::size_t bytes) {
  MessageBuffer& buffer = run.Message.Buffer;
  if (bytes <= buffer.size_ && buffer.data_ != nullptr) return 0;
  const std::size_t wanted = std::max(bytes, std::size_t{1});
  const std::size_t size = (wanted + kBufferUnit - 1) / kBufferUnit * kBufferUnit;
  if (TracesMemory(run)) run.Screen.Print("Allocating %d bytes\n", Shown(size));
  auto* const data = size < wanted ? nullptr : static_cast<MQBYTE*>(CSGetMem(size));
  if (data == nullptr) {
    if (TracesMemory(run)) run.Screen.Print("Allocation failed!\n");
    run.MessageText.Format("Unable to allocate %d bytes message storage", Shown(bytes));
    return MQRC_STORAGE_NOT_AVAILABLE;
  }
  if (TracesMemory(run)) run.Screen.Print("Allocation success %p\n", static_cast<void*>(data));
  if (buffer.data_ != nullptr) {
    std::memcpy(data, buffer.data_, buffer.size_);
    ReleaseMessageBuffer(run);
  }
  buffer.data_ = data;
  buffer.size_ = size;
  return 0;
}

void ReleaseMessageBuffer(Parameters& run) {
  MessageBuffer& buffer = run.Message.Buffer;
  if (buffer.data_ == nullptr) return;
  if (TracesMemory(run)) run.Screen.Print("Freeing %p\n", static_cast<void*>(buffer.data_));
  CSFreeMem(buffer.data_);
  buffer.data_ = nullptr;
  buffer.size_ = 0;
}

MQMD DefaultDescriptor() {
  MQMD descriptor;
  descriptor.Version = MQMD_VERSION_2;
  return descriptor;
}
