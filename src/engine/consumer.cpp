#include "engine/consumer.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "cmdline/parameters.h"
#include "common/clock.h"
#include "engine/get.h"
#include "engine/transfer.h"
#include "mq/option_behind.h"
#include "mq/reasons.h"
#include "platform/interrupt.h"

namespace {

constexpr std::chrono::seconds kStopGrace{3};  // for consumption to end once nothing more is wanted of it
constexpr std::int64_t kEmptyGrace = 5000;     // milliseconds granted while a queue has not reported empty yet

// What the thread that delivers messages and the main thread share. The callback holds `Busy` for the whole of a call;
// the main thread holds it whenever it looks at the run while consumption may be going on, and never during an MQCTL,
// which waits for a callback that is under way.
struct Consumption {
  explicit Consumption(Parameters& run) : Run(run) {}
  Parameters& Run;
  std::mutex Busy;
  std::condition_variable Ended;  // wakes the main thread when Finished is set, or a start that waits has returned
  MQLONG Result = 0;              // of the first step that failed inside the callback
  bool Stopped = false;           // the callback has stopped consumption itself
  bool StartReturned = false;     // a start that waits has, as Start tells
  CallEnd Start;
  bool Abandoned = false;  // it cannot be stopped: the callback leaves the run alone from now on
};

void KeepQueueFailure(Parameters& run, const char* call, const QueueElement& queue, MQLONG reason) {
  if (!run.MessageText.empty()) return;
  run.MessageText.Format("%s(%.48s/%.48s) failed RC(%d) %s%s", call, InputConn(run).QMgrName.c_str(),
                         queue.QueueName.c_str(), reason, ReasonText(reason),
                         OptionLine(run.Asked, MqStep::Get, reason).c_str());
}

void KeepControlFailure(Parameters& run, const char* call, MQLONG reason) {
  if (!run.MessageText.empty()) return;
  run.MessageText.Format("%s(%.48s) failed RC(%d) %s", call, InputConn(run).QMgrName.c_str(), reason,
                         ReasonText(reason));
}

CallEnd CallControl(Consumption& consumption, MQLONG operation) {
  const QMgrConn& conn = InputConn(consumption.Run);
  MQCTLO options;
  options.ConnectionArea = &consumption;
  CallEnd end;
  conn.Api.MQCTL(conn.Hconn, operation, &options, &end.CompCode, &end.Reason);
  return end;
}

// One MQCTL; returns the reason of a failure.
MQLONG Control(Consumption& consumption, MQLONG operation, const char* call) {
  Parameters& run = consumption.Run;
  const CallEnd end = CallControl(consumption, operation);
  InputConn(run).Trace(call, {}, end.Reason);
  return end.Failure();
}

MQLONG Deregister(Parameters& run, QueueElement& queue) {
  QMgrConn& conn = InputConn(run);
  MQCBD callback;
  MQMD descriptor;
  MQGMO options;
  CallEnd end;
  conn.Api.MQCB(conn.Hconn, MQOP_DEREGISTER, &callback, queue.Hobj, &descriptor, &options, &end.CompCode, &end.Reason);
  conn.Trace("MQCB(DEREGISTER)", queue.QueueName, end.Reason);
  if (end.Failure() != 0) KeepQueueFailure(run, "MQCB(DEREGISTER)", queue, end.Failure());
  return end.Failure();
}

MQLONG TakeMessage(Parameters& run, QueueElement& queue, const MQMD& descriptor, void* buffer, const MQCBC& context) {
  if (context.CallType == MQCBCT_MSG_REMOVED && run.Asked.Units.MessageLimit != 0) InputConn(run).UnitOpen = true;
  if (run.Finished) {
    // Consumption is being stopped. A message that is off its queue all the same goes back with its unit of work.
    if (context.CallType != MQCBCT_MSG_REMOVED) return 0;
    KeepQueueFailure(run, "MQCB(CALLBACK)", queue, MQRC_UNEXPECTED_ERROR);
    return MQRC_UNEXPECTED_ERROR;
  }
  if (context.DataLength > context.BufferLength || context.DataLength < 0) {
    KeepQueueFailure(run, "MQCB(CALLBACK)", queue, MQRC_TRUNCATED_MSG_ACCEPTED);
    return MQRC_TRUNCATED_MSG_ACCEPTED;
  }
  if (!queue.Active) {
    queue.Active = true;
    ++run.Inputs.QueuesActive;
  }
  run.Wait.Since = SteadyMillis();
  CurrentMessage& message = run.Message;
  message.Descriptor = DefaultDescriptor();
  std::memcpy(static_cast<void*>(&message.Descriptor), &descriptor,
              descriptor.Version >= MQMD_VERSION_2 ? sizeof(MQMD) : sizeof(MQMD1));
  message.Data = static_cast<MQBYTE*>(buffer);
  message.Length = message.Delivered = context.DataLength;
  ++run.MessageIndex;
  return ProcessMessage(run, &queue, true);
}

MQLONG QueueIsEmpty(Parameters& run, QueueElement& queue) {
  InputQueues& list = run.Inputs;
  if (queue.Active) {
    queue.Active = false;
    --list.QueuesActive;
  }
  if (!queue.EmptySeen) {
    queue.EmptySeen = true;
    ++list.QueuesEmptied;
  }
  if (run.Outputs->Pending()) {
    if (const MQLONG reason = run.Keep(run.Outputs->Flush(false)); reason != 0) return reason;
  }
  if (const MQLONG reason = CheckAsyncPuts(run); reason != 0) return reason;
  if (run.Uow.UowCount != 0 && list.QueuesActive == 0 && run.Asked.Units.MessageLimit != -1) return CommitAll(run);
  return 0;
}

MQLONG TakeEvent(Parameters& run, QueueElement& queue, const MQCBC& context) {
  // What is left to do of a run that has ended, or failed, is decided when consumption has stopped.
  if (run.Finished) return 0;
  MQLONG failure = 0;
  if (context.Reason == MQRC_NO_MSG_AVAILABLE) {
    failure = QueueIsEmpty(run, queue);
  } else {
    run.Finished = true;
    InputConn(run).Trace("MQCB(CALLBACK)", queue.QueueName, context.Reason);
    failure = CallEnd{context.CompCode, context.Reason}.Failure();
    if (failure != 0) KeepQueueFailure(run, "MQCB(CALLBACK)", queue, failure);
  }
  if (failure == 0 && run.Asked.Input.WaitInterval == 0) failure = Deregister(run, queue);
  return failure;
}

extern "C" {
// Called by the queue manager for every message and event of a queue, one call at a time.
static void ConsumerCallback(MQHCONN, MQMD* descriptor, MQGMO*, void* buffer, MQCBC* context) {
  Consumption& consumption = *static_cast<Consumption*>(context->ConnectionArea);
  QueueElement& queue = *static_cast<QueueElement*>(context->CallbackArea);
  Parameters& run = consumption.Run;
  const std::lock_guard<std::mutex> lock(consumption.Busy);
  if (consumption.Abandoned) return;
  MQLONG failure = 0;
  switch (context->CallType) {
    case MQCBCT_MSG_REMOVED:
    case MQCBCT_MSG_NOT_REMOVED:
      failure = TakeMessage(run, queue, *descriptor, buffer, *context);
      break;
    case MQCBCT_EVENT_CALL:
      failure = TakeEvent(run, queue, *context);
      break;
    default:
      return;
  }
  if (failure != 0) {
    if (consumption.Result == 0) consumption.Result = failure;
    run.Finished = true;
    if (run.Uow.SyncpointActive) BackOutRun(run);
  }
  if (!run.Finished && InterruptSignal() != 0) {
    // A main thread that waits looks for interrupts too, and stops consumption itself.
    if (run.Asked.Input.WaitInterval != 0) return consumption.Ended.notify_one();
    EndIfInterrupted(run);
  }
  if (!run.Finished) return;
  const MQLONG stopFailure = Control(consumption, MQOP_STOP, "MQCTL(STOP)");
  if (stopFailure != 0) {
    KeepControlFailure(run, "MQCTL(STOP)", stopFailure);
    if (consumption.Result == 0) consumption.Result = stopFailure;
    // A start that waits also ends when no consumer is left: this one goes, each other one when it is called.
    if (run.Asked.Input.WaitInterval == 0) Deregister(run, queue);
  } else {
    consumption.Stopped = true;
  }
  consumption.Ended.notify_one();
}
}

std::int64_t DeliveryLeft(const Parameters& run) {
  const std::int64_t left = WaitLeft(run);
  // A queue that has not reported empty yet may still have messages to deliver.
  return left <= 0 && run.Inputs.QueuesEmptied < static_cast<int>(run.Inputs.Elements.size()) ? kEmptyGrace : left;
}

std::int64_t FileLeft(const Parameters& run) {
  if (run.Asked.Limits.Age == 0) return kEndlessWaitSlice;
  // A file that the next message opens reaches its age no sooner.
  if (!run.Outputs->is_open()) return std::int64_t{run.Asked.Limits.Age} * 1000;
  return run.Outputs->AgeLeft();
}

MQLONG RegisterQueues(Parameters& run) {
  QMgrConn& conn = InputConn(run);
  MQMD descriptor = DefaultDescriptor();
  MQGMO options;
  options.Options = GetOptions(run, false) | MQGMO_WAIT;
  AddMatchAndConversion(run, descriptor, options);
  for (QueueElement& queue : run.Inputs.Elements) {
    MQCBD callback;
    callback.CallbackArea = &queue;
    callback.CallbackFunction = reinterpret_cast<void*>(&ConsumerCallback);
    CallEnd end;
    conn.Api.MQCB(conn.Hconn, MQOP_REGISTER, &callback, queue.Hobj, &descriptor, &options, &end.CompCode, &end.Reason);
    conn.Trace("MQCB(REGISTER)", queue.QueueName, end.Reason);
    if (const MQLONG failure = end.Failure(); failure != 0) {
      run.MessageText.clear();
      KeepQueueFailure(run, "MQCB(REGISTER)", queue, failure);
      run.ReportSilenced = true;
      return failure;
    }
  }
  return 0;
}

// Gives up a consumption that cannot be stopped. Its callback may still come, so the object stays, and what the
// callback is given stays in a unit of work that nobody commits.
void Abandon(std::unique_ptr<Consumption>& consumption) {
  consumption->Abandoned = true;
  consumption->Run.Finished = true;
  InputConn(consumption->Run).StillDelivers = true;
  static_cast<void>(consumption.release());
}

// A start that waits ends with the last consumer: at once when consumption was stopped, never when its consumers can
// neither be stopped nor deregistered. So it waits on a thread of its own, which looks at nothing but `consumption`.
void StartAndWait(Consumption& consumption) {
  const CallEnd end = CallControl(consumption, MQOP_START_WAIT);
  const std::lock_guard<std::mutex> lock(consumption.Busy);
  consumption.Start = end;
  consumption.StartReturned = true;
  consumption.Ended.notify_one();
}

// Waits for the start to return. False when nothing more is wanted of consumption and it goes on all the same.
bool AwaitStart(Consumption& consumption) {
  std::unique_lock<std::mutex> lock(consumption.Busy);
  const auto returned = [&consumption] { return consumption.StartReturned; };
  consumption.Ended.wait(lock, [&] { return returned() || consumption.Run.Finished; });
  return consumption.Ended.wait_for(lock, kStopGrace, returned);
}

// Consumption until every queue has reported empty, which deregisters its callback.
MQLONG ConsumeOnce(std::unique_ptr<Consumption>& owner) {
  Consumption& consumption = *owner;
  Parameters& run = consumption.Run;
  InputConn(run).Trace("MQCTL(START_WAIT) >", {}, MQRC_NONE);
  std::thread starter(StartAndWait, std::ref(consumption));
  if (!AwaitStart(consumption)) {
    starter.detach();
    const std::lock_guard<std::mutex> lock(consumption.Busy);
    Abandon(owner);
    if (consumption.Result != 0) return consumption.Result;
    KeepControlFailure(run, "MQCTL(START_WAIT)", MQRC_UNEXPECTED_ERROR);
    return MQRC_UNEXPECTED_ERROR;
  }
  starter.join();
  const CallEnd& start = consumption.Start;
  InputConn(run).Trace("MQCTL(START_WAIT) <", {}, start.Reason);
  if (consumption.Result != 0) return consumption.Result;
  if (start.Failure() == 0 || start.Failure() == MQRC_NO_CALLBACKS_ACTIVE) return 0;
  KeepControlFailure(run, "MQCTL(START_WAIT)", start.Failure());
  return start.Failure();
}

// Consumption with a wait interval: it is suspended at each deadline, of the wait or of the output file's age, and
// goes on until the wait is over.
MQLONG ConsumeWithWait(std::unique_ptr<Consumption>& owner) {
  Consumption& consumption = *owner;
  Parameters& run = consumption.Run;
  for (;;) {
    if (const MQLONG failure = Control(consumption, MQOP_START, "MQCTL(START)"); failure != 0) {
      // It may have started all the same.
      const MQLONG stopFailure = Control(consumption, MQOP_STOP, "MQCTL(STOP)");
      const std::lock_guard<std::mutex> lock(consumption.Busy);
      KeepControlFailure(run, "MQCTL(START)", failure);
      if (stopFailure != 0 && !consumption.Stopped) Abandon(owner);
      return consumption.Result != 0 ? consumption.Result : failure;
    }
    {
      std::unique_lock<std::mutex> lock(consumption.Busy);
      const auto ends = [&run] { return run.Finished.load() || InterruptSignal() != 0; };
      while (!ends()) {
        const std::int64_t wait = std::min<std::int64_t>({DeliveryLeft(run), FileLeft(run), kLongestWait});
        if (wait <= 0) break;
        consumption.Ended.wait_for(lock, std::chrono::milliseconds(wait), ends);
      }
    }
    const MQLONG failure = Control(consumption, MQOP_STOP, "MQCTL(STOP)");
    const std::lock_guard<std::mutex> lock(consumption.Busy);
    if (failure != 0 && !consumption.Stopped) {
      KeepControlFailure(run, "MQCTL(STOP)", failure);
      Abandon(owner);
      return consumption.Result != 0 ? consumption.Result : failure;
    }
    if (run.Finished || EndIfInterrupted(run)) return consumption.Result;
    if (FileLeft(run) <= 0) {
      if (const MQLONG reason = run.Keep(run.Outputs->Close()); reason != 0) return reason;
    }
    if (DeliveryLeft(run) <= 0) return 0;
  }
}

}  // namespace

MQLONG ConsumeQueues(Parameters& run) {
  if (const MQLONG failure = RegisterQueues(run); failure != 0) return failure;
  auto consumption = std::make_unique<Consumption>(run);
  return run.Asked.Input.WaitInterval == 0 ? ConsumeOnce(consumption) : ConsumeWithWait(consumption);
}
