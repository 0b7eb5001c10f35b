#include "localmq/reader.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "localmq/schema.h"

namespace localmq {
namespace {

constexpr std::size_t kMaxRows = 256;
constexpr std::size_t kMaxBytes = 1024 * 1024;

// The identifiers are compared where they lie in a descriptor; SQL counts bytes from 1.
constexpr char kSelectMessages[] =
    "SELECT key, expires, backouts, persistent, descriptor, data FROM message "
    "WHERE key > ?1 AND key <= ?2 AND (?3 IS NULL OR substr(descriptor, 49, 24) = ?3) "
    "AND (?4 IS NULL OR substr(descriptor, 73, 24) = ?4) AND (?5 IS NULL OR substr(descriptor, 325, 24) = ?5) "
    "AND NOT EXISTS(SELECT 1 FROM held WHERE held.key = message.key) ORDER BY key";
static_assert(offsetof(MQMD, MsgId) == 48 && offsetof(MQMD, CorrelId) == 72 && offsetof(MQMD, GroupId) == 324);

constexpr char kSelectMessage[] =
    "SELECT key, expires, backouts, persistent, descriptor, data FROM message "
    "WHERE key = ?1 AND NOT EXISTS(SELECT 1 FROM held WHERE held.key = message.key)";

bool Expired(const Message& message, std::int64_t now) { return message.Expires != 0 && message.Expires <= now; }

}  // namespace

std::int64_t NowMilliseconds() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

QueueReader::QueueReader(std::int64_t queueId, MessageFilter filter)
    : queueId_(queueId), beforeFirst_(FirstKey(queueId) - 1), filter_(std::move(filter)) {}

void QueueReader::ReadRow(const Statement& statement, Entry& entry) {
  Message& message = entry.Content;
  message.Key = statement.Int64(0);
  message.Expires = statement.Int64(1);
  message.Backouts = statement.Long(2);
  message.Persistent = statement.Long(3) != 0;
  const auto descriptor = statement.Blob(4);
  std::memcpy(&message.Descriptor, descriptor.data(), std::min(descriptor.size(), sizeof message.Descriptor));
  entry.Gone = false;
}

void QueueReader::Forget() {
  valid_ = false;
  entries_.clear();
  position_ = 0;
}

void QueueReader::Drop(std::int64_t key) {
  const auto entry = std::lower_bound(entries_.begin(), entries_.end(), key,
                                      [](const Entry& e, std::int64_t wanted) { return e.Content.Key < wanted; });
  if (entry != entries_.end() && entry->Content.Key == key) entry->Gone = true;
}

// Decides what of the window still stands, and puts its start behind `after`.
MQLONG QueueReader::CheckWindow(Store& store, std::int64_t version, std::int64_t after, const Match& match) {
  if (version != dataVersion_) {
    Statement statement(store.Data(), "SELECT disorder FROM queue WHERE id = ?");
    if (!statement.Bind(1, queueId_).Step()) return statement.Reason() == 0 ? MQRC_Q_DELETED : statement.Reason();
    const std::int64_t disorder = statement.Int64(0);
    if (disorder != disorder_) valid_ = false;
    dataVersion_ = version;
    disorder_ = disorder;
    // What was read ahead may have been taken by others; what lies before it stays as it is.
    entries_.clear();
    position_ = 0;
    covered_ = consumed_;
    rows_ = 1;
  }
  if (!valid_ || after < from_ || after > covered_ || !(match == match_)) {
    Forget();
    match_ = match;
    from_ = after;
    consumed_ = covered_ = after;
    rows_ = 1;
    valid_ = true;
  }
  // A browse leaves messages behind that are still there, so what it has passed is no part of the window.
  from_ = std::max(from_, after);
  return MQRC_NONE;
}

MQLONG QueueReader::Fill(Store& store) {
  entries_.clear();
  bytes_.clear();
  position_ = 0;
  consumed_ = covered_;
  Statement statement(store.Data(), kSelectMessages);
  statement.Bind(1, covered_).Bind(2, LastKey(queueId_));
  const auto bindIdentifier = [&](int number, const std::optional<Identifier>& identifier) {
    if (identifier) statement.Bind(number, std::span<const std::uint8_t>(*identifier));
  };
  bindIdentifier(3, match_.MsgId);
  bindIdentifier(4, match_.CorrelId);
  bindIdentifier(5, match_.GroupId);

  const std::int64_t now = NowMilliseconds();
  while (entries_.size() < rows_ && bytes_.size() < kMaxBytes && statement.Step()) {
    Entry& entry = entries_.emplace_back();
    ReadRow(statement, entry);
    covered_ = entry.Content.Key;
    const MQMD& descriptor = entry.Content.Descriptor;
    if (Expired(entry.Content, now)) {
      expired_.push_back(entry.Content.Key);
      entries_.pop_back();
      continue;
    }
    if ((match_.MsgSeqNumber && *match_.MsgSeqNumber != descriptor.MsgSeqNumber) ||
        (match_.Offset && *match_.Offset != descriptor.Offset) ||
        (filter_ && !filter_(descriptor, statement.Blob(5)))) {
      entries_.pop_back();
      continue;
    }
    const auto data = statement.Blob(5);
    entry.Offset = bytes_.size();
    entry.Length = data.size();
    bytes_.insert(bytes_.end(), data.begin(), data.end());
  }
  for (Entry& entry : entries_) entry.Content.Data = std::span(bytes_).subspan(entry.Offset, entry.Length);
  rows_ = std::min(rows_ * 2, kMaxRows);
  return statement.Reason();
}

MQLONG QueueReader::RemoveExpired(Store& store) {
  if (expired_.empty()) return MQRC_NONE;
  Transaction transaction(store.Data(), Transaction::Durability::kProcess);
  if (transaction.Reason() != MQRC_NONE) return transaction.Reason();
  std::int64_t removed = 0;
  for (const std::int64_t key : expired_) {
    Statement statement(store.Data(),
                        "DELETE FROM message WHERE key = ?1 AND NOT EXISTS(SELECT 1 FROM held WHERE held.key = ?1)");
    if (const MQLONG reason = statement.Bind(1, key).Run(); reason != MQRC_NONE) return reason;
    removed += store.Data().Changes();
  }
  expired_.clear();
  Statement depth(store.Data(), "UPDATE queue SET depth = depth - ? WHERE id = ?");
  const MQLONG reason = depth.Bind(1, removed).Bind(2, queueId_).Run();
  return reason == MQRC_NONE ? transaction.Commit() : reason;
}

MQLONG QueueReader::Next(Store& store, std::int64_t after, const Match& match, bool exact, const Message*& found) {
  found = nullptr;
  const std::int64_t version = exact ? store.Data().DataVersion() : store.Data().RecentDataVersion();
  if (const MQLONG reason = CheckWindow(store, version, after, match); reason != MQRC_NONE) return reason;
  const std::int64_t now = NowMilliseconds();
  while (true) {
    for (; position_ < entries_.size(); ++position_) {
      const Entry& entry = entries_[position_];
      if (entry.Content.Key <= after || entry.Gone) {
        consumed_ = entry.Content.Key;
        continue;
      }
      if (!Expired(entry.Content, now)) {
        found = &entry.Content;
        return MQRC_NONE;
      }
      consumed_ = entry.Content.Key;
      expired_.push_back(entry.Content.Key);
    }
    if (const MQLONG reason = Fill(store); reason != MQRC_NONE) return reason;
    if (entries_.empty()) break;
  }
  if (!exact && store.Data().DataVersion() != version) return Next(store, after, match, true, found);
  return RemoveExpired(store);
}

MQLONG QueueReader::At(Store& store, std::int64_t key, const Message*& found) {
  found = nullptr;
  Statement statement(store.Data(), kSelectMessage);
  if (!statement.Bind(1, key).Step()) return statement.Reason();
  ReadRow(statement, single_);
  if (Expired(single_.Content, NowMilliseconds())) return MQRC_NONE;
  const auto data = statement.Blob(5);
  singleBytes_.assign(data.begin(), data.end());
  single_.Content.Data = singleBytes_;
  found = &single_.Content;
  return MQRC_NONE;
}

}  // namespace localmq
