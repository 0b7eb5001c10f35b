#pragma once

// Pieces of split messages that wait for the put record of their message. Each knows the piece before it, so that a
// message is found by following the chain backwards from its put record.

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/cs.h"
#include "mq/mqi.h"

struct LogPiece {
  std::vector<MQBYTE, CSAllocator<MQBYTE>> Data;
  std::string PrevLsn;    // empty: the first piece
  std::size_t Round = 0;  // the round in which it came
};

class LogPieces {
 public:
  void Add(const std::string& lsn, LogPiece piece);
  // Hands out the piece that was added first with this LSN; it is held no longer.
  std::optional<LogPiece> Take(std::string_view lsn);
  // Holds a piece again that was taken, in front of others with this LSN.
  void GiveBack(const std::string& lsn, LogPiece piece);
  bool empty() const { return pieces_.empty(); }

  // A message was put together: the pieces held now were there and it had no use for them.
  void EndRound(std::uint32_t message) { messages_.push_back(message); }
  // For each piece held the message that followed it first, in that order; `last` for pieces that none has followed.
  std::vector<std::uint32_t> UnusedAfter(std::uint32_t last) const;

 private:
  std::multimap<std::string, LogPiece, std::less<>> pieces_;
  std::vector<std::uint32_t> messages_;  // by round
};
