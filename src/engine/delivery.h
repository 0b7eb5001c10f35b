#pragma once

// What happens to each message that a source gives: it is counted, selected, got where it was only browsed, and handed
// to its target or backout queue, under units of work. Sources that are asked (engine/transfer.h) and those that
// deliver by themselves (engine/consumer.h) go through it.

#include <atomic>

#include "engine/delay.h"
#include "engine/outcome.h"
#include "engine/selection.h"
#include "engine/source.h"
#include "engine/status_lines.h"
#include "engine/target.h"
#include "engine/unit_of_work.h"
#include "files/current_message.h"
#include "mq/connection.h"
#include "options/options.h"

// What the transfers of a run share.
struct RunStations {
  Console& Screen;
  QMgrConn& Input;  // the queue manager of the input queues, and that of the output queues; it may be the same
  QMgrConn& Output;
  Delay& Pause;
  StatusLines& Status;
  MessagePlace& Place;  // of the message in hand, which the names of files may show
};

class Delivery {
 public:
  Delivery(const Options& asked, const RunStations& run, Source& source, Target& target);

  // Before the first message: what follows is done in units of work, where there is something that they can hold.
  void Begin();
  // The message that comes next is at the next position of its source.
  void NextPosition();
  // Selects and delivers the message in hand. Returns the first failure; Finished is set when no further message is
  // wanted.
  Result Process();
  // Settles, commits and flushes what is pending, before the source waits.
  Result FinishPending();
  // Whether a message has left its queue for good as soon as it is got: there are no units of work.
  bool TakesAtOnce() const { return source_.ReadsQueue() && Asked.Input.Remove && Asked.Units.MessageLimit == 0; }
  // Whether something is uncommitted or not flushed, so that nothing may wait.
  bool Pending() const { return Unit.Pending() || Goal.Pending(); }
  // Ends the transfer, as if its source had no further message, when it is to be interrupted. Asked between two
  // messages and wherever a source waits for one; answers whether it did.
  bool EndIfInterrupted();

  const Options& Asked;
  CurrentMessage Message;
  Target& Goal;
  Tally Read;
  UnitOfWork Unit;
  std::atomic<bool> Finished{false};  // the input is exhausted or a failure stops the transfer
  bool CutShort = false;              // an interrupt has ended it before its source did
  bool Silent = false;                // a failure leaves nothing to report

 private:
  Result Deliver();
  Result HandOn();
  bool BelongsOnBackoutQueue() const;
  Result TellInHand(Result failure);

  const RunStations run_;
  Source& source_;
  Selection selection_;
  int position_ = 0;  // of the message in hand in its source, from 1
  int selected_ = 0;  // messages
};
