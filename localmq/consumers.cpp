#include "localmq/consumers.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "localmq/descriptor.h"
#include "mq/mqi_calls.h"

namespace localmq {
namespace {

constexpr MQLONG kCallbackOptions = MQCBDO_START_CALL | MQCBDO_STOP_CALL | MQCBDO_REGISTER_CALL |
                                    MQCBDO_DEREGISTER_CALL | MQCBDO_FAIL_IF_QUIESCING | MQCBDO_EVENT_CALL |
                                    MQCBDO_MC_EVENT_CALL;
constexpr MQLONG kBrowse = MQGMO_BROWSE_FIRST | MQGMO_BROWSE_NEXT;
constexpr std::size_t kFirstBuffer = 4096;
constexpr std::chrono::milliseconds kPause{5};
constexpr std::chrono::milliseconds kDeadCheck{500};

// As much of the options as their version has.
MQGMO CopyOptions(const MQGMO& options) {
  constexpr std::size_t lengths[] = {MQGMO_LENGTH_1, MQGMO_LENGTH_2, MQGMO_LENGTH_3, MQGMO_LENGTH_4};
  MQGMO copy;
  std::memcpy(static_cast<void*>(&copy), &options, lengths[options.Version - 1]);
  return copy;
}

bool DeliverOnCaller() {
  const char* text = std::getenv("LOCALMQ_CALLBACK_THREAD");
  return text != nullptr && std::string_view(text) == "caller";
}

}  // namespace

struct Consumers::Consumer {
  MQHOBJ Handle;
  MQCBD Callback;
  MQMD Descriptor;
  MQGMO Options;
  bool Suspended{false};
  bool Registered{true};
  bool EmptyReported{false};  // nothing has come since the application heard that the queue is empty
  MQLONG FailureReported{MQRC_NONE};
  Clock::time_point WaitingSince;
};

Consumers::~Consumers() { Stop(); }

bool Consumers::OnCallbackThread() const {
  const std::lock_guard lock(mutex_);
  return started_ && callbackThread_ == std::this_thread::get_id();
}

bool Consumers::Stopping() const {
  const std::lock_guard lock(mutex_);
  return stopping_;
}

Consumers::ConsumerList Consumers::Snapshot() const {
  const std::lock_guard lock(mutex_);
  return consumers_;
}

bool Consumers::Admits() {
  std::unique_lock lock(mutex_);
  if (!started_ || callbackThread_ == std::this_thread::get_id()) return true;
  if (!stopping_) return false;
  changed_.wait(lock, [this] { return !started_; });
  return true;
}

void Consumers::Stop() {
  std::thread ended;
  {
    std::unique_lock lock(mutex_);
    if (started_) stopping_ = true;
    changed_.notify_all();
    if (callbackThread_ == std::this_thread::get_id() && started_) return;
    changed_.wait(lock, [this] { return !started_; });
    ended = std::move(thread_);
  }
  if (ended.joinable()) ended.join();
}

void Consumers::Call(const Consumer& consumer, MQLONG type, const Outcome& outcome, MQMD* descriptor, MQGMO* options,
                     MQLONG length) {
  MQCBC context{};
  std::memcpy(context.StrucId, MQCBC_STRUC_ID, sizeof context.StrucId);
  context.Version = MQCBC_CURRENT_VERSION;
  context.CallType = type;
  context.Hobj = consumer.Handle;
  context.CallbackArea = consumer.Callback.CallbackArea;
  context.ConnectionArea = connectionArea_;
  context.CompCode = outcome.CompCode;
  context.Reason = outcome.Reason;
  context.State = consumer.Suspended ? MQCS_SUSPENDED : MQCS_NONE;
  context.DataLength = length;
  context.BufferLength = std::min(length, static_cast<MQLONG>(buffer_.size()));
  if (consumer.Callback.MaxMsgLength >= 0)
    context.BufferLength = std::min(context.BufferLength, consumer.Callback.MaxMsgLength);
  reinterpret_cast<MqConsumerFunction*>(consumer.Callback.CallbackFunction)(
      connection_.Handle, descriptor, options, descriptor == nullptr ? nullptr : buffer_.data(), &context);
}

void Consumers::CallAll(MQLONG option, MQLONG type) {
  for (const auto& consumer : Snapshot()) {
    if ((consumer->Callback.Options & option) != 0) Call(*consumer, type, Done());
  }
}

// One get for a consumer, with the buffer grown to what the message needs.
Outcome Consumers::GetFor(Consumer& consumer, MQMD& descriptor, MQGMO& options, MQLONG& length) {
  const std::lock_guard lock(connection_.Mutex);
  OpenObject* object = connection_.Find(consumer.Handle);
  if (object == nullptr) return Failed(MQRC_HOBJ_ERROR);
  while (true) {
    descriptor = consumer.Descriptor;
    options = consumer.Options;
    std::span<std::uint8_t> buffer = buffer_;
    const MQLONG limit = consumer.Callback.MaxMsgLength;
    if (limit >= 0) buffer = buffer.first(std::min(buffer.size(), static_cast<std::size_t>(limit)));
    const Outcome outcome = TryGet(connection_, *object, {&descriptor, &options, buffer, &length});
    const bool cut = outcome.Reason == MQRC_TRUNCATED_MSG_FAILED || outcome.Reason == MQRC_TRUNCATED_MSG_ACCEPTED;
    if (!cut || outcome.Ok() || (limit >= 0 && buffer.size() == static_cast<std::size_t>(limit))) return outcome;
    buffer_.resize(static_cast<std::size_t>(length));
  }
}

// Delivers the next message to a consumer, or tells it about a failure; false when there was nothing to tell.
bool Consumers::DeliverTo(Consumer& consumer) {
  MQMD descriptor;
  MQGMO options;
  MQLONG length = 0;
  const Outcome outcome = GetFor(consumer, descriptor, options, length);
  if (outcome.Reason == MQRC_NO_MSG_AVAILABLE) return ReportEmpty(consumer);
  if (!outcome.Ok()) {
    // Inhibited gets may be allowed again, and the consumer goes on then; any other failure suspends it.
    if (outcome.Reason != MQRC_GET_INHIBITED) consumer.Suspended = true;
    if (consumer.FailureReported == outcome.Reason) return false;
    consumer.FailureReported = outcome.Reason;
    Call(consumer, MQCBCT_EVENT_CALL, outcome);
    return true;
  }
  consumer.EmptyReported = false;
  consumer.FailureReported = MQRC_NONE;
  Call(consumer, (options.Options & kBrowse) != 0 ? MQCBCT_MSG_NOT_REMOVED : MQCBCT_MSG_REMOVED, outcome, &descriptor,
       &options, length);
  consumer.WaitingSince = Clock::now();
  return true;
}

// Tells a consumer that waits with an interval that nothing came in it: once, until something has come again.
bool Consumers::ReportEmpty(Consumer& consumer) {
  consumer.FailureReported = MQRC_NONE;
  const bool wait = (consumer.Options.Options & MQGMO_WAIT) != 0;
  const MQLONG interval = wait ? consumer.Options.WaitInterval : 0;
  if (interval == MQWI_UNLIMITED || consumer.EmptyReported) return false;
  if (Clock::now() - consumer.WaitingSince < std::chrono::milliseconds(interval)) return false;
  consumer.EmptyReported = true;
  Call(consumer, MQCBCT_EVENT_CALL, Warning(MQRC_NO_MSG_AVAILABLE));
  return true;
}

Outcome Consumers::Run(bool untilNoneActive) {
  buffer_.resize(std::max(buffer_.size(), kFirstBuffer));
  for (const auto& consumer : Snapshot()) {
    consumer->WaitingSince = Clock::now();
    consumer->EmptyReported = false;
  }
  CallAll(MQCBDO_START_CALL, MQCBCT_START_CALL);
  Outcome outcome = Done();
  Clock::time_point deadCheck = Clock::now() + kDeadCheck;
  while (!Stopping()) {
    bool active = false;
    bool busy = false;
    for (const auto& consumer : Snapshot()) {
      if (Stopping()) break;
      if (suspended_ || consumer->Suspended || !consumer->Registered) continue;
      active = true;
      busy = DeliverTo(*consumer) || busy;
    }
    if (Stopping()) break;
    if (!active && untilNoneActive && !suspended_) {
      outcome = Failed(MQRC_NO_CALLBACKS_ACTIVE);
      break;
    }
    if (busy) continue;
    if (Clock::now() >= deadCheck) {
      const std::lock_guard lock(connection_.Mutex);
      BackOutDeadConnections(*connection_.QueueManager);
      deadCheck = Clock::now() + kDeadCheck;
    }
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, kPause, [this] { return stopping_; });
  }
  CallAll(MQCBDO_STOP_CALL, MQCBCT_STOP_CALL);
  const std::lock_guard lock(mutex_);
  started_ = stopping_ = false;
  suspended_ = false;
  callbackThread_ = {};
  changed_.notify_all();
  return outcome;
}

Outcome Consumers::Start(MQLONG operation, const MQCTLO& options) {
  if (!Admits()) return Failed(MQRC_OPERATION_NOT_ALLOWED);
  if (OnCallbackThread()) return Failed(MQRC_OPERATION_NOT_ALLOWED);
  Stop();  // joins the thread of an earlier start that has ended
  const bool wait = operation == MQOP_START_WAIT;
  Outcome outcome = Done();
  std::unique_lock lock(mutex_);
  connectionArea_ = options.ConnectionArea;
  started_ = true;
  stopping_ = false;
  suspended_ = false;
  if (wait && DeliverOnCaller()) {
    callbackThread_ = std::this_thread::get_id();
    lock.unlock();
    return Run(true);
  }
  thread_ = std::thread([this, wait, &outcome] {
    {
      // The starter holds the lock until it has stored this thread's number.
      const std::lock_guard started(mutex_);
    }
    const Outcome end = Run(wait);
    // Only a starter that waits still has the place for it.
    if (wait) outcome = end;
  });
  callbackThread_ = thread_.get_id();
  if (!wait) return Done();
  std::thread waitedFor = std::move(thread_);
  lock.unlock();
  waitedFor.join();
  return outcome;
}

Outcome Consumers::Control(MQLONG operation, const MQCTLO* options) {
  if (options == nullptr || std::memcmp(options->StrucId, MQCTLO_STRUC_ID, sizeof options->StrucId) != 0 ||
      options->Version != MQCTLO_VERSION_1)
    return Failed(MQRC_CTLO_ERROR);
  if ((options->Options & ~(MQCTLO_THREAD_AFFINITY | MQCTLO_FAIL_IF_QUIESCING)) != 0) return Failed(MQRC_OPTIONS_ERROR);
  switch (operation) {
    case MQOP_START:
    case MQOP_START_WAIT:
      return Start(operation, *options);
    case MQOP_STOP:
      Stop();
      return Done();
    case MQOP_SUSPEND:
    case MQOP_RESUME: {
      const std::lock_guard lock(mutex_);
      suspended_ = operation == MQOP_SUSPEND;
      return Done();
    }
    default:
      return Failed(MQRC_OPERATION_ERROR);
  }
}

void Consumers::Deregister(MQHOBJ handle) {
  const std::lock_guard lock(mutex_);
  std::erase_if(consumers_, [handle](const std::shared_ptr<Consumer>& consumer) {
    const bool match = handle == MQHO_NONE || consumer->Handle == handle;
    if (match) consumer->Registered = false;
    return match;
  });
}

Outcome Consumers::Register(MQLONG operation, const MQCBD& descriptor, MQHOBJ handle, const MQMD* message,
                            const MQGMO* options) {
  if (std::memcmp(descriptor.StrucId, MQCBD_STRUC_ID, sizeof descriptor.StrucId) != 0 ||
      descriptor.Version != MQCBD_VERSION_1)
    return Failed(MQRC_CBD_ERROR);
  if (descriptor.CallbackType != MQCBT_MESSAGE_CONSUMER) return Failed(MQRC_CALLBACK_TYPE_ERROR);
  if ((descriptor.Options & ~kCallbackOptions) != 0) return Failed(MQRC_CBD_OPTIONS_ERROR);
  if (descriptor.CallbackFunction == nullptr) return Failed(MQRC_CALLBACK_ROUTINE_ERROR);
  if (descriptor.MaxMsgLength < MQCBD_FULL_MSG_LENGTH) return Failed(MQRC_MAX_MSG_LENGTH_ERROR);
  const OpenObject* object = connection_.Find(handle);
  if (object == nullptr) return Failed(MQRC_HOBJ_ERROR);
  if (object->Kind != ObjectKind::kQueue) return Failed(MQRC_HOBJ_ERROR);
  if (message == nullptr) return Failed(MQRC_MD_ERROR);
  if (options == nullptr) return Failed(MQRC_GMO_ERROR);
  if (const Outcome outcome = CheckGet(*object, *message, *options); !outcome.Ok()) return outcome;
  if ((options->Options & MQGMO_MSG_UNDER_CURSOR) != 0) return Failed(MQRC_OPTIONS_ERROR);

  auto consumer = std::make_shared<Consumer>();
  consumer->Handle = handle;
  consumer->Callback = descriptor;
  consumer->Suspended = (operation & MQOP_SUSPEND) != 0;
  consumer->WaitingSince = Clock::now();
  consumer->Descriptor = CopyDescriptor(*message);
  consumer->Options = CopyOptions(*options);
  Deregister(handle);
  {
    const std::lock_guard lock(mutex_);
    consumers_.push_back(consumer);
  }
  if ((descriptor.Options & MQCBDO_REGISTER_CALL) != 0) Call(*consumer, MQCBCT_REGISTER_CALL, Done());
  return Done();
}

Outcome Consumers::Callback(MQLONG operation, const MQCBD* descriptor, MQHOBJ handle, const MQMD* message,
                            const MQGMO* options) {
  if (operation == MQOP_REGISTER || operation == (MQOP_REGISTER | MQOP_SUSPEND)) {
    if (descriptor == nullptr) return Failed(MQRC_CBD_ERROR);
    return Register(operation, *descriptor, handle, message, options);
  }
  if (operation != MQOP_DEREGISTER && operation != MQOP_SUSPEND && operation != MQOP_RESUME)
    return Failed(MQRC_OPERATION_ERROR);
  if (connection_.Find(handle) == nullptr) return Failed(MQRC_HOBJ_ERROR);
  for (const auto& consumer : Snapshot()) {
    if (consumer->Handle != handle) continue;
    if (operation == MQOP_DEREGISTER) {
      Deregister(handle);
      if ((consumer->Callback.Options & MQCBDO_DEREGISTER_CALL) != 0) Call(*consumer, MQCBCT_DEREGISTER_CALL, Done());
    } else {
      consumer->Suspended = operation == MQOP_SUSPEND;
    }
    return Done();
  }
  return Failed(MQRC_CALLBACK_NOT_REGISTERED);
}

}  // namespace localmq
