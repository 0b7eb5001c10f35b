#include "harness.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>

#include "common/text.h"
#include "mq/reasons.h"

namespace harness {

namespace {

std::filesystem::path g_programs;

std::filesystem::path NewFolder() {
  static std::atomic<int> counter{0};
  const auto base = std::filesystem::temp_directory_path();
  std::random_device random;
  for (;;) {
    auto folder = base / ("tarvo-" + std::to_string(random()) + "-" + std::to_string(++counter));
    if (std::filesystem::create_directory(folder)) return folder;
  }
}

}  // namespace

void SetProgramFolder(const char* argv0) {
  g_programs = std::filesystem::absolute(argv0).parent_path();
  // The test program itself looks at queues through the local queue manager.
  SetOwnVariable("MQM_DLL_PATH", LibraryFolder("localmq").string());
}

std::filesystem::path ProgramFolder() { return g_programs; }

std::filesystem::path LibraryFolder(const std::string& name) { return g_programs.parent_path() / "lib" / name; }

std::filesystem::path LibraryFile(const std::string& name) {
  return LibraryFolder(name) / (Platform() == PlatformKind::Windows ? "mqm.dll" : "libmqm_r.so");
}

// ---- Queues
// -----------------------------------------------------------------------------------------------------------

namespace {

void Require(MQLONG code, MQLONG reason, const std::string& what) {
  if (code == MQCC_FAILED) ADD_FAILURE() << what << " failed with " << reason << " " << ReasonText(reason);
}

}  // namespace

Queues::Queues(const std::string& qmgr) {
  const int result = LoadMqApi("mqm", api_);
  if (result != 0) {
    ADD_FAILURE() << "cannot load the local queue manager: " << result;
    std::abort();
  }
  MQCHAR48 name{};
  FillField(name, sizeof name, qmgr);
  MQCNO options;
  MQLONG code = MQCC_OK;
  MQLONG reason = 0;
  options.Options = MQCNO_HANDLE_SHARE_BLOCK;
  api_.MQCONNX(name, &options, &hconn_, &code, &reason);
  Require(code, reason, "MQCONNX " + qmgr);
}

Queues::~Queues() {
  MQLONG code = MQCC_OK;
  MQLONG reason = 0;
  api_.MQDISC(&hconn_, &code, &reason);
}

MQHOBJ Queues::Open(const std::string& queue, MQLONG options) {
  MQOD object;
  FillField(object.ObjectName, sizeof object.ObjectName, queue);
  MQHOBJ hobj = MQHO_UNUSABLE_HOBJ;
  MQLONG code = MQCC_OK;
  MQLONG reason = 0;
  api_.MQOPEN(hconn_, &object, options, &hobj, &code, &reason);
  Require(code, reason, "MQOPEN " + queue);
  return hobj;
}

void Queues::Close(MQHOBJ hobj) {
  MQLONG code = MQCC_OK;
  MQLONG reason = 0;
  api_.MQCLOSE(hconn_, &hobj, MQCO_NONE, &code, &reason);
}

void Queues::Put(const std::string& queue, const MQMD& descriptor, std::string_view data) {
  PutAll(queue, {{descriptor, std::string(data)}});
}

void Queues::PutAll(const std::string& queue, const std::vector<StoredMessage>& messages) {
  const MQHOBJ hobj = Open(queue, MQOO_OUTPUT | MQOO_SET_ALL_CONTEXT);
  MQLONG code = MQCC_OK;
  MQLONG reason = 0;
  for (const StoredMessage& message : messages) {
    MQMD md = message.Descriptor;
    MQPMO options;
    options.Options = MQPMO_SYNCPOINT | MQPMO_SET_ALL_CONTEXT;
    api_.MQPUT(hconn_, hobj, &md, &options, static_cast<MQLONG>(message.Data.size()), message.Data.data(), &code,
               &reason);
    Require(code, reason, "MQPUT " + queue);
  }
  api_.MQCMIT(hconn_, &code, &reason);
  Require(code, reason, "MQCMIT");
  Close(hobj);
}

void Queues::PutText(const std::string& queue, std::string_view data) {
  const MQHOBJ hobj = Open(queue, MQOO_OUTPUT);
  MQMD md;
  std::memcpy(md.Format, MQFMT_STRING, sizeof md.Format);
  md.Persistence = MQPER_PERSISTENT;
  MQPMO options;
  options.Options = MQPMO_NO_SYNCPOINT;
  MQLONG code = MQCC_OK;
  MQLONG reason = 0;
  api_.MQPUT(hconn_, hobj, &md, &options, static_cast<MQLONG>(data.size()), data.data(), &code, &reason);
  Require(code, reason, "MQPUT " + queue);
  Close(hobj);
}

void Queues::PutNumbered(const std::string& queue, int count, std::string_view prefix) {
  const MQHOBJ hobj = Open(queue, MQOO_OUTPUT);
  MQLONG code = MQCC_OK;
  MQLONG reason = 0;
  for (int i = 1; i <= count; ++i) {
    const std::string data = std::string(prefix) + std::to_string(i);
    MQMD md;
    std::memcpy(md.Format, MQFMT_STRING, sizeof md.Format);
    md.Persistence = MQPER_PERSISTENT;
    MQPMO options;
    options.Options = MQPMO_SYNCPOINT;
    api_.MQPUT(hconn_, hobj, &md, &options, static_cast<MQLONG>(data.size()), data.data(), &code, &reason);
    Require(code, reason, "MQPUT " + queue);
  }
  api_.MQCMIT(hconn_, &code, &reason);
  Require(code, reason, "MQCMIT");
  Close(hobj);
}

std::vector<StoredMessage> Queues::Browse(const std::string& queue) {
  const MQHOBJ hobj = Open(queue, MQOO_BROWSE);
  std::vector<StoredMessage> messages;
  std::string buffer(1 << 16, '\0');
  for (MQLONG option = MQGMO_BROWSE_FIRST;;) {
    StoredMessage message;
    message.Descriptor.Version = MQMD_VERSION_2;
    MQGMO options;
    options.Options = option | MQGMO_NO_SYNCPOINT;
    MQLONG length = 0;
    MQLONG code = MQCC_OK;
    MQLONG reason = 0;
    api_.MQGET(hconn_, hobj, &message.Descriptor, &options, static_cast<MQLONG>(buffer.size()), buffer.data(), &length,
               &code, &reason);
    if (reason == MQRC_TRUNCATED_MSG_FAILED) {
      buffer.resize(static_cast<std::size_t>(length));
      continue;
    }
    if (reason == MQRC_NO_MSG_AVAILABLE) break;
    Require(code, reason, "MQGET " + queue);
    if (code == MQCC_FAILED) break;
    message.Data.assign(buffer.data(), static_cast<std::size_t>(length));
    messages.push_back(std::move(message));
    option = MQGMO_BROWSE_NEXT;
  }
  Close(hobj);
  return messages;
}

std::vector<std::string> Queues::Texts(const std::string& queue) {
  std::vector<std::string> texts;
  for (auto& message : Browse(queue)) texts.push_back(std::move(message.Data));
  return texts;
}

bool Queues::Get(const std::string& queue, StoredMessage& message) {
  const MQHOBJ hobj = Open(queue, MQOO_INPUT_SHARED);
  message = StoredMessage{};
  message.Descriptor.Version = MQMD_VERSION_2;
  message.Data.resize(16 << 20);
  MQGMO options;
  options.Options = MQGMO_NO_SYNCPOINT;
  MQLONG length = 0;
  MQLONG code = MQCC_OK;
  MQLONG reason = 0;
  api_.MQGET(hconn_, hobj, &message.Descriptor, &options, static_cast<MQLONG>(message.Data.size()), message.Data.data(),
             &length, &code, &reason);
  if (reason != MQRC_NO_MSG_AVAILABLE) Require(code, reason, "MQGET " + queue);
  message.Data.resize(static_cast<std::size_t>(code == MQCC_FAILED ? 0 : length));
  Close(hobj);
  return code != MQCC_FAILED;
}

void Queues::RaiseBackoutCount(const std::string& queue, int times) {
  for (int i = 0; i < times; ++i) {
    const MQHOBJ hobj = Open(queue, MQOO_INPUT_SHARED);
    MQMD md;
    MQGMO options;
    options.Options = MQGMO_SYNCPOINT | MQGMO_ACCEPT_TRUNCATED_MSG;
    MQLONG length = 0;
    MQLONG code = MQCC_OK;
    MQLONG reason = 0;
    api_.MQGET(hconn_, hobj, &md, &options, 0, nullptr, &length, &code, &reason);
    Require(code, reason, "MQGET " + queue);
    api_.MQBACK(hconn_, &code, &reason);
    Require(code, reason, "MQBACK");
    Close(hobj);
  }
}

int Queues::Depth(const std::string& queue) {
  const MQHOBJ hobj = Open(queue, MQOO_INQUIRE);
  const MQLONG selector = MQIA_CURRENT_Q_DEPTH;
  MQLONG depth = -1;
  MQLONG code = MQCC_OK;
  MQLONG reason = 0;
  api_.MQINQ(hconn_, hobj, 1, &selector, 1, &depth, 0, nullptr, &code, &reason);
  Require(code, reason, "MQINQ " + queue);
  Close(hobj);
  return depth;
}

// ---- Descriptors
// ------------------------------------------------------------------------------------------------------

MQMD RichDescriptor(int seed) {
  MQMD md;
  md.Version = MQMD_VERSION_2;
  md.Report = MQRO_PASS_CORREL_ID;
  md.MsgType = seed % 2 == 0 ? MQMT_DATAGRAM : MQMT_REQUEST;
  md.Feedback = 66000 + seed;
  md.CodedCharSetId = 1208;
  std::memcpy(md.Format, MQFMT_STRING, sizeof md.Format);
  md.Priority = seed % 10;
  md.Persistence = seed % 2;
  for (int i = 0; i < 24; ++i) {
    md.MsgId[i] = static_cast<MQBYTE>(seed + i + 1);
    md.CorrelId[i] = static_cast<MQBYTE>(seed + 2 * i + 3);
  }
  FillField(md.ReplyToQ, sizeof md.ReplyToQ, "REPLY.TO." + std::to_string(seed));
  FillField(md.ReplyToQMgr, sizeof md.ReplyToQMgr, "QM.REPLY");
  FillField(md.UserIdentifier, sizeof md.UserIdentifier, "user" + std::to_string(seed));
  for (int i = 0; i < 32; ++i) md.AccountingToken[i] = static_cast<MQBYTE>(200 - i + seed);
  FillField(md.ApplIdentityData, sizeof md.ApplIdentityData, "identity " + std::to_string(seed));
  md.PutApplType = MQAT_UNIX;
  FillField(md.PutApplName, sizeof md.PutApplName, "application " + std::to_string(seed));
  FillField(md.PutDate, sizeof md.PutDate, "20251118");
  FillField(md.PutTime, sizeof md.PutTime, "10301250");
  FillField(md.ApplOriginData, sizeof md.ApplOriginData, "orig");
  return md;
}

testing::AssertionResult SameDescriptor(const MQMD& a, const MQMD& b) {
  MQMD left = a;
  MQMD right = b;
  left.BackoutCount = right.BackoutCount = 0;
  // What is left of a limited life gets less by itself; 10 seconds are more than a test takes.
  if (left.Expiry > 0 && right.Expiry > 0 && std::abs(left.Expiry - right.Expiry) < 100) left.Expiry = right.Expiry;
  const auto* l = reinterpret_cast<const unsigned char*>(&left);
  const auto* r = reinterpret_cast<const unsigned char*>(&right);
  for (std::size_t i = 0; i < sizeof(MQMD); ++i) {
    if (l[i] != r[i]) {
      return testing::AssertionFailure() << "descriptors differ at offset " << i << ": " << static_cast<int>(l[i])
                                         << " and " << static_cast<int>(r[i]);
    }
  }
  return testing::AssertionSuccess();
}

testing::AssertionResult SameMessages(const std::vector<StoredMessage>& a, const std::vector<StoredMessage>& b) {
  if (a.size() != b.size()) return testing::AssertionFailure() << a.size() << " messages and " << b.size();
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i].Data != b[i].Data) {
      return testing::AssertionFailure() << "data of message " << i + 1 << " differ: " << a[i].Data.size() << " and "
                                         << b[i].Data.size() << " bytes";
    }
    auto same = SameDescriptor(a[i].Descriptor, b[i].Descriptor);
    if (!same) return same << " (message " << i + 1 << ")";
  }
  return testing::AssertionSuccess();
}

// ---- Sandbox
// ----------------------------------------------------------------------------------------------------------

Sandbox::Sandbox() : folder_(NewFolder()) {
  std::filesystem::create_directory(folder_ / "home");
  environment_ = {{"HOME", (folder_ / "home").string()},
                  {"LOCALMQ_DATA", (folder_ / "mq").string()},
                  {"MQM_DLL_PATH", LibraryFolder("localmq").string()},
                  {"MQIC_DLL_PATH", LibraryFolder("localmq").string()},
                  {"MQ_INSTALLATION_PATH", ""},
                  {"MQACCESS_DEBUG", ""},
                  {"ORVEX_TARVO_PARMS", ""},
                  {"LC_ALL", "C"}};
  SetOwnVariable("LOCALMQ_DATA", environment_["LOCALMQ_DATA"]);
}

Sandbox::~Sandbox() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

Outcome Sandbox::Tarvo(std::vector<std::string> arguments, std::string_view input) {
  return RunProcess({ProgramFolder() / "tarvo", std::move(arguments), folder_, environment_, std::string(input), {}});
}

Environment Sandbox::WithFaults(const std::string& script) const {
  Environment variables = environment_;
  variables["MQM_DLL_PATH"] = LibraryFolder("faultmq").string();
  variables["FAULTMQ_LIBRARY"] = LibraryFile("localmq").string();
  variables["FAULTMQ_SCRIPT"] = script;
  variables["FAULTMQ_TRACE"] = Path("trace.txt").string();
  return variables;
}

Outcome Sandbox::TarvoWithFaults(const std::string& script, std::vector<std::string> arguments) {
  std::filesystem::remove(Path("trace.txt"));
  return RunProcess({ProgramFolder() / "tarvo", std::move(arguments), folder_, WithFaults(script), {}, {}});
}

Outcome Sandbox::Shell(const std::string& command) {
  const std::string begin = "tarvo() { '" + (ProgramFolder() / "tarvo").string() + "' \"$@\"; }; ";
  return RunProcess({"/bin/bash", {"-c", begin + command}, folder_, environment_, {}, {}});
}

Outcome Sandbox::LocalMq(std::vector<std::string> arguments, std::string_view input) {
  return RunProcess({ProgramFolder() / "localmq", std::move(arguments), folder_, environment_, std::string(input), {}});
}

void Sandbox::CreateQueueManager(const std::string& name, const std::vector<std::string>& queues,
                                 const std::string& mqsc) {
  const Outcome created = LocalMq({"create", name});
  ASSERT_EQ(created.Exit, 0) << created.Err << created.Out;
  std::string commands;
  for (const auto& queue : queues) commands += "DEFINE QLOCAL('" + queue + "') MAXDEPTH(1000000) MAXMSGL(209715200)\n";
  commands += mqsc;
  const Outcome defined = LocalMq({name}, commands);
  ASSERT_EQ(defined.Exit, 0) << defined.Err << defined.Out;
}

void Sandbox::WriteText(const std::string& name, std::string_view content) const {
  std::ofstream(Path(name), std::ios::binary) << content;
}

std::string Sandbox::ReadBytes(const std::string& name) const {
  std::ifstream in(Path(name), std::ios::binary);
  EXPECT_TRUE(in.good()) << "no file " << name;
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string Sandbox::ReadText(const std::string& name) const { return TextOf(ReadBytes(name)); }

void Sandbox::Await(const std::string& name, std::string_view part) const {
  for (int i = 0; i < 12000; ++i) {
    if (std::filesystem::exists(Path(name)) && ReadText(name).find(part) != std::string::npos) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  ADD_FAILURE() << "no '" << part << "' in " << name;
}

std::vector<std::string> Sandbox::Trace() const { return Lines(ReadText("trace.txt")); }

std::vector<std::string> Lines(std::string_view text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    std::string_view line = text.substr(at, end - at);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines.emplace_back(line);
    at = end + 1;
  }
  return lines;
}

std::vector<std::string> Joined(std::vector<std::string> arguments, const std::vector<std::string>& more) {
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

std::string Hex(const MQBYTE24& id) {
  std::string text;
  for (const MQBYTE byte : id) {
    char pair[3];
    std::snprintf(pair, sizeof pair, "%02X", byte);
    text += pair;
  }
  return text;
}

std::string Ebcdic(std::string text) {
  for (char& c : text) {
    const int lower = c >= 'a' && c <= 'z' ? 0x40 : 0;
    const int letter = c + (lower != 0 ? 'A' - 'a' : 0);
    const int code = letter >= 'A' && letter <= 'I'   ? letter - 'A' + 0xC1
                     : letter >= 'J' && letter <= 'R' ? letter - 'J' + 0xD1
                     : letter >= 'S' && letter <= 'Z' ? letter - 'S' + 0xE2
                     : c >= '0' && c <= '9'           ? c - '0' + 0xF0
                                                      : 0x40;
    c = static_cast<char>(code - lower);
  }
  return text;
}

int Occurrences(std::string_view text, std::string_view part) {
  int n = 0;
  for (std::size_t at = text.find(part); at != std::string_view::npos; at = text.find(part, at + part.size())) ++n;
  return n;
}

}  // namespace harness

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  harness::SetProgramFolder(argv[0]);
  return RUN_ALL_TESTS();
}
