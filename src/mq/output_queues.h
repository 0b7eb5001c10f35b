#pragma once

// The output queues of a run.

#include <memory>
#include <string>
#include <string_view>

#include "mq/connection.h"
#include "mq/destinations.h"

// One queue, a distribution list, or several queues that are put to one by one. The queues stay open until the
// disconnect, which closes them.
class OutputQueues {
 public:
  // `fed` are the input queues where the run may feed itself, else null: then an output queue that leads back to one of
  // them under another name is refused.
  OutputQueues(const OutputOptions& asked, QMgrConn& conn, const InputQueues* fed)
      : asked_(asked), conn_(conn), fed_(fed) {}
  // One queue that is open already; whoever opened it closes it.
  OutputQueues(const OutputOptions& asked, QMgrConn& conn, const QueueName& queue, MQHOBJ hobj)
      : asked_(asked), conn_(conn), name_(queue), hobj_(hobj) {}

  // Opens them, and with `watchDepth` the local queue that receives the messages, for asking its depth. Returns 0 or
  // the reason (reported).
  MQLONG Open(bool watchDepth);

  // Several queues; null when it is one.
  QueueList* list() const { return list_.get(); }
  // The one queue.
  const QueueName& name() const { return name_; }
  // Of the one queue, or of the distribution list.
  MQHOBJ hobj() const { return hobj_; }
  // How many messages wait on the queue that receives them; 0 when the queue manager does not tell.
  int Depth() const;

 private:
  MQLONG OpenSingle(MQLONG options, bool watchDepth);
  MQLONG OpenList(MQLONG options, bool watchDepth);
  MQLONG OpenIndividually(MQLONG options);
  MQLONG OpenDepthHandle(const MQCHAR48& resolvedName);
  bool MakeList();
  MQOD DescriptorOf(const MQOR& entry) const;
  CallEnd OpenObject(MQOD& od, MQLONG options, MQHOBJ& hobj) const;
  MQLONG CheckLeadsElsewhere(const MQOD& od) const;
  MQLONG CheckListLeadsElsewhere() const;
  MQLONG ReportFailedDestinations() const;
  std::string_view Hint(MQLONG reason) const;

  const OutputOptions& asked_;
  QMgrConn& conn_;
  const InputQueues* fed_ = nullptr;
  QueueName name_;
  std::unique_ptr<QueueList> list_;
  MQHOBJ hobj_ = MQHO_UNUSABLE_HOBJ;
  MQHOBJ depthHobj_ = MQHO_UNUSABLE_HOBJ;
};

// Tells that `queue` would be copied or moved onto itself. Returns MQRC_OPTIONS_ERROR.
MQLONG RefuseOntoItself(Console& screen, std::string_view queue);
