#include "files/current_message.h"

#include <algorithm>
#include <cstring>

#include "common/cs.h"

namespace {

constexpr std::size_t kBufferUnit = 4096;

}  // namespace

MessageBuffer::~MessageBuffer() { Release(); }

Result MessageBuffer::Grow(std::size_t bytes) {
  if (bytes <= size_ && data_ != nullptr) return {};
  const std::size_t wanted = std::max(bytes, std::size_t{1});
  const std::size_t size = (wanted + kBufferUnit - 1) / kBufferUnit * kBufferUnit;
  memory_.Allocating(size);
  auto* const data = size < wanted ? nullptr : static_cast<MQBYTE*>(CSGetMem(size));
  if (data == nullptr) {
    memory_.Failed("Allocation failed!\n");
    return {MQRC_STORAGE_NOT_AVAILABLE,
            FormatText("Unable to allocate %d bytes message storage", MemoryTrace::Shown(bytes))};
  }
  memory_.Allocated(data);
  if (data_ != nullptr) {
    std::memcpy(data, data_, size_);
    Release();
  }
  data_ = data;
  size_ = size;
  return {};
}

void MessageBuffer::Release() {
  if (data_ == nullptr) return;
  memory_.Freeing(data_);
  CSFreeMem(data_);
  data_ = nullptr;
  size_ = 0;
}

MQMD DefaultDescriptor() {
  MQMD descriptor;
  descriptor.Version = MQMD_VERSION_2;
  return descriptor;
}
