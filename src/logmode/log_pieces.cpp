#include "logmode/log_pieces.h"

#include <algorithm>
#include <utility>

void LogPieces::Add(const std::string& lsn, LogPiece piece) {
  piece.Round = messages_.size();
  pieces_.emplace(lsn, std::move(piece));
}

std::optional<LogPiece> LogPieces::Take(std::string_view lsn) {
  const auto found = pieces_.lower_bound(lsn);
  if (found == pieces_.end() || found->first != lsn) return std::nullopt;
  LogPiece piece = std::move(found->second);
  pieces_.erase(found);
  return piece;
}

void LogPieces::GiveBack(const std::string& lsn, LogPiece piece) {
  pieces_.emplace_hint(pieces_.lower_bound(lsn), lsn, std::move(piece));
}

std::vector<std::uint32_t> LogPieces::UnusedAfter(std::uint32_t last) const {
  std::vector<std::uint32_t> after;
  for (const auto& [lsn, piece] : pieces_)
    after.push_back(piece.Round < messages_.size() ? messages_[piece.Round] : last);
  std::sort(after.begin(), after.end());
  return after;
}
