#pragma once

// The message in hand: every source fills it, selection looks at it, every target takes it. One buffer serves a whole
// transfer; nothing is allocated per message.

#include <cstddef>
#include <cstdint>

#include "common/memory_trace.h"
#include "common/result.h"
#include "mq/mqi.h"

struct QueueElement;

// A tracked block whose size is always a multiple of 4096 bytes.
class MessageBuffer {
 public:
  MessageBuffer() = default;
  ~MessageBuffer();
  MessageBuffer(const MessageBuffer&) = delete;
  MessageBuffer& operator=(const MessageBuffer&) = delete;
  MQBYTE* data() { return data_; }
  const MQBYTE* data() const { return data_; }
  std::size_t size() const { return size_; }

  // Makes the buffer hold at least `bytes`, keeping its content. Sizes are multiples of 4096, so that a run of slightly
  // longer messages does not reallocate for each. On failure the buffer stays as it was, and the result is
  // MQRC_STORAGE_NOT_AVAILABLE. The buffer may move: pointers into it are taken again afterwards.
  Result Grow(std::size_t bytes);
  // Gives the memory back before the buffer itself goes.
  void Release();
  // From here on growing and releasing are told.
  void Trace(MemoryTrace memory) { memory_ = memory; }

 private:
  MQBYTE* data_ = nullptr;
  std::size_t size_ = 0;
  MemoryTrace memory_;
};

struct CurrentMessage {
  QueueElement* From = nullptr;  // the queue that it was read from; null: it comes from none
  MQMD Descriptor;               // storage for version 2; its Version says 1 or 2
  MessageBuffer Buffer;
  // Where the data is: normally the buffer, but a source may leave it in its own storage and a stripped header moves
  // it.
  MQBYTE* Data = nullptr;
  MQLONG Length = 0;  // length of the message, bytes
  // How many bytes from Data on were delivered: Length, or less when only the descriptor was fetched. Whoever looks at
  // the data looks at no more than this.
  MQLONG Delivered = 0;
  MQLONG ExpectedLength = 0;  // log mode: the length that the log says the whole message has
};

// The descriptor that a source starts from: MQMD_DEFAULT with Version 2.
MQMD DefaultDescriptor();
