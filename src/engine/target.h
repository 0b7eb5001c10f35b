#pragma once

// Where the messages of a transfer go. What a target does not need it leaves as it is here: nothing is done.

#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "common/result.h"
#include "engine/outcome.h"
#include "engine/statistics.h"
#include "files/current_message.h"
#include "files/output_files.h"

class Target {
 public:
  virtual ~Target() = default;

  // Whether messages go anywhere. If not, none is selected either.
  virtual bool Wanted() const { return true; }
  // Whether it may take messages that have left their queue for good.
  virtual Result CheckAtOnce() const { return {}; }
  // Before the first message.
  virtual Result Begin(const HeaderNames&) { return {}; }
  // Whether the message has room, which is seen to before it leaves its queue.
  virtual bool HasRoom(const CurrentMessage&) const { return true; }
  virtual Result MakeRoom(const MessagePlace&, const HeaderNames&) { return {}; }
  // Takes one message. `atOnce`: it has left its queue for good, so that it must be safe when this returns.
  virtual Result Take(CurrentMessage& message, const MessagePlace& place, bool atOnce) = 0;

  // What was taken is asked for and told: puts whose outcome was still open. Before every commit, before a wait, and at
  // the end.
  virtual Result Settle() { return {}; }
  // Whether messages wait here that the system does not have yet; it gets them.
  virtual bool Pending() const { return false; }
  virtual Result Flush() { return {}; }
  // Milliseconds until what is open must be closed, not above 0 when it is due; closes it.
  virtual std::int64_t AgeLeft() const { return std::numeric_limits<std::int64_t>::max(); }
  virtual Result CloseAged() { return {}; }

  // Makes safe what was taken, before a unit of work that removed it is committed; the unit is committed.
  virtual Result Secure() { return {}; }
  virtual void Keep() {}
  // Whether files were written that would still have the messages of a unit of unknown outcome.
  virtual bool KeepsMessages() const { return false; }
  // Gives up what is being written. Returns the name of the file that stays with it; empty: none.
  virtual std::string Leave() { return {}; }

  // What it has put on queues, and the number of messages that it has taken in all.
  virtual Tally put() const { return {}; }
  virtual std::int64_t taken() const { return put().Msgs; }
};

// Messages go nowhere.
class NoTarget : public Target {
 public:
  bool Wanted() const override { return false; }
  Result Take(CurrentMessage&, const MessagePlace&, bool) override { return {}; }
};

// A message whose data was not fetched must not go anywhere with bytes that are not its own: MQRC_UNEXPECTED_ERROR.
Result NotWhole(const CurrentMessage& message);
inline Result CheckWhole(const CurrentMessage& message) {
  return message.Delivered == message.Length ? Result() : NotWhole(message);
}

// Output files, the null output included.
class FileTarget : public Target {
 public:
  // `now`: the instant from which the messages' ages are counted, seconds since 1970. `mayAsk`: whether an old file may
  // be overwritten can be asked.
  FileTarget(const Options& asked, OutputFiles& files, std::int64_t now, bool mayAsk)
      : input_(asked.Input),
        output_(asked.Output),
        layout_(asked.Layout),
        limits_(asked.Limits),
        files_(files),
        now_(now),
        mayAsk_(mayAsk) {}

  Result CheckAtOnce() const override;
  Result Begin(const HeaderNames& names) override { return files_.is_open() ? files_.WriteHeader(names) : Result(); }
  bool HasRoom(const CurrentMessage& message) const override { return files_.HasRoom(message.Length); }
  Result MakeRoom(const MessagePlace& place, const HeaderNames& names) override;
  Result Take(CurrentMessage& message, const MessagePlace& place, bool atOnce) override;
  bool Pending() const override { return files_.Pending(); }
  Result Flush() override { return files_.Flush(false); }
  std::int64_t AgeLeft() const override;
  Result CloseAged() override { return files_.Close(); }
  Result Secure() override;
  void Keep() override { files_.changes().Keep(); }
  bool KeepsMessages() const override { return !files_.changes().files().empty(); }
  std::string Leave() override { return files_.changes().Leave(); }
  std::int64_t taken() const override { return files_.written().Msgs; }

 private:
  const InputOptions& input_;
  const OutputOptions& output_;
  const LayoutOptions& layout_;
  const LimitOptions& limits_;
  OutputFiles& files_;
  std::int64_t now_;
  bool mayAsk_;
};

// The statistics of a summary. Its output file, if there is one, stays empty.
class SummaryTarget : public FileTarget {
 public:
  SummaryTarget(const FileTarget& file, Statistics& summary) : FileTarget(file), summary_(summary) {}
  Result Take(CurrentMessage& message, const MessagePlace& place, bool atOnce) override;

 private:
  Statistics& summary_;
};

// Messages are counted only.
class CountTarget : public Target {
 public:
  explicit CountTarget(OutputFiles& counts) : counts_(counts) {}
  Result Take(CurrentMessage& message, const MessagePlace&, bool) override {
    counts_.Count(message.Length);
    return {};
  }
  std::int64_t taken() const override { return counts_.written().Msgs; }

 private:
  OutputFiles& counts_;
};

// The target of a transfer without output queues. `files` count what is counted only; the others as above.
std::unique_ptr<Target> MakeFileTarget(const Options& asked, OutputFiles& files, Statistics& summary, std::int64_t now,
                                       bool mayAsk);
