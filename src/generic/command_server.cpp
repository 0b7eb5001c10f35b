#include "generic/command_server.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "cmdline/parameters.h"
#include "generic/pcf.h"
#include "mq/reasons.h"

namespace {

constexpr char kCommandQueue[] = "SYSTEM.ADMIN.COMMAND.QUEUE";
constexpr char kMainframeCommandQueue[] = "SYSTEM.COMMAND.INPUT";
constexpr char kModelQueue[] = "SYSTEM.DEFAULT.MODEL.QUEUE";
constexpr std::size_t kNameLength = sizeof(MQCHAR48);
constexpr MQLONG kReplyWait = 10000;      // milliseconds
constexpr std::size_t kReplyRoom = 4596;  // bytes; grows for a longer reply
constexpr MQLONG kStatusLevel = 915;      // first command level that tells queue file sizes

struct CallResult {
  MQLONG Code = MQCC_OK;
  MQLONG Reason = MQRC_NONE;
  bool failed() const { return Code == MQCC_FAILED; }
};

// The reply queue of one question; closed, and so deleted, when the question has been answered.
class ReplyQueue {
 public:
  explicit ReplyQueue(QMgrConn& conn) : conn_(conn) {}
  ~ReplyQueue() {
    if (hobj_ == MQHO_UNUSABLE_HOBJ) return;
    CallResult result;
    conn_.Api.MQCLOSE(conn_.Hconn, &hobj_, MQCO_NONE, &result.Code, &result.Reason);
  }
  ReplyQueue(const ReplyQueue&) = delete;
  ReplyQueue& operator=(const ReplyQueue&) = delete;

  CallResult Open() {
    MQOD object;
    FillField(object.ObjectName, sizeof object.ObjectName, kModelQueue);
    FillField(object.DynamicQName, sizeof object.DynamicQName, "AMQ.*");
    CallResult result;
    conn_.Api.MQOPEN(conn_.Hconn, &object, MQOO_INPUT_SHARED | MQOO_FAIL_IF_QUIESCING, &hobj_, &result.Code,
                     &result.Reason);
    if (!result.failed()) name_.Assign(NameInField(object.ObjectName, sizeof object.ObjectName));
    return result;
  }
  std::string_view name() const { return name_.view(); }

  // The next reply, at most ten seconds later. The buffer grows to a reply that is longer than it.
  CallResult Read(std::vector<MQBYTE, CSAllocator<MQBYTE>>& buffer, std::size_t& length) {
    CallResult result;
    for (;;) {
      MQMD descriptor;
      MQGMO options;
      options.Options = MQGMO_WAIT | MQGMO_NO_SYNCPOINT | MQGMO_FAIL_IF_QUIESCING | MQGMO_CONVERT;
      options.WaitInterval = kReplyWait;
      MQLONG bytes = 0;
      conn_.Api.MQGET(conn_.Hconn, hobj_, &descriptor, &options, static_cast<MQLONG>(buffer.size()), buffer.data(),
                      &bytes, &result.Code, &result.Reason);
      const auto wanted = static_cast<std::size_t>(std::max(bytes, 0));
      if (result.Reason == MQRC_TRUNCATED_MSG_FAILED && wanted > buffer.size()) {
        buffer.resize(wanted);
        continue;
      }
      length = std::min(wanted, buffer.size());
      return result;
    }
  }

 private:
  QMgrConn& conn_;
  MQHOBJ hobj_ = MQHO_UNUSABLE_HOBJ;
  Text<48> name_;
};

MQMD RequestDescriptor(std::string_view replyQueue) {
  MQMD descriptor;
  descriptor.MsgType = MQMT_REQUEST;
  descriptor.Encoding = MQENC_NATIVE;
  descriptor.Expiry = MQEI_UNLIMITED;
  FillField(descriptor.Format, sizeof descriptor.Format, MQFMT_ADMIN);
  FillField(descriptor.ReplyToQ, sizeof descriptor.ReplyToQ, replyQueue);
  return descriptor;
}

MQPMO RequestOptions() {
  MQPMO options;
  options.Options = MQPMO_NO_SYNCPOINT | MQPMO_FAIL_IF_QUIESCING;
  return options;
}

// The name that the command server is asked for: one '*' at the end stands for everything from the first wildcard on.
// The server counts case, so a pattern in lower case, which also matches names in upper case, asks for all names.
std::string GenericName(const Parameters& run) {
  const QueueList& inputs = *run.InputList;
  if (inputs.Count() != 1) return "*";
  std::string name(NameInField(inputs.Entries[0].ObjectName, kNameLength));
  const auto isLower = [](char c) { return c >= 'a' && c <= 'z'; };
  if (!run.Has2(FLAG2_QUOTED_NAME) && std::any_of(name.begin(), name.end(), isLower)) return "*";
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
  PrintDiagnostic(run, "Failed to parse command server response. RC(%d) %s\n", MQRC_STORAGE_NOT_AVAILABLE,
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
  MQLONG depth = 0;
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
  if (reply.malformed() || !IsQueueName(name)) return ReportUnreadable(run);
  if (name.empty() || type != MQQT_LOCAL || definition == MQQDT_TEMPORARY_DYNAMIC || depth == 0) return 0;
  const auto& patterns = run.InputList->Entries;
  const bool wanted = std::any_of(patterns.begin(), patterns.end(), [&](const MQOR& entry) {
    return MatchesPattern(run, name, NameInField(entry.ObjectName, kNameLength));
  });
  if (!wanted || name == kCommandQueue || name == kMainframeCommandQueue) return 0;
  // A queue that is told of twice is unloaded once: a second file would double its messages in a later load.
  if (run.Generic.Queues.HasQueue(name)) return 0;
  GenericQueueEntry entry;
  entry.QueueName = name;
  entry.Depth = depth;
  return run.Generic.Queues.Add(std::move(entry), run.Naming.Directory, run.Naming.FileType);
}

MQLONG TakeReply(Parameters& run, PcfReply& reply) {
  if (!reply.usable()) return ReportUnreadable(run);
  if (reply.header().Command != MQCMD_INQUIRE_Q) {
    PrintDiagnostic(run, "Wrong command server response. CMD(%d)\n", reply.header().Command);
    return MQRCCF_COMMAND_REPLY_ERROR;
  }
  if (reply.header().Reason != MQRC_NONE) {
    PrintDiagnostic(run, "Command Server Response failure. RC(%d) %s\n", reply.header().Reason,
                    ReasonText(reply.header().Reason));
    return reply.header().Reason;
  }
  return TakeQueueReply(run, reply);
}

// A reply that cannot be read has no header to look at; the one after it may still come.
bool IsLast(const PcfReply& reply) { return reply.usable() && reply.header().Control == MQCFC_LAST; }

MQLONG AskForQueues(Parameters& run, QMgrConn& conn, MQHOBJ commandQueue) {
  ReplyQueue replies(conn);
  CallResult result = replies.Open();
  if (result.failed()) {
    PrintDiagnostic(run, "Can not open %s. RC(%d) %s\n", kModelQueue, result.Reason, ReasonText(result.Reason));
    return result.Reason;
  }
  const PcfRequest request = QueryRequest(run, conn);
  MQMD descriptor = RequestDescriptor(replies.name());
  MQPMO options = RequestOptions();
  conn.Api.MQPUT(conn.Hconn, commandQueue, &descriptor, &options, request.size(), request.data(), &result.Code,
                 &result.Reason);
  if (result.failed()) {
    PrintDiagnostic(run, "Failed to MQPUT 'Query Queue' command. RC(%d) %s\n", result.Reason,
                    ReasonText(result.Reason));
    return result.Reason;
  }
  std::vector<MQBYTE, CSAllocator<MQBYTE>> buffer(kReplyRoom);
  for (;;) {
    std::size_t length = 0;
    result = replies.Read(buffer, length);
    if (result.failed()) {
      if (result.Reason == MQRC_NO_MSG_AVAILABLE) {
        PrintDiagnosticText(run, "No response from command server.\n");
      } else {
        PrintDiagnostic(run, "MQGET failed for 'Query Queue' command. RC(%d) %s\n", result.Reason,
                        ReasonText(result.Reason));
      }
      return result.Reason;
    }
    PcfReply reply(buffer.data(), length);
    const MQLONG outcome = TakeReply(run, reply);
    if (IsLast(reply)) return outcome;
  }
}

}  // namespace

MQLONG QueryQueueNames(Parameters& run) try {
  QMgrConn& conn = InputConn(run);
  MQOD object;
  FillField(object.ObjectName, sizeof object.ObjectName, kCommandQueue);
  MQHOBJ commandQueue = MQHO_UNUSABLE_HOBJ;
  CallResult result;
  conn.Api.MQOPEN(conn.Hconn, &object, MQOO_OUTPUT | MQOO_FAIL_IF_QUIESCING, &commandQueue, &result.Code,
                  &result.Reason);
  if (result.failed()) {
    PrintDiagnostic(run, "Can not open %s. RC(%d) %s\n", kCommandQueue, result.Reason, ReasonText(result.Reason));
    return result.Reason;
  }
  const MQLONG outcome = AskForQueues(run, conn, commandQueue);
  conn.Api.MQCLOSE(conn.Hconn, &commandQueue, MQCO_NONE, &result.Code, &result.Reason);
  return outcome;
} catch (const std::bad_alloc&) {
  PrintDiagnostic(run, "Failed to allocate command buffer. RC(%d) %s\n", MQRC_STORAGE_NOT_AVAILABLE,
                  ReasonText(MQRC_STORAGE_NOT_AVAILABLE));
  return MQRC_STORAGE_NOT_AVAILABLE;
}

void InquireQueueStatus(Parameters& run, QueueElement& queue) try {
  queue.FileSize = 0;
  queue.MaxFileSize = 0;
  QMgrConn& conn = InputConn(run);
  if (conn.Platform == MQPL_ZOS || (conn.CommandLevel != 0 && conn.CommandLevel < kStatusLevel)) return;
  // Reports a call that failed, or every call when they are traced. Answers whether to stop.
  const auto report = [&](const char* call, std::string_view object, const CallResult& result) {
    if (result.failed() || (run.Verbose & VERBOSE_APIS) != 0)
      ReportMqCall(run, call, conn.QMgrName, object, result.Reason);
    return result.failed();
  };

  ReplyQueue replies(conn);
  if (report("MQOPEN", kModelQueue, replies.Open())) return;
  MQCFH header;
  header.Type = MQCFT_COMMAND;
  header.Version = MQCFH_VERSION_1;
  header.Command = MQCMD_INQUIRE_Q_STATUS;
  PcfRequest request(header);
  request.AddString(MQCA_Q_NAME, queue.QueueName);
  request.AddInteger(MQIACF_Q_STATUS_TYPE, MQIACF_Q_STATUS);
  request.AddIntegerList(MQIACF_Q_STATUS_ATTRS, {MQIACF_CUR_Q_FILE_SIZE, MQIACF_CUR_MAX_FILE_SIZE});

  MQOD object;
  FillField(object.ObjectName, sizeof object.ObjectName, kCommandQueue);
  MQMD descriptor = RequestDescriptor(replies.name());
  MQPMO options = RequestOptions();
  CallResult result;
  conn.Api.MQPUT1(conn.Hconn, &object, &descriptor, &options, request.size(), request.data(), &result.Code,
                  &result.Reason);
  if (report("MQPUT1", kCommandQueue, result)) return;

  std::vector<MQBYTE, CSAllocator<MQBYTE>> buffer(kReplyRoom);
  for (bool last = false; !last;) {
    std::size_t length = 0;
    result = replies.Read(buffer, length);
    if (report("MQGET", replies.name(), result)) {
      if (result.Reason == MQRC_NO_MSG_AVAILABLE) PrintDiagnosticText(run, "No response from command server.\n");
      return;
    }
    PcfReply reply(buffer.data(), length);
    if (!reply.usable()) {
      ReportUnreadable(run);
      return;
    }
    const MQLONG reason = reply.header().Reason;
    if (reason != MQRC_NONE || (run.Verbose & VERBOSE_APIS) != 0) {
      ReportMqCall(run, "Inquire Queue Status", conn.QMgrName, queue.QueueName, reason);
    }
    if (reason != MQRC_NONE) return;
    for (PcfParameter parameter; reply.Next(parameter);) {
      if (parameter.Type != MQCFT_INTEGER) continue;
      if (parameter.Parameter == MQIACF_CUR_Q_FILE_SIZE) queue.FileSize = parameter.Integer;
      if (parameter.Parameter == MQIACF_CUR_MAX_FILE_SIZE) queue.MaxFileSize = parameter.Integer;
    }
    if (reply.malformed()) ReportUnreadable(run);
    last = reply.header().Control == MQCFC_LAST;
  }
} catch (const std::bad_alloc&) {
  PrintDiagnostic(run, "Failed to allocate command buffer. RC(%d) %s\n", MQRC_STORAGE_NOT_AVAILABLE,
                  ReasonText(MQRC_STORAGE_NOT_AVAILABLE));
}
