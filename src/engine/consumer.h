#pragma once

// Several input queues at once: the queue manager delivers their messages to a callback.

#include "engine/get.h"

class SeveralQueues : public QueueSource {
 public:
  // `queues` are open on `conn`.
  SeveralQueues(const Options& asked, const GetMode& mode, QMgrConn& conn, InputQueues& queues)
      : QueueSource(asked, mode, conn, queues.Elements.front()), queues_(queues) {}

  bool DeliversItself() const override { return true; }
  // Registers a consumer for every queue, and runs them until all queues are empty (or the wait interval is over).
  // Returns the first step that failed.
  Result DeliverAll(Delivery& delivery) override;

 private:
  Result Register(Delivery& delivery);

  InputQueues& queues_;
};
