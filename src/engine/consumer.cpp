#include "engine/consumer.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "common/console.h"
#include "engine/delivery.h"
#include "engine/wait_clock.h"
#include "mq/option_behind.h"
#include "mq/reasons.h"
#include "platform/interrupt.h"

namespace {

constexpr std::chrono::seconds kStopGrace{3};  // for consumption to end once nothing more is wanted of it
constexpr std::int64_t kEmptyGrace = 5000;     // milliseconds granted while a queue has not reported empty yet

// What the thread that delivers messages and the main thread share. The callback holds `busy_` for the whole of a call;
// the main thread holds it whenever it looks at the delivery while consumption may be going on, and never during an
// MQCTL, which waits for a callback that is under way.
class Consumption {
 public:
  Consumption(const Options& asked, QMgrConn& conn, InputQueues& queues, Delivery& delivery)
      : asked_(asked), conn_(conn), queues_(queues), delivery_(delivery), wait_(asked.Input) {}

  // Consumption until every queue has reported empty, which deregisters its callback.
  Result RunOnce();
  // Consumption with a wait interval: it is suspended at each deadline, of the wait or of the output file's age, and
  // goes on until the wait is over.
  Result RunWithWait();
  // It cannot be stopped: its callback may still come, and leaves the run alone. The object stays then, and what the
  // callback is given stays in a unit of work that nobody commits.
  bool abandoned() const { return state_ == State::Abandoned; }

  // `descriptor` is null at an event.
  void Callback(QueueElement& queue, const MQMD* descriptor, void* buffer, const MQCBC& context);

 private:
  // Stopped: by the callback itself. Returned: a start that waits has, as start_ tells.
  enum class State { Delivering, Stopped, Returned, Abandoned };

  CallEnd CallControl(MQLONG operation);
  CallEnd Control(MQLONG operation, const char* call);
  Result ControlFailure(const char* call, MQLONG reason) const;
  Result QueueFailure(const char* call, const QueueElement& queue, MQLONG reason) const;
  Result Deregister(QueueElement& queue);

  Result TakeMessage(QueueElement& queue, const MQMD& descriptor, void* buffer, const MQCBC& context);
  Result TakeEvent(QueueElement& queue, const MQCBC& context);
  Result QueueIsEmpty(QueueElement& queue);
  void Fail(Result failure);
  void StopInside(QueueElement& queue);

  bool Waits() const { return asked_.Input.WaitInterval != 0; }
  std::int64_t DeliveryLeft() const;
  bool AwaitStart();
  void StartAndWait();
  void AwaitDeadline();
  Result StopOutside(Result failure);
  Result AfterStop(bool& ended);
  Result Abandon(Result failure);

  const Options& asked_;
  QMgrConn& conn_;
  InputQueues& queues_;
  Delivery& delivery_;
  WaitClock wait_;
  std::mutex busy_;
  std::condition_variable ended_;  // wakes the main thread when the delivery has finished, or the state has changed
  State state_ = State::Delivering;
  CallEnd start_;
  Result failed_;  // the first step that failed inside the callback
};

Result Consumption::QueueFailure(const char* call, const QueueElement& queue, MQLONG reason) const {
  return {reason,
          FormatText("%s(%.48s/%.48s) failed RC(%d) %s%s", call, conn_.QMgrName.c_str(), queue.QueueName.c_str(),
                     reason, ReasonText(reason), OptionLine(asked_, MqStep::Get, reason).c_str())};
}

Result Consumption::ControlFailure(const char* call, MQLONG reason) const {
  return {reason, FormatText("%s(%.48s) failed RC(%d) %s", call, conn_.QMgrName.c_str(), reason, ReasonText(reason))};
}

CallEnd Consumption::CallControl(MQLONG operation) {
  MQCTLO options;
  options.ConnectionArea = this;
  CallEnd end;
  conn_.Api.MQCTL(conn_.Hconn, operation, &options, &end.CompCode, &end.Reason);
  return end;
}

CallEnd Consumption::Control(MQLONG operation, const char* call) {
  const CallEnd end = CallControl(operation);
  conn_.Trace(call, {}, end.Reason);
  return end;
}

Result Consumption::Deregister(QueueElement& queue) {
  MQCBD callback;
  MQMD descriptor;
  MQGMO options;
  CallEnd end;
  conn_.Api.MQCB(conn_.Hconn, MQOP_DEREGISTER, &callback, queue.Hobj, &descriptor, &options, &end.CompCode,
                 &end.Reason);
  conn_.Trace("MQCB(DEREGISTER)", queue.QueueName, end.Reason);
  return end.failed() ? QueueFailure("MQCB(DEREGISTER)", queue, end.Failure()) : Result();
}

Result Consumption::TakeMessage(QueueElement& queue, const MQMD& descriptor, void* buffer, const MQCBC& context) {
  if (context.CallType == MQCBCT_MSG_REMOVED && asked_.Units.MessageLimit != 0) conn_.UnitOpen = true;
  if (delivery_.Finished) {
    // Consumption is being stopped. A message that is off its queue all the same goes back with its unit of work.
    if (context.CallType != MQCBCT_MSG_REMOVED) return {};
    return QueueFailure("MQCB(CALLBACK)", queue, MQRC_UNEXPECTED_ERROR);
  }
  if (context.DataLength > context.BufferLength || context.DataLength < 0) {
    return QueueFailure("MQCB(CALLBACK)", queue, MQRC_TRUNCATED_MSG_ACCEPTED);
  }
  if (!queue.Active) {
    queue.Active = true;
    ++queues_.QueuesActive;
  }
  wait_.Restart();
  CurrentMessage& message = delivery_.Message;
  message.From = &queue;
  message.Descriptor = DefaultDescriptor();
  std::memcpy(static_cast<void*>(&message.Descriptor), &descriptor,
              descriptor.Version >= MQMD_VERSION_2 ? sizeof(MQMD) : sizeof(MQMD1));
  message.Data = static_cast<MQBYTE*>(buffer);
  message.Length = message.Delivered = context.DataLength;
  delivery_.NextPosition();
  return delivery_.Process();
}

Result Consumption::QueueIsEmpty(QueueElement& queue) {
  if (queue.Active) {
    queue.Active = false;
    --queues_.QueuesActive;
  }
  if (!queue.EmptySeen) {
    queue.EmptySeen = true;
    ++queues_.QueuesEmptied;
  }
  if (delivery_.Goal.Pending()) {
    if (Result flushed = delivery_.Goal.Flush(); flushed.failed()) return flushed;
  }
  if (Result settled = delivery_.Goal.Settle(); settled.failed()) return settled;
  return delivery_.Unit.Pending() && queues_.QueuesActive == 0 ? delivery_.Unit.Commit() : Result();
}

Result Consumption::TakeEvent(QueueElement& queue, const MQCBC& context) {
  // What is left to do of a run that has ended, or failed, is decided when consumption has stopped.
  if (delivery_.Finished) return {};
  Result result;
  if (context.Reason == MQRC_NO_MSG_AVAILABLE) {
    result = QueueIsEmpty(queue);
  } else {
    delivery_.Finished = true;
    conn_.Trace("MQCB(CALLBACK)", queue.QueueName, context.Reason);
    const CallEnd end{context.CompCode, context.Reason};
    if (end.failed()) result = QueueFailure("MQCB(CALLBACK)", queue, end.Failure());
  }
  return result.failed() || Waits() ? std::move(result) : Deregister(queue);
}

void Consumption::Fail(Result failure) {
  failed_.Add(std::move(failure));
  delivery_.Finished = true;
  if (delivery_.Unit.active()) failed_.Add(delivery_.Unit.BackOut());
}

// Stops consumption from inside a callback.
void Consumption::StopInside(QueueElement& queue) {
  const CallEnd stop = Control(MQOP_STOP, "MQCTL(STOP)");
  if (stop.failed()) {
    failed_.Add(ControlFailure("MQCTL(STOP)", stop.Failure()));
    // A start that waits also ends when no consumer is left: this one goes, each other one when it is called.
    if (!Waits()) failed_.Add(Deregister(queue));
  } else {
    state_ = State::Stopped;
  }
  ended_.notify_one();
}

void Consumption::Callback(QueueElement& queue, const MQMD* descriptor, void* buffer, const MQCBC& context) {
  const std::lock_guard<std::mutex> lock(busy_);
  if (abandoned()) return;
  Result result;
  switch (context.CallType) {
    case MQCBCT_MSG_REMOVED:
    case MQCBCT_MSG_NOT_REMOVED:
      result = TakeMessage(queue, *descriptor, buffer, context);
      break;
    case MQCBCT_EVENT_CALL:
      result = TakeEvent(queue, context);
      break;
    default:
      return;
  }
  if (result.failed()) Fail(std::move(result));
  if (!delivery_.Finished && InterruptSignal() != 0) {
    // A main thread that waits looks for interrupts too, and stops consumption itself.
    if (Waits()) return ended_.notify_one();
    delivery_.EndIfInterrupted();
  }
  if (delivery_.Finished) StopInside(queue);
}

extern "C" {
// Called by the queue manager for every message and event of a queue, one call at a time.
static void ConsumerCallback(MQHCONN, MQMD* descriptor, MQGMO*, void* buffer, MQCBC* context) {
  static_cast<Consumption*>(context->ConnectionArea)
      ->Callback(*static_cast<QueueElement*>(context->CallbackArea), descriptor, buffer, *context);
}
}

std::int64_t Consumption::DeliveryLeft() const {
  const std::int64_t left = wait_.Left();
  // A queue that has not reported empty yet may still have messages to deliver.
  return left <= 0 && queues_.QueuesEmptied < static_cast<int>(queues_.Elements.size()) ? kEmptyGrace : left;
}

// Gives up a consumption that cannot be stopped. To be called while busy_ is held.
Result Consumption::Abandon(Result failure) {
  state_ = State::Abandoned;
  delivery_.Finished = true;
  conn_.StillDelivers = true;
  failed_.Add(std::move(failure));
  return std::move(failed_);
}

// A start that waits ends with the last consumer: at once when consumption was stopped, never when its consumers can
// neither be stopped nor deregistered. So it waits on a thread of its own, which looks at nothing but this object.
void Consumption::StartAndWait() {
  const CallEnd end = CallControl(MQOP_START_WAIT);
  const std::lock_guard<std::mutex> lock(busy_);
  start_ = end;
  if (!abandoned()) state_ = State::Returned;
  ended_.notify_one();
}

// Waits for the start to return. False when nothing more is wanted of consumption and it goes on all the same.
bool Consumption::AwaitStart() {
  std::unique_lock<std::mutex> lock(busy_);
  const auto returned = [this] { return state_ == State::Returned; };
  ended_.wait(lock, [&] { return returned() || delivery_.Finished; });
  return ended_.wait_for(lock, kStopGrace, returned);
}

Result Consumption::RunOnce() {
  conn_.Trace("MQCTL(START_WAIT) >", {}, MQRC_NONE);
  std::thread starter([this] { StartAndWait(); });
  if (!AwaitStart()) {
    starter.detach();
    const std::lock_guard<std::mutex> lock(busy_);
    return Abandon(ControlFailure("MQCTL(START_WAIT)", MQRC_UNEXPECTED_ERROR));
  }
  starter.join();
  conn_.Trace("MQCTL(START_WAIT) <", {}, start_.Reason);
  if (!failed_.failed() && start_.failed() && start_.Failure() != MQRC_NO_CALLBACKS_ACTIVE) {
    return ControlFailure("MQCTL(START_WAIT)", start_.Failure());
  }
  return std::move(failed_);
}

// Waits until the delivery has finished, or a deadline has come.
void Consumption::AwaitDeadline() {
  std::unique_lock<std::mutex> lock(busy_);
  const auto ends = [this] { return delivery_.Finished.load() || InterruptSignal() != 0; };
  while (!ends()) {
    const std::int64_t wait = std::min({DeliveryLeft(), delivery_.Goal.AgeLeft(), std::int64_t{kLongestWait}});
    if (wait <= 0) break;
    ended_.wait_for(lock, std::chrono::milliseconds(wait), ends);
  }
}

// Stops consumption, after a failure or without one. Where it cannot be stopped it is abandoned: returns the first
// failure.
Result Consumption::StopOutside(Result failure) {
  const CallEnd stop = Control(MQOP_STOP, "MQCTL(STOP)");
  const std::lock_guard<std::mutex> lock(busy_);
  failed_.Add(std::move(failure));
  if (!stop.failed() || state_ == State::Stopped) return {};
  return Abandon(ControlFailure("MQCTL(STOP)", stop.Failure()));
}

// What follows when consumption was suspended. Sets `ended` when it does not go on.
Result Consumption::AfterStop(bool& ended) {
  const std::lock_guard<std::mutex> lock(busy_);
  ended = true;
  if (delivery_.Finished || delivery_.EndIfInterrupted()) return std::move(failed_);
  if (delivery_.Goal.AgeLeft() <= 0) {
    if (Result closed = delivery_.Goal.CloseAged(); closed.failed()) return closed;
  }
  ended = DeliveryLeft() <= 0;
  return {};
}

Result Consumption::RunWithWait() {
  for (bool ended = false; !ended;) {
    if (const CallEnd start = Control(MQOP_START, "MQCTL(START)"); start.failed()) {
      // It may have started all the same.
      Result stopped = StopOutside(ControlFailure("MQCTL(START)", start.Failure()));
      return stopped.failed() ? std::move(stopped) : std::move(failed_);
    }
    AwaitDeadline();
    if (Result stopped = StopOutside({}); stopped.failed()) return stopped;
    if (Result after = AfterStop(ended); after.failed()) return after;
  }
  return {};
}

}  // namespace

Result SeveralQueues::Register(Delivery& delivery) {
  MQMD descriptor = DefaultDescriptor();
  MQGMO options;
  options.Options = GetOptions(asked_, mode_, conn_, false) | MQGMO_WAIT;
  AddMatchAndConversion(asked_, descriptor, options);
  for (QueueElement& queue : queues_.Elements) {
    MQCBD callback;
    callback.CallbackArea = &queue;
    callback.CallbackFunction = reinterpret_cast<void*>(&ConsumerCallback);
    CallEnd end;
    conn_.Api.MQCB(conn_.Hconn, MQOP_REGISTER, &callback, queue.Hobj, &descriptor, &options, &end.CompCode,
                   &end.Reason);
    conn_.Trace("MQCB(REGISTER)", queue.QueueName, end.Reason);
    if (!end.failed()) continue;
    delivery.Silent = true;
    return {end.Failure(), FormatText("MQCB(REGISTER)(%.48s/%.48s) failed RC(%d) %s%s", conn_.QMgrName.c_str(),
                                      queue.QueueName.c_str(), end.Failure(), ReasonText(end.Failure()),
                                      OptionLine(asked_, MqStep::Get, end.Failure()).c_str())};
  }
  return {};
}

Result SeveralQueues::DeliverAll(Delivery& delivery) {
  if (Result registered = Register(delivery); registered.failed()) return registered;
  auto consumption = std::make_unique<Consumption>(asked_, conn_, queues_, delivery);
  Result result = asked_.Input.WaitInterval == 0 ? consumption->RunOnce() : consumption->RunWithWait();
  if (consumption->abandoned()) static_cast<void>(consumption.release());
  return result;
}
