#pragma once

// Input queues as the source of a transfer: the options of gets, buffer growth, what a get that took nothing means.

#include <cstdint>

#include "engine/source.h"
#include "mq/connection.h"
#include "mq/destinations.h"
#include "options/options.h"

// How the messages of a queue are taken, as far as the run decides it and not the user.
struct GetMode {
  bool BrowseFirst = false;     // messages are browsed, and only the selected ones got
  bool DescriptorOnly = false;  // no data is got: nobody looks at it
};

// The options of a get: browse, destructive, or of the message under the browse cursor, with properties as MQRFH2
// header where the queue manager knows them.
MQLONG GetOptions(const Options& asked, const GetMode& mode, const QMgrConn& conn, bool underCursor);

// Adds the identifiers that the queue manager matches and the conversion to a descriptor and get options.
void AddMatchAndConversion(const Options& asked, MQMD& descriptor, MQGMO& options);

class QueueSource : public Source {
 public:
  // `queue` is open on `conn`. A message is got, at last, from the queue that it came from.
  QueueSource(const Options& asked, const GetMode& mode, QMgrConn& conn, QueueElement& queue)
      : asked_(asked), mode_(mode), conn_(conn), queue_(queue) {}

  Result Next(CurrentMessage& message, std::int64_t wait, Arrival& arrival) override;
  void Rewind() override { fromFirst_ = true; }
  bool ReadsQueue() const override { return true; }
  HeaderNames names() const override;
  bool BrowsesFirst() const override { return mode_.BrowseFirst; }
  Result Remove(CurrentMessage& message, bool& gone) override;

 protected:
  const Options& asked_;
  GetMode mode_;
  QMgrConn& conn_;

 private:
  enum class Taken { Message, TooLong, Nothing, Failed };
  struct GetEnd {
    CallEnd Call;
    MQLONG Length = 0;  // of the message, bytes
    MQLONG Room = 0;    // for it in the buffer
  };

  // One message, with a buffer that grows as it must. Nothing: there is none.
  Result Get(CurrentMessage& message, QueueElement& queue, bool underCursor, std::int64_t wait, Taken& taken);
  GetEnd CallMqget(CurrentMessage& message, const QueueElement& queue, MQLONG getOptions, std::int64_t wait);
  Taken Judge(const GetEnd& end, bool underCursor) const;
  Result Failure(const QueueElement& queue, MQLONG reason) const;

  QueueElement& queue_;
  bool fromFirst_ = false;  // the next browse begins at the first message again
};
