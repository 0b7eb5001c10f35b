#pragma once

// Where the messages of a transfer come from. The loop asks for one after the other and knows nothing else of them; a
// room above the engine brings a source of its own.

#include <cstdint>

#include "common/result.h"
#include "files/current_message.h"
#include "files/writer.h"

class Delivery;

enum class Arrival {
  Message,      // the next one is there
  Nothing,      // there is none for now
  End,          // none will come any more
  Interrupted,  // an interrupt came while it was waited for
};

class Source {
 public:
  virtual ~Source() = default;

  // Prepares the source before its first message. `empty` is set when there is nothing to transfer.
  virtual Result Start(bool& empty) {
    empty = false;
    return {};
  }
  // The next message; `wait`: the milliseconds for which it may be waited for.
  virtual Result Next(CurrentMessage& message, std::int64_t wait, Arrival& arrival) = 0;
  // Lets the next message be the first one again.
  virtual void Rewind() {}
  // Looks at a selected message before it goes to its target.
  virtual Result Check(CurrentMessage&) { return {}; }
  // The result of a good end when bytes of the input were lost: what was whole is delivered and committed all the same.
  virtual MQLONG loss() const { return 0; }

  // Whether it reads queues; the names for the header of an output file.
  virtual bool ReadsQueue() const { return false; }
  virtual HeaderNames names() const { return {}; }
  // Whether messages are only browsed at first, and Remove gets the ones that are selected. `gone` is set when somebody
  // else has taken the message meanwhile.
  virtual bool BrowsesFirst() const { return false; }
  virtual Result Remove(CurrentMessage&, bool& gone) {
    gone = false;
    return {};
  }

  // A source that delivers its messages by itself is not asked for the next one but to deliver all.
  virtual bool DeliversItself() const { return false; }
  virtual Result DeliverAll(Delivery&) { return {}; }
};
