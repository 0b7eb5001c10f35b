#pragma once

// Message consumers: functions of the application that are called for each message of the queues that they are
// registered for (MQCB), while the connection is started (MQCTL). Messages are delivered one at a time, from a thread
// of the connection's own; with LOCALMQ_CALLBACK_THREAD=caller, MQCTL with MQOP_START_WAIT delivers on the thread that
// called it.
//
// While the connection is started, only the callbacks and MQCTL may use it. No lock is held during a callback.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "localmq/calls.h"

namespace localmq {

class Consumers {
 public:
  explicit Consumers(Connection& connection) : connection_(connection) {}
  ~Consumers();

  // MQCB, with the connection locked.
  Outcome Callback(MQLONG operation, const MQCBD* descriptor, MQHOBJ handle, const MQMD* message, const MQGMO* options);
  // MQCTL, with the connection not locked.
  Outcome Control(MQLONG operation, const MQCTLO* options);

  // Whether this thread may make other calls now. Waits for a stop that is under way.
  bool Admits();
  bool OnCallbackThread() const;
  // Ends all consumption, when a handle closes (or all, for MQHO_NONE).
  void Deregister(MQHOBJ handle);
  void Stop();

 private:
  using Clock = std::chrono::steady_clock;
  struct Consumer;
  using ConsumerList = std::vector<std::shared_ptr<Consumer>>;

  Outcome Start(MQLONG operation, const MQCTLO& options);
  Outcome Register(MQLONG operation, const MQCBD& descriptor, MQHOBJ handle, const MQMD* message, const MQGMO* options);
  // Delivers until it is stopped; with `untilNoneActive`, also until no consumer is left to deliver to.
  Outcome Run(bool untilNoneActive);
  bool DeliverTo(Consumer& consumer);
  bool ReportEmpty(Consumer& consumer);
  Outcome GetFor(Consumer& consumer, MQMD& descriptor, MQGMO& options, MQLONG& length);
  void Call(const Consumer& consumer, MQLONG type, const Outcome& outcome, MQMD* descriptor = nullptr,
            MQGMO* options = nullptr, MQLONG length = 0);
  void CallAll(MQLONG option, MQLONG type);
  ConsumerList Snapshot() const;
  bool Stopping() const;

  Connection& connection_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  ConsumerList consumers_;
  std::thread thread_;
  std::thread::id callbackThread_;
  bool started_{false};                 // from MQOP_START to the end of Run
  bool stopping_{false};                // MQOP_STOP was called
  std::atomic<bool> suspended_{false};  // MQOP_SUSPEND was called
  MQPTR connectionArea_{nullptr};
  std::vector<std::uint8_t> buffer_;
};

}  // namespace localmq
