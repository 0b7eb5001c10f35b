#include "generic/command_server.h"

#include <algorithm>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "common/console.h"
#include "common/cs.h"
#include "common/text.h"
#include "engine/wait_clock.h"
#include "mq/opened_queue.h"
#include "mq/reasons.h"
#include "platform/interrupt.h"

namespace {

constexpr char kCommandQueue[] = "SYSTEM.ADMIN.COMMAND.QUEUE";
constexpr char kMainframeCommandQueue[] = "SYSTEM.COMMAND.INPUT";
constexpr char kModelQueue[] = "SYSTEM.DEFAULT.MODEL.QUEUE";
constexpr std::size_t kNameLength = sizeof(MQCHAR48);
constexpr MQLONG kReplyWait = 10000;      // milliseconds
constexpr std::size_t kReplyRoom = 4596;  // bytes; grows for a longer reply
constexpr MQLONG kStatusLevel = 915;      // first command level that tells queue file sizes

MQOD ModelQueue() {
  MQOD object = QueueObject(kModelQueue);
  FillField(object.DynamicQName, sizeof object.DynamicQName, "AMQ.*");
  return object;
}

// One question to the command server: a request, and its replies on a temporary dynamic queue. That queue, with
// whatever is left on it, goes with the question.
class Question {
 public:
  enum class Step { Open, Put, Get };
  // Told how each step ended, with the name of its queue.
  using Tell = std::function<void(Step step, std::string_view queue, const CallEnd& end)>;
  // Takes a reply. False when no further one is wanted.
  using Take = std::function<bool(PcfReply& reply)>;

  explicit Question(QMgrConn& conn) : conn_(conn), replies_(conn, model_, MQOO_INPUT_SHARED), buffer_(kReplyRoom) {}

  // Puts the request, by MQPUT1 when no handle of the command queue is given, and takes its replies up to the last one.
  // False when a step failed.
  bool Ask(const PcfRequest& request, const Tell& tell, const Take& take, MQHOBJ commandQueue = MQHO_UNUSABLE_HOBJ) {
    tell(Step::Open, kModelQueue, replies_.end());
    if (replies_.end().failed()) return false;
    const CallEnd put = Put(request, commandQueue);
    tell(Step::Put, kCommandQueue, put);
    if (put.failed()) return false;
    for (;;) {
      const CallEnd got = GetReply();
      tell(Step::Get, replyQueue(), got);
      if (got.failed()) return false;
      PcfReply reply(buffer_.data(), length_);
      if (!take(reply) || reply.header().Control == MQCFC_LAST) return true;
    }
  }

 private:
  std::string_view replyQueue() const { return NameInField(model_.ObjectName, sizeof model_.ObjectName); }

  CallEnd Put(const PcfRequest& request, MQHOBJ commandQueue) {
    MQMD descriptor;
    descriptor.MsgType = MQMT_REQUEST;
    descriptor.Encoding = MQENC_NATIVE;
    descriptor.Expiry = MQEI_UNLIMITED;
    FillField(descriptor.Format, sizeof descriptor.Format, MQFMT_ADMIN);
    FillField(descriptor.ReplyToQ, sizeof descriptor.ReplyToQ, replyQueue());
    MQPMO options;
    options.Options = MQPMO_NO_SYNCPOINT | MQPMO_FAIL_IF_QUIESCING;
    MQOD object = QueueObject(kCommandQueue);
    CallEnd result;
    if (commandQueue == MQHO_UNUSABLE_HOBJ) {
      conn_.Api.MQPUT1(conn_.Hconn, &object, &descriptor, &options, request.size(), request.data(), &result.CompCode,
                       &result.Reason);
    } else {
      conn_.Api.MQPUT(conn_.Hconn, commandQueue, &descriptor, &options, request.size(), request.data(),
                      &result.CompCode, &result.Reason);
    }
    return result;
  }

  // Waits for the next reply, ten seconds at most and until an interrupt comes: then it is MQRC_NO_MSG_AVAILABLE. The
  // buffer grows to a reply that is longer than it.
  CallEnd GetReply() {
    CallEnd result;
    for (MQLONG waited = 0;;) {
      MQMD descriptor;
      MQGMO options;
      options.Options = MQGMO_WAIT | MQGMO_NO_SYNCPOINT | MQGMO_FAIL_IF_QUIESCING | MQGMO_CONVERT;
      options.WaitInterval = kLongestWait;
      MQLONG bytes = 0;
      conn_.Api.MQGET(conn_.Hconn, replies_.hobj(), &descriptor, &options, static_cast<MQLONG>(buffer_.size()),
                      buffer_.data(), &bytes, &result.CompCode, &result.Reason);
      const auto wanted = static_cast<std::size_t>(std::max(bytes, 0));
      if (result.Reason == MQRC_TRUNCATED_MSG_FAILED && wanted > buffer_.size()) {
        buffer_.resize(wanted);
        continue;
      }
      if (result.Reason == MQRC_NO_MSG_AVAILABLE && InterruptSignal() == 0) {
        waited += kLongestWait;
        if (waited < kReplyWait) continue;
      }
      length_ = std::min(wanted, buffer_.size());
      return result;
    }
  }

  QMgrConn& conn_;
  MQOD model_ = ModelQueue();
  OpenedQueue replies_;
  std::vector<MQBYTE, CSAllocator<MQBYTE>> buffer_;
  std::size_t length_ = 0;  // of the reply that was got last
};

// The name that the command server is asked for: one '*' at the end stands for everything from the first wildcard on.
// The server counts case, so a pattern in lower case, which also matches names in upper case, asks for all names.
std::string GenericName(const QueuePatterns& wanted) {
  if (wanted.Names.size() != 1) return "*";
  std::string name = wanted.Names[0].Queue;
  const auto isLower = [](char c) { return c >= 'a' && c <= 'z'; };
  if (!wanted.CaseCounts && std::any_of(name.begin(), name.end(), isLower)) return "*";
  for (const char wildcard : {'*', '?'}) {
    const std::size_t at = name.find(wildcard);
    if (at != std::string::npos) name = name.substr(0, at) + '*';
  }
  return name;
}

PcfRequest QueryRequest(const QueuePatterns& wanted, MQLONG platform) {
  MQCFH header;
  header.Type = MQCFT_COMMAND;
  header.Version = MQCFH_VERSION_2;
  header.Command = MQCMD_INQUIRE_Q;
  if (platform == MQPL_ZOS) {
    header.Type = MQCFT_COMMAND_XR;
    header.Version = MQCFH_VERSION_3;
  }
  PcfRequest request(header);
  request.AddString(MQCA_Q_NAME, GenericName(wanted));
  request.AddInteger(MQIA_Q_TYPE, MQQT_LOCAL);
  request.AddIntegerList(MQIACF_Q_ATTRS, {MQCA_Q_NAME, MQIA_Q_TYPE, MQIA_CURRENT_Q_DEPTH, MQIA_DEFINITION_TYPE});
  return request;
}

// Tells that something failed, and why. Returns the reason.
MQLONG Fail(Console& screen, const char* what, MQLONG reason) {
  screen.Print("%s RC(%d) %s\n", what, reason, ReasonText(reason));
  return reason;
}

MQLONG Unreadable(Console& screen) {
  return Fail(screen, "Failed to parse command server response.", MQRC_STORAGE_NOT_AVAILABLE);
}

MQLONG NoBuffer(Console& screen) {
  return Fail(screen, "Failed to allocate command buffer.", MQRC_STORAGE_NOT_AVAILABLE);
}

MQLONG CanNotOpen(Console& screen, const std::string& queue, MQLONG reason) {
  return Fail(screen, ("Can not open " + queue + ".").c_str(), reason);
}

void TellNoResponse(Console& screen) { screen.PrintText("No response from command server.\n"); }

// A reply comes from outside, and file names are made of it.
bool IsQueueName(std::string_view name) {
  return std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' || c == '/' ||
           c == '_' || c == '%';
  });
}

// What a reply tells of a queue.
struct ToldQueue {
  std::string_view Name;
  MQLONG Type = 0;
  MQLONG Depth = -1;
  MQLONG Definition = 0;

  bool IsLocal() const { return !Name.empty() && Type == MQQT_LOCAL; }
};

ToldQueue ReadQueue(PcfReply& reply) {
  ToldQueue told;
  for (PcfParameter parameter; reply.Next(parameter);) {
    if (parameter.Type == MQCFT_STRING && parameter.Parameter == MQCA_Q_NAME) {
      told.Name = NameInField(parameter.String.data(), std::min<std::size_t>(parameter.String.size(), kNameLength));
    }
    if (parameter.Type != MQCFT_INTEGER) continue;
    if (parameter.Parameter == MQIA_Q_TYPE) told.Type = parameter.Integer;
    if (parameter.Parameter == MQIA_CURRENT_Q_DEPTH) told.Depth = parameter.Integer;
    if (parameter.Parameter == MQIA_DEFINITION_TYPE) told.Definition = parameter.Integer;
  }
  return told;
}

PcfRequest StatusRequest(const QueueElement& queue) {
  MQCFH header;
  header.Type = MQCFT_COMMAND;
  header.Version = MQCFH_VERSION_1;
  header.Command = MQCMD_INQUIRE_Q_STATUS;
  PcfRequest request(header);
  request.AddString(MQCA_Q_NAME, queue.QueueName);
  request.AddInteger(MQIACF_Q_STATUS_TYPE, MQIACF_Q_STATUS);
  request.AddIntegerList(MQIACF_Q_STATUS_ATTRS, {MQIACF_CUR_Q_FILE_SIZE, MQIACF_CUR_MAX_FILE_SIZE});
  return request;
}

}  // namespace

// Adds the queue that a reply tells of, when it is one that is wanted.
MQLONG CommandServer::TakeQueues(PcfReply& reply, const QueuePatterns& wanted, GenericQueueList& queues) {
  Console& screen = conn_.screen();
  if (!reply.usable()) return Unreadable(screen);
  if (reply.header().Command != MQCMD_INQUIRE_Q) {
    screen.Print("Wrong command server response. CMD(%d)\n", reply.header().Command);
    return MQRCCF_COMMAND_REPLY_ERROR;
  }
  if (reply.header().Reason != MQRC_NONE) {
    return Fail(screen, "Command Server Response failure.", reply.header().Reason);
  }
  const ToldQueue told = ReadQueue(reply);
  const bool cut = told.IsLocal() && told.Depth < 0;
  if (reply.malformed() || cut || !IsQueueName(told.Name)) return Unreadable(screen);
  if (!told.IsLocal() || told.Definition == MQQDT_TEMPORARY_DYNAMIC || told.Depth == 0) return 0;
  if (!wanted.Match(told.Name) || told.Name == kCommandQueue || told.Name == kMainframeCommandQueue) return 0;
  // A queue that is told of twice is unloaded once: a second file would double its messages in a later load.
  if (queues.HasQueue(told.Name)) return 0;
  GenericQueueEntry entry;
  entry.QueueName = told.Name;
  entry.Depth = told.Depth;
  return queues.Add(std::move(entry));
}

// A reply that failed, whichever it is, may stand for a queue: the question has no answer then.
MQLONG CommandServer::AskForQueues(MQHOBJ commandQueue, const QueuePatterns& wanted, GenericQueueList& queues) {
  Console& screen = conn_.screen();
  MQLONG result = 0;
  const auto tell = [&](Question::Step step, std::string_view queue, const CallEnd& end) {
    if (!end.failed()) return;
    const MQLONG reason = end.Failure();
    if (step == Question::Step::Open) {
      result = CanNotOpen(screen, std::string(queue), reason);
    } else if (step == Question::Step::Put) {
      result = Fail(screen, "Failed to MQPUT 'Query Queue' command.", reason);
    } else if (InterruptSignal() == 0) {
      result = reason;
      if (reason == MQRC_NO_MSG_AVAILABLE) return TellNoResponse(screen);
      Fail(screen, "MQGET failed for 'Query Queue' command.", reason);
    }
  };
  const auto take = [&](PcfReply& reply) {
    result = TakeQueues(reply, wanted, queues);
    return result == 0;
  };
  Question(conn_).Ask(QueryRequest(wanted, conn_.Platform), tell, take, commandQueue);
  return result;
}

MQLONG CommandServer::ListQueues(const QueuePatterns& wanted, GenericQueueList& queues) try {
  const OpenedQueue commandQueue(conn_, QueueObject(kCommandQueue), MQOO_OUTPUT);
  if (commandQueue.end().failed()) return CanNotOpen(conn_.screen(), kCommandQueue, commandQueue.reason());
  return AskForQueues(commandQueue.hobj(), wanted, queues);
} catch (const std::bad_alloc&) {
  return NoBuffer(conn_.screen());
}

// Takes the sizes of a reply. False when the reply failed.
bool CommandServer::TakeSizes(PcfReply& reply, QueueElement& queue) {
  if (!reply.usable()) return Unreadable(conn_.screen()) == 0;
  const MQLONG reason = reply.header().Reason;
  conn_.Trace("Inquire Queue Status", queue.QueueName, reason, reason != MQRC_NONE);
  if (reason != MQRC_NONE) return false;
  for (PcfParameter parameter; reply.Next(parameter);) {
    if (parameter.Type != MQCFT_INTEGER) continue;
    if (parameter.Parameter == MQIACF_CUR_Q_FILE_SIZE) queue.FileSize = parameter.Integer;
    if (parameter.Parameter == MQIACF_CUR_MAX_FILE_SIZE) queue.MaxFileSize = parameter.Integer;
  }
  if (reply.malformed()) Unreadable(conn_.screen());
  return true;
}

// Asks for the sizes of one queue. False when a call failed or nothing was answered: it would be the same with the
// next.
bool CommandServer::AskForSizes(QueueElement& queue) {
  const auto tell = [this](Question::Step step, std::string_view object, const CallEnd& end) {
    constexpr const char* kCalls[] = {"MQOPEN", "MQPUT1", "MQGET"};
    conn_.Report(kCalls[static_cast<int>(step)], object, end);
    const bool silent = step == Question::Step::Get && end.failed() && end.Reason == MQRC_NO_MSG_AVAILABLE;
    if (silent && InterruptSignal() == 0) TellNoResponse(conn_.screen());
  };
  return Question(conn_).Ask(StatusRequest(queue), tell, [&](PcfReply& reply) { return TakeSizes(reply, queue); });
}

void CommandServer::InquireSizes(std::span<QueueElement> queues) try {
  if (conn_.Platform == MQPL_ZOS || (conn_.CommandLevel != 0 && conn_.CommandLevel < kStatusLevel)) return;
  for (QueueElement& queue : queues) {
    if (!AskForSizes(queue)) return;
  }
} catch (const std::bad_alloc&) {
  NoBuffer(conn_.screen());
}
