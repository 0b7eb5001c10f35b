#pragma once

// Reading a queue in delivery order. A reader belongs to one open handle and keeps a window of messages that it has
// read ahead, so that browsing costs one query for many messages. The window is only trusted while the database says
// that nobody else has changed it, and it grows while it proves useful.

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "localmq/store.h"

namespace localmq {

using Identifier = std::array<std::uint8_t, 24>;

// What a message must carry to be taken; what is absent does not matter.
struct Match {
  std::optional<Identifier> MsgId;
  std::optional<Identifier> CorrelId;
  std::optional<Identifier> GroupId;
  std::optional<MQLONG> MsgSeqNumber;
  std::optional<MQLONG> Offset;

  bool operator==(const Match&) const = default;
};

// A message on a queue. `Data` points into the reader's window and is valid until the reader is used again.
struct Message {
  std::int64_t Key{0};
  std::int64_t Expires{0};
  MQLONG Backouts{0};
  bool Persistent{false};
  MQMD Descriptor;
  std::span<const std::uint8_t> Data;
};

// Milliseconds since 1970.
std::int64_t NowMilliseconds();

// Says whether a message is one that a handle wants.
using MessageFilter = std::function<bool(const MQMD&, std::span<const std::uint8_t>)>;

class QueueReader {
 public:
  // An empty filter wants every message.
  QueueReader(std::int64_t queueId, MessageFilter filter);

  // The first available message behind `after` (a key, or BeforeFirst()) that fits; null when there is none. Available
  // is what is committed, not held by a unit of work and not expired. A message that is found may have been taken by
  // another process a moment ago, unless `exact`, which is for use within a transaction; that there is none is exact.
  MQLONG Next(Store& store, std::int64_t after, const Match& match, bool exact, const Message*& found);
  // The message with this very key, null when it is not available.
  MQLONG At(Store& store, std::int64_t key, const Message*& found);
  std::int64_t BeforeFirst() const { return beforeFirst_; }

  // This connection has taken the message.
  void Drop(std::int64_t key);
  // This connection has changed the queue in another way.
  void Forget();

 private:
  struct Entry {
    Message Content;
    std::size_t Offset;  // of its data in bytes_
    std::size_t Length;
    bool Gone;
  };

  MQLONG CheckWindow(Store& store, std::int64_t version, std::int64_t after, const Match& match);
  MQLONG Fill(Store& store);
  MQLONG RemoveExpired(Store& store);
  void ReadRow(const Statement& statement, Entry& entry);

  std::int64_t queueId_;
  std::int64_t beforeFirst_;
  MessageFilter filter_;
  Match match_;
  // entries_ from position_ on are the messages that fit with keys in (consumed_, covered_]; there are none that fit in
  // (from_, consumed_].
  std::vector<Entry> entries_;
  std::vector<std::uint8_t> bytes_;
  std::size_t position_{0};
  std::int64_t from_{0};
  std::int64_t consumed_{0};
  std::int64_t covered_{0};
  bool valid_{false};
  std::size_t rows_{1};  // how many messages the next fill reads
  std::int64_t dataVersion_{-1};
  std::int64_t disorder_{-1};
  std::vector<std::int64_t> expired_;
  Entry single_{};
  std::vector<std::uint8_t> singleBytes_;
};

}  // namespace localmq
