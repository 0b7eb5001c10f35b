#include "generic/command_server.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "cmdline/parameters.h"
#include "engine/wait_clock.h"
#include "generic/pcf.h"
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

// One question to the command server: a request, and its replies on a temporary dynamic queue. That queue, with
// whatever is left on it, goes with the question.
class Question {
 public:
  explicit Question(QMgrConn& conn) : conn_(conn), buffer_(kReplyRoom) {}
  ~Question() {
    if (replies_ == MQHO_UNUSABLE_HOBJ) return;
    CallEnd result;
    conn_.Api.MQCLOSE(conn_.Hconn, &replies_, MQCO_NONE, &result.CompCode, &result.Reason);
  }
  Question(const Question&) = delete;
  Question& operator=(const Question&) = delete;

  CallEnd OpenReplyQueue() {
    MQOD object;
    FillField(object.ObjectName, sizeof object.ObjectName, kModelQueue);
    FillField(object.DynamicQName, sizeof object.DynamicQName, "AMQ.*");
    CallEnd result;
    conn_.Api.MQOPEN(conn_.Hconn, &object, MQOO_INPUT_SHARED | MQOO_FAIL_IF_QUIESCING, &replies_, &result.CompCode,
                     &result.Reason);
    if (!result.failed()) replyQueue_.Assign(NameInField(object.ObjectName, sizeof object.ObjectName));
    return result;
  }
  std::string_view replyQueue() const { return replyQueue_.view(); }

  // Puts the request on the command queue, by MQPUT1 when no handle of that queue is given.
  CallEnd Ask(const PcfRequest& request, MQHOBJ commandQueue = MQHO_UNUSABLE_HOBJ) {
    MQMD descriptor;
    descriptor.MsgType = MQMT_REQUEST;
    descriptor.Encoding = MQENC_NATIVE;
    descriptor.Expiry = MQEI_UNLIMITED;
    FillField(descriptor.Format, sizeof descriptor.Format, MQFMT_ADMIN);
    FillField(descriptor.ReplyToQ, sizeof descriptor.ReplyToQ, replyQueue());
    MQPMO options;
    options.Options = MQPMO_NO_SYNCPOINT | MQPMO_FAIL_IF_QUIESCING;
    MQOD object;
    FillField(object.ObjectName, sizeof object.ObjectName, kCommandQueue);
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
      conn_.Api.MQGET(conn_.Hconn, replies_, &descriptor, &options, static_cast<MQLONG>(buffer_.size()), buffer_.data(),
                      &bytes, &result.CompCode, &result.Reason);
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
  // The reply that was got last.
  PcfReply reply() const { return PcfReply(buffer_.data(), length_); }

 private:
  QMgrConn& conn_;
  MQHOBJ replies_ = MQHO_UNUSABLE_HOBJ;
  Text<48> replyQueue_;
  std::vector<MQBYTE, CSAllocator<MQBYTE>> buffer_;
  std::size_t length_ = 0;
};

// The name that the command server is asked for: one '*' at the end stands for everything from the first wildcard on.
// The server counts case, so a pattern in lower case, which also matches names in upper case, asks for all names.
std::string GenericName(const Parameters& run) {
  const auto& inputs = run.Asked.Input.Queues;
  if (inputs.size() != 1) return "*";
  std::string name = inputs[0].Queue;
  const auto isLower = [](char c) { return c >= 'a' && c <= 'z'; };
  if (!run.Asked.CaseCounts && std::any_of(name.begin(), name.end(), isLower)) return "*";
  for (const char wildcard : {'*', '?'}) {
    const std::size_t at = name.find(wildcard);
    if (at != std::string::npos) name = name.substr(0, at) + '*';
  }
  return name;
}

PcfRequest QueryRequest(const Parameters& run, const QMgrConn& conn) {
  MQCFH header;
  header.Type = MQCFT_COMMAND;
  header.Version = MQCFH_VERSION_2;
  header.Command = MQCMD_INQUIRE_Q;
  if (conn.Platform == MQPL_ZOS) {
    header.Type = MQCFT_COMMAND_XR;
    header.Version = MQCFH_VERSION_3;
  }
  PcfRequest request(header);
  request.AddString(MQCA_Q_NAME, GenericName(run));
  request.AddInteger(MQIA_Q_TYPE, MQQT_LOCAL);
  request.AddIntegerList(MQIACF_Q_ATTRS, {MQCA_Q_NAME, MQIA_Q_TYPE, MQIA_CURRENT_Q_DEPTH, MQIA_DEFINITION_TYPE});
  return request;
}

MQLONG ReportUnreadable(Parameters& run) {
  run.Screen.Print("Failed to parse command server response. RC(%d) %s\n", MQRC_STORAGE_NOT_AVAILABLE,
                   ReasonText(MQRC_STORAGE_NOT_AVAILABLE));
  return MQRC_STORAGE_NOT_AVAILABLE;
}

// A reply comes from outside, and file names are made of it.
bool IsQueueName(std::string_view name) {
  return std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' || c == '/' ||
           c == '_' || c == '%';
  });
}

// Adds the queue that a reply tells of, when it is one that the unload wants.
MQLONG TakeQueueReply(Parameters& run, PcfReply& reply) {
  std::string_view name;
  MQLONG type = 0;
  MQLONG depth = -1;
  MQLONG definition = 0;
  for (PcfParameter parameter; reply.Next(parameter);) {
    if (parameter.Type == MQCFT_STRING && parameter.Parameter == MQCA_Q_NAME) {
      name = NameInField(parameter.String.data(), std::min<std::size_t>(parameter.String.size(), kNameLength));
    }
    if (parameter.Type != MQCFT_INTEGER) continue;
    if (parameter.Parameter == MQIA_Q_TYPE) type = parameter.Integer;
    if (parameter.Parameter == MQIA_CURRENT_Q_DEPTH) depth = parameter.Integer;
    if (parameter.Parameter == MQIA_DEFINITION_TYPE) definition = parameter.Integer;
  }
  const bool cut = !name.empty() && type == MQQT_LOCAL && depth < 0;
  if (reply.malformed() || cut || !IsQueueName(name)) return ReportUnreadable(run);
  if (name.empty() || type != MQQT_LOCAL || definition == MQQDT_TEMPORARY_DYNAMIC || depth == 0) return 0;
  const auto& patterns = run.Asked.Input.Queues;
  const bool wanted = std::any_of(patterns.begin(), patterns.end(),
                                  [&](const QueueName& pattern) { return MatchesPattern(run, name, pattern.Queue); });
  if (!wanted || name == kCommandQueue || name == kMainframeCommandQueue) return 0;
  // A queue that is told of twice is unloaded once: a second file would double its messages in a later load.
  if (run.Generic.Queues.HasQueue(name)) return 0;
  GenericQueueEntry entry;
  entry.QueueName = name;
  entry.Depth = depth;
  return run.Generic.Queues.Add(std::move(entry));
}

MQLONG TakeReply(Parameters& run, PcfReply& reply) {
  if (!reply.usable()) return ReportUnreadable(run);
  if (reply.header().Command != MQCMD_INQUIRE_Q) {
    run.Screen.Print("Wrong command server response. CMD(%d)\n", reply.header().Command);
    return MQRCCF_COMMAND_REPLY_ERROR;
  }
  if (reply.header().Reason != MQRC_NONE) {
    run.Screen.Print("Command Server Response failure. RC(%d) %s\n", reply.header().Reason,
                     ReasonText(reply.header().Reason));
    return reply.header().Reason;
  }
  return TakeQueueReply(run, reply);
}

MQLONG CanNotOpen(Parameters& run, const char* queue, const CallEnd& result) {
  run.Screen.Print("Can not open %s. RC(%d) %s\n", queue, result.Reason, ReasonText(result.Reason));
  return result.Reason;
}

MQLONG NoReply(Parameters& run, const CallEnd& result) {
  if (InterruptSignal() != 0) return 0;
  if (result.Reason == MQRC_NO_MSG_AVAILABLE) {
    run.Screen.PrintText("No response from command server.\n");
  } else {
    run.Screen.Print("MQGET failed for 'Query Queue' command. RC(%d) %s\n", result.Reason, ReasonText(result.Reason));
  }
  return result.Reason;
}

// A reply that failed, whichever it is, may stand for a queue: the question has no answer then.
MQLONG AskForQueues(Parameters& run, QMgrConn& conn, MQHOBJ commandQueue) {
  Question question(conn);
  if (const CallEnd opened = question.OpenReplyQueue(); opened.failed()) return CanNotOpen(run, kModelQueue, opened);
  if (const CallEnd put = question.Ask(QueryRequest(run, conn), commandQueue); put.failed()) {
    run.Screen.Print("Failed to MQPUT 'Query Queue' command. RC(%d) %s\n", put.Reason, ReasonText(put.Reason));
    return put.Reason;
  }
  for (;;) {
    if (const CallEnd got = question.GetReply(); got.failed()) return NoReply(run, got);
    PcfReply reply = question.reply();
    const MQLONG reason = TakeReply(run, reply);
    if (reason != 0 || reply.header().Control == MQCFC_LAST) return reason;
  }
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

// Takes the sizes of a reply. False when the reply failed.
bool TakeSizes(Parameters& run, QMgrConn& conn, PcfReply& reply, QueueElement& queue) {
  if (!reply.usable()) return ReportUnreadable(run) == 0;
  const MQLONG reason = reply.header().Reason;
  conn.Trace("Inquire Queue Status", queue.QueueName, reason, reason != MQRC_NONE);
  if (reason != MQRC_NONE) return false;
  for (PcfParameter parameter; reply.Next(parameter);) {
    if (parameter.Type != MQCFT_INTEGER) continue;
    if (parameter.Parameter == MQIACF_CUR_Q_FILE_SIZE) queue.FileSize = parameter.Integer;
    if (parameter.Parameter == MQIACF_CUR_MAX_FILE_SIZE) queue.MaxFileSize = parameter.Integer;
  }
  if (reply.malformed()) ReportUnreadable(run);
  return true;
}

// Asks for the sizes of one queue. False when a call failed or nothing was answered: it would be the same with the
// next.
bool AskForSizes(Parameters& run, QMgrConn& conn, QueueElement& queue) {
  const auto failed = [&conn](const char* call, std::string_view object, const CallEnd& result) {
    conn.Report(call, object, result);
    return result.failed();
  };
  Question question(conn);
  if (failed("MQOPEN", kModelQueue, question.OpenReplyQueue())) return false;
  if (failed("MQPUT1", kCommandQueue, question.Ask(StatusRequest(queue)))) return false;
  for (;;) {
    const CallEnd got = question.GetReply();
    if (failed("MQGET", question.replyQueue(), got)) {
      if (got.Reason == MQRC_NO_MSG_AVAILABLE && InterruptSignal() == 0) {
        run.Screen.PrintText("No response from command server.\n");
      }
      return false;
    }
    PcfReply reply = question.reply();
    if (!TakeSizes(run, conn, reply, queue) || reply.header().Control == MQCFC_LAST) return true;
  }
}

}  // namespace

MQLONG QueryQueueNames(Parameters& run) try {
  QMgrConn& conn = InputConn(run);
  MQOD object;
  FillField(object.ObjectName, sizeof object.ObjectName, kCommandQueue);
  MQHOBJ commandQueue = MQHO_UNUSABLE_HOBJ;
  CallEnd result;
  conn.Api.MQOPEN(conn.Hconn, &object, MQOO_OUTPUT | MQOO_FAIL_IF_QUIESCING, &commandQueue, &result.CompCode,
                  &result.Reason);
  if (result.failed()) return CanNotOpen(run, kCommandQueue, result);
  const MQLONG outcome = AskForQueues(run, conn, commandQueue);
  conn.Api.MQCLOSE(conn.Hconn, &commandQueue, MQCO_NONE, &result.CompCode, &result.Reason);
  return outcome;
} catch (const std::bad_alloc&) {
  run.Screen.Print("Failed to allocate command buffer. RC(%d) %s\n", MQRC_STORAGE_NOT_AVAILABLE,
                   ReasonText(MQRC_STORAGE_NOT_AVAILABLE));
  return MQRC_STORAGE_NOT_AVAILABLE;
}

void InquireQueueStatus(Parameters& run, std::span<QueueElement> queues) try {
  QMgrConn& conn = InputConn(run);
  if (conn.Platform == MQPL_ZOS || (conn.CommandLevel != 0 && conn.CommandLevel < kStatusLevel)) return;
  for (QueueElement& queue : queues) {
    if (!AskForSizes(run, conn, queue)) return;
  }
} catch (const std::bad_alloc&) {
  run.Screen.Print("Failed to allocate command buffer. RC(%d) %s\n", MQRC_STORAGE_NOT_AVAILABLE,
                   ReasonText(MQRC_STORAGE_NOT_AVAILABLE));
}
