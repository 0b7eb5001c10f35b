#pragma once

// A queue that is open as long as its object lives.

#include <optional>
#include <string>
#include <string_view>

#include "mq/connection.h"

// The descriptor of a queue, with a message selector when one is given (which outlives it).
MQOD QueueObject(std::string_view queue, std::string_view qmgr = {}, const std::optional<std::string>& selector = {});

class OpenedQueue {
 public:
  // Opens what `object` names; the queue manager puts the name of a dynamic queue into it.
  OpenedQueue(QMgrConn& conn, MQOD& object, MQLONG options);
  OpenedQueue(QMgrConn& conn, MQOD&& object, MQLONG options) : OpenedQueue(conn, object, options) {}
  ~OpenedQueue();
  OpenedQueue(const OpenedQueue&) = delete;
  OpenedQueue& operator=(const OpenedQueue&) = delete;

  // How the open ended, and the reason when it failed, else 0.
  const CallEnd& end() const { return end_; }
  MQLONG reason() const { return end_.Failure(); }
  MQHOBJ hobj() const { return hobj_; }

 private:
  QMgrConn& conn_;
  MQHOBJ hobj_ = MQHO_UNUSABLE_HOBJ;
  CallEnd end_;
};
