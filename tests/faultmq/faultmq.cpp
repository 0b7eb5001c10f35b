// A library with the MQ programming interface that forwards every call to another such library, and on the way makes
// calls fail, kills the process, and writes down what was called. Tests put it between a program and a queue manager.
//
//   FAULTMQ_LIBRARY   the file of the library that calls are forwarded to
//   FAULTMQ_SCRIPT    what goes wrong (below); nothing when it is not set
//   FAULTMQ_TRACE     the file that gets a line for each call; none when it is not set
//
// The script is a list of rules, separated by ';'. Each rule is
//
//   CALL[@OBJECT]:WHEN=ACTION         for example  MQPUT:3=2053;MQCMIT@QM2:1=after:2009;MQGET:5-=kill
//
//   CALL    an entry's name, CALLBACK for the calls of a message consumer or event handler, or * for all entries
//   OBJECT  only calls for this queue, or on a connection to this queue manager
//   WHEN    which of the calls that CALL and OBJECT name, counted from 1 over the life of the process:
//           3 (the third), 3-5, 3- (from the third on), * (all)
//   ACTION  2053        the call fails with this reason and is not forwarded
//           after:2009  the call is forwarded, and then reported as failed with this reason
//           warn:2119   the call is forwarded, and if it succeeds, reported as a warning with this reason
//           kill        the process dies before the call is forwarded, as by SIGKILL
//           after:kill  it dies when the call is done
//           until:go    the call's trace line is written, then it waits until there is a file "go", and is forwarded
//           async:2053  (MQSTAT only) the answer tells of one more asynchronous put that failed, with this reason
//           event:2009  (CALLBACK only) before this call the function gets an event call with this reason
//
// All rules count; of those that apply to a call the first one acts. For CALLBACK, a reason and warn:REASON change the
// CompCode and Reason that the function is told. A script that is not understood ends the process with status 97.
//
// A trace line has the call, its number among the calls of its kind, and names and values: "-" is an empty text, and a
// field beyond a structure's version is not shown. Names of structures show their versions.
//
//   MQPUT #3 qmgr=QM1 object=Q1 pmo=1 options=2 md=2 length=5 cc=2 reason=2053 fault=2053
//
// The folders faultmq-without-<name> have the same library with entries left out, as older MQ libraries have them.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "common/text.h"
#include "mq/api.h"
#include "platform/dynamic_library.h"

#ifdef _WIN32
#define FAULTMQ_ENTRY extern "C" __declspec(dllexport) void
#else
#define FAULTMQ_ENTRY extern "C" __attribute__((visibility("default"))) void
#endif

namespace {

constexpr int kScriptError = 97;
constexpr std::string_view kUntilPrefix = "until:";

struct Fault {
  enum class Kind { kFail, kFailAfter, kWarn, kKill, kKillAfter, kUntil, kEvent, kAsync };
  Kind Type;
  int Number;  // the reason
  std::string Text;
};

struct Rule {
  std::string Call;
  std::string Object;
  int First;
  int Last;
  Fault Action;
  int Seen{0};
};

[[noreturn]] void Refuse(std::string_view rule) {
  std::fprintf(stderr, "faultmq: rule not understood: %.*s\n", static_cast<int>(rule.size()), rule.data());
  std::_Exit(kScriptError);
}

[[noreturn]] void Die() {
#ifdef SIGKILL
  std::raise(SIGKILL);
#endif
  std::_Exit(137);
}

int Number(std::string_view text, std::string_view rule) {
  if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string_view::npos) Refuse(rule);
  return std::stoi(std::string(text));
}

Fault ParseFault(std::string_view text, std::string_view rule) {
  using Kind = Fault::Kind;
  struct Form {
    std::string_view Prefix;
    Kind Type;
  };
  constexpr Form kForms[] = {
      {"after:", Kind::kFailAfter}, {"warn:", Kind::kWarn}, {"event:", Kind::kEvent}, {"async:", Kind::kAsync}};
  if (text.starts_with(kUntilPrefix)) return {Kind::kUntil, 0, std::string(text)};
  if (text == "kill") return {Kind::kKill, 0, "kill"};
  if (text == "after:kill") return {Kind::kKillAfter, 0, "after:kill"};
  for (const Form& form : kForms) {
    if (!text.starts_with(form.Prefix)) continue;
    return {form.Type, Number(text.substr(form.Prefix.size()), rule), std::string(text)};
  }
  return {Kind::kFail, Number(text, rule), std::string(text)};
}

Rule ParseRule(std::string_view text) {
  const std::size_t equals = text.find('=');
  const std::size_t colon = text.substr(0, equals).rfind(':');
  if (equals == std::string_view::npos || colon == std::string_view::npos) Refuse(text);
  const std::string_view subject = text.substr(0, colon);
  const std::string_view when = text.substr(colon + 1, equals - colon - 1);
  const std::size_t at = subject.find('@');
  Rule rule{std::string(subject.substr(0, at)), {}, 1, 1, ParseFault(text.substr(equals + 1), text)};
  if (at != std::string_view::npos) rule.Object = subject.substr(at + 1);
  if (rule.Call != "*" && rule.Call != "CALLBACK" && !rule.Call.starts_with("MQ")) Refuse(text);
  if (rule.Action.Type == Fault::Kind::kEvent && rule.Call != "CALLBACK") Refuse(text);
  if (rule.Action.Type == Fault::Kind::kAsync && rule.Call != "MQSTAT") Refuse(text);
  const std::size_t dash = when.find('-');
  if (when == "*") {
    rule.Last = 0;
  } else {
    rule.First = Number(when.substr(0, dash), text);
    rule.Last = dash == std::string_view::npos ? rule.First
                : dash + 1 == when.size()      ? 0
                                               : Number(when.substr(dash + 1), text);
  }
  return rule;
}

std::string_view Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view() : std::string_view(value);
}

using Handle = std::pair<MQHCONN, MQHOBJ>;

// Everything that the calls of a process share. Never destroyed, since other threads may still be calling at the end.
class Middle {
 public:
  static Middle& Get() {
    static Middle* const middle = new Middle;
    return *middle;
  }

  const MqApiTable& Api() const { return api_; }
  bool Loaded() const { return loaded_; }

  // The fault for this call, if any, and the call's number among those of its kind.
  std::pair<std::optional<Fault>, int> Count(const std::string& call, const std::string& qmgr,
                                             const std::string& object) {
    const std::lock_guard lock(mutex_);
    std::optional<Fault> fault;
    for (Rule& rule : rules_) {
      if (rule.Call != call && (rule.Call != "*" || call == "CALLBACK")) continue;
      if (!rule.Object.empty() && rule.Object != object && rule.Object != qmgr) continue;
      ++rule.Seen;
      if (!fault && rule.Seen >= rule.First && (rule.Last == 0 || rule.Seen <= rule.Last)) fault = rule.Action;
    }
    return {fault, ++calls_[call]};
  }

  void Write(const std::string& line) {
    const std::lock_guard lock(mutex_);
    if (trace_ == nullptr) return;
    std::fwrite(line.data(), 1, line.size(), trace_);
    std::fflush(trace_);
  }

  void Connected(MQHCONN hconn, std::string qmgr) {
    const std::lock_guard lock(mutex_);
    qmgrs_[hconn] = std::move(qmgr);
  }
  std::string QMgr(MQHCONN hconn) { return Found(qmgrs_, hconn); }

  void Opened(Handle handle, std::string object) {
    const std::lock_guard lock(mutex_);
    objects_[handle] = std::move(object);
  }
  std::string Object(Handle handle) { return Found(objects_, handle); }

  void Registered(Handle handle, MQPTR function) {
    const std::lock_guard lock(mutex_);
    consumers_[handle] = function;
  }
  MqConsumerFunction* Consumer(Handle handle) {
    return reinterpret_cast<MqConsumerFunction*>(Found(consumers_, handle));
  }

 private:
  Middle() {
    std::string_view script = Variable("FAULTMQ_SCRIPT");
    while (!script.empty()) {
      const std::string_view rule = script.substr(0, script.find(';'));
      if (!rule.empty()) rules_.push_back(ParseRule(rule));
      script.remove_prefix(std::min(script.size(), rule.size() + 1));
    }
    const std::string trace(Variable("FAULTMQ_TRACE"));
    if (!trace.empty() && (trace_ = std::fopen(trace.c_str(), "ab")) == nullptr) {
      std::fprintf(stderr, "faultmq: cannot write %s\n", trace.c_str());
      std::_Exit(kScriptError);
    }
    static DynamicLibrary library;
    std::string problem;
    if (library.Load(std::string(Variable("FAULTMQ_LIBRARY")), problem) != 0) {
      std::fprintf(stderr, "faultmq: cannot load FAULTMQ_LIBRARY: %s\n", problem.c_str());
      return;
    }
    loaded_ = true;
#define FAULTMQ_BIND(name) api_.name = reinterpret_cast<decltype(api_.name)>(library.Entry(#name))
    FAULTMQ_BIND(MQBACK);
    FAULTMQ_BIND(MQCLOSE);
    FAULTMQ_BIND(MQCMIT);
    FAULTMQ_BIND(MQCONN);
    FAULTMQ_BIND(MQCONNX);
    FAULTMQ_BIND(MQDISC);
    FAULTMQ_BIND(MQGET);
    FAULTMQ_BIND(MQINQ);
    FAULTMQ_BIND(MQOPEN);
    FAULTMQ_BIND(MQPUT);
    FAULTMQ_BIND(MQPUT1);
    FAULTMQ_BIND(MQSET);
    FAULTMQ_BIND(MQSUB);
    FAULTMQ_BIND(MQSUBRQ);
    FAULTMQ_BIND(MQCB);
    FAULTMQ_BIND(MQCTL);
    FAULTMQ_BIND(MQCRTMH);
    FAULTMQ_BIND(MQDLTMH);
    FAULTMQ_BIND(MQINQMP);
    FAULTMQ_BIND(MQSETMP);
    FAULTMQ_BIND(MQDLTMP);
    FAULTMQ_BIND(MQBUFMH);
    FAULTMQ_BIND(MQMHBUF);
    FAULTMQ_BIND(MQSTAT);
#undef FAULTMQ_BIND
  }

  template <typename Map, typename Key>
  typename Map::mapped_type Found(const Map& map, const Key& key) {
    const std::lock_guard lock(mutex_);
    const auto found = map.find(key);
    return found == map.end() ? typename Map::mapped_type{} : found->second;
  }

  std::mutex mutex_;
  std::vector<Rule> rules_;
  std::map<std::string, int> calls_;
  std::map<MQHCONN, std::string> qmgrs_;
  std::map<Handle, std::string> objects_;
  std::map<Handle, MQPTR> consumers_;  // an event handler's under MQHO_NONE
  std::FILE* trace_{nullptr};
  MqApiTable api_;
  bool loaded_{false};
};

std::string Name(const MQCHAR* field, std::size_t width = 48) {
  return field == nullptr ? std::string() : std::string(NameInField(field, width));
}

// One call on its way: collects what the trace shows of it, and forwards it or not.
class Passage {
 public:
  Passage(const char* call, std::string qmgr, std::string object)
      : call_(call), qmgr_(std::move(qmgr)), object_(std::move(object)) {
    std::tie(fault_, number_) = Middle::Get().Count(call_, qmgr_, object_);
    line_ = call_ + " #" + std::to_string(number_) + " qmgr=" + (qmgr_.empty() ? "-" : qmgr_);
    if (!object_.empty()) Add("object", object_);
  }

  Passage& Add(const char* name, std::int64_t value) { return Add(name, std::to_string(value)); }
  Passage& Add(const char* name, const std::string& value) {
    line_ += std::string(" ") + name + "=" + (value.empty() ? "-" : value);
    return *this;
  }
  // The version of a structure that may be missing.
  template <typename Structure>
  Passage& Version(const char* name, const Structure* structure) {
    return Add(name, structure == nullptr ? std::string() : std::to_string(structure->Version));
  }

  const std::optional<Fault>& Planned() const { return fault_; }

  // Calls `entry` with `arguments`, CompCode and Reason, unless the script says otherwise. `results` may add to the
  // trace what the call gave back.
  template <typename Entry, typename Results, typename... Arguments>
  void Forward(Entry* entry, MQLONG* compCode, MQLONG* reason, const Results& results, Arguments... arguments) {
    using Kind = Fault::Kind;
    const auto planned = [this](Kind kind) { return fault_.has_value() && fault_->Type == kind; };
    BeforeCall();
    if (planned(Kind::kFail)) {
      Set(compCode, reason, MQCC_FAILED, fault_->Number);
    } else if (entry == nullptr) {
      Set(compCode, reason, MQCC_FAILED, Middle::Get().Loaded() ? MQRC_FUNCTION_NOT_SUPPORTED : MQRC_ENVIRONMENT_ERROR);
    } else {
      entry(arguments..., compCode, reason);
      results();
      if (planned(Kind::kKillAfter)) {
        Finish(*compCode, *reason);
        Die();
      }
      if (planned(Kind::kFailAfter)) Set(compCode, reason, MQCC_FAILED, fault_->Number);
      if (planned(Kind::kWarn) && *compCode == MQCC_OK) Set(compCode, reason, MQCC_WARNING, fault_->Number);
    }
    Finish(*compCode, *reason);
  }

  // What happens before the call whether or not it is forwarded.
  void BeforeCall() {
    if (fault_ && fault_->Type == Fault::Kind::kUntil) {
      Middle::Get().Write(line_ + " fault=" + fault_->Text + "\n");
      while (!std::filesystem::exists(fault_->Text.substr(kUntilPrefix.size()))) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
      }
    }
    if (fault_ && fault_->Type == Fault::Kind::kKill) {
      Middle::Get().Write(line_ + " fault=kill\n");
      Die();
    }
  }

  void Finish(MQLONG compCode, MQLONG reason) {
    Add("cc", compCode);
    Add("reason", reason);
    if (fault_) Add("fault", fault_->Text);
    Middle::Get().Write(line_ + "\n");
  }

 private:
  static void Set(MQLONG* compCode, MQLONG* reason, MQLONG newCompCode, MQLONG newReason) {
    *compCode = newCompCode;
    *reason = newReason;
  }

  std::string call_;
  std::string qmgr_;
  std::string object_;
  std::optional<Fault> fault_;
  int number_{0};
  std::string line_;
};

Passage OnConnection(const char* call, MQHCONN hconn) { return {call, Middle::Get().QMgr(hconn), {}}; }

Passage OnObject(const char* call, MQHCONN hconn, MQHOBJ hobj) {
  const std::string object = Middle::Get().Object({hconn, hobj});
  return {call, Middle::Get().QMgr(hconn), object.empty() ? "#" + std::to_string(hobj) : object};
}

constexpr auto kNoResults = [] {};

void AddDescriptor(Passage& passage, const MQOD* od) {
  passage.Version("od", od);
  if (od == nullptr) return;
  passage.Add("type", od->ObjectType).Add("objectqmgr", Name(od->ObjectQMgrName));
  if (od->Version >= MQOD_VERSION_2) passage.Add("recs", od->RecsPresent);
  if (od->Version < MQOD_VERSION_4 || od->SelectionString.VSPtr == nullptr) return;
  const MQCHARV& selector = od->SelectionString;
  const auto* text = static_cast<const char*>(selector.VSPtr);
  passage.Add("selector",
              selector.VSLength >= 0 ? std::string(text, static_cast<std::size_t>(selector.VSLength)) : text);
}

void AddOptions(Passage& passage, const MQGMO* gmo) {
  passage.Version("gmo", gmo);
  if (gmo == nullptr) return;
  passage.Add("options", gmo->Options).Add("wait", gmo->WaitInterval);
  if (gmo->Version >= MQGMO_VERSION_2) passage.Add("match", gmo->MatchOptions);
}

void AddOptions(Passage& passage, const MQPMO* pmo) {
  passage.Version("pmo", pmo);
  if (pmo == nullptr) return;
  passage.Add("options", pmo->Options).Add("context", pmo->Context);
  if (pmo->Version >= MQPMO_VERSION_2) passage.Add("recs", pmo->RecsPresent);
}

std::string List(const MQLONG* values, MQLONG count) {
  std::string list;
  for (MQLONG i = 0; values != nullptr && i < count; ++i) list += (i == 0 ? "" : ",") + std::to_string(values[i]);
  return list;
}

// Stands in for a registered function: traces the call and passes it on.
void CallConsumer(MqConsumerFunction* function, MQHCONN hconn, MQMD* md, MQGMO* gmo, void* buffer, MQCBC* context) {
  Passage passage = OnObject("CALLBACK", hconn, context->Hobj);
  passage.Add("calltype", context->CallType).Version("cbc", context).Version("md", md).Version("gmo", gmo);
  passage.Add("length", context->DataLength).Add("buffer", context->BufferLength).Add("state", context->State);
  passage.BeforeCall();
  const std::optional<Fault>& fault = passage.Planned();
  MQCBC changed;
  const std::size_t size = context->Version >= MQCBC_VERSION_2 ? MQCBC_LENGTH_2 : MQCBC_LENGTH_1;
  std::memcpy(static_cast<void*>(&changed), context, size);
  if (fault && fault->Type == Fault::Kind::kEvent) {
    MQCBC event = changed;
    event.CallType = MQCBCT_EVENT_CALL;
    event.CompCode = MQCC_FAILED;
    event.Reason = fault->Number;
    event.DataLength = event.BufferLength = 0;
    function(hconn, nullptr, nullptr, nullptr, &event);
  }
  const bool warns = fault && fault->Type == Fault::Kind::kWarn;
  const bool fails = fault && (fault->Type == Fault::Kind::kFail || fault->Type == Fault::Kind::kFailAfter);
  if (warns || fails) {
    changed.CompCode = warns ? MQCC_WARNING : MQCC_FAILED;
    changed.Reason = fault->Number;
  }
  function(hconn, md, gmo, buffer, &changed);
  passage.Finish(changed.CompCode, changed.Reason);
  if (fault && fault->Type == Fault::Kind::kKillAfter) Die();
}

extern "C" void FaultMqConsumer(MQHCONN hconn, MQMD* md, MQGMO* gmo, void* buffer, MQCBC* context) {
  MqConsumerFunction* function = Middle::Get().Consumer({hconn, context->Hobj});
  if (function != nullptr) CallConsumer(function, hconn, md, gmo, buffer, context);
}

extern "C" void FaultMqEventHandler(MQHCONN hconn, MQMD* md, MQGMO* gmo, void* buffer, MQCBC* context) {
  MqConsumerFunction* function = Middle::Get().Consumer({hconn, MQHO_NONE});
  if (function != nullptr) CallConsumer(function, hconn, md, gmo, buffer, context);
}

// A connection or open that was reported as failed leaves an unusable handle.
template <typename Made>
void TakeHandle(MQLONG* handle, MQLONG compCode, const Made& made) {
  if (compCode == MQCC_FAILED) {
    *handle = -1;
  } else {
    made();
  }
}

const MqApiTable& Api() { return Middle::Get().Api(); }

}  // namespace

FAULTMQ_ENTRY MQCONN(const MQCHAR* qmgr, MQHCONN* hconn, MQLONG* compCode, MQLONG* reason) {
  Passage passage("MQCONN", Name(qmgr), {});
  passage.Forward(Api().MQCONN, compCode, reason, kNoResults, qmgr, hconn);
  TakeHandle(hconn, *compCode, [&] { Middle::Get().Connected(*hconn, Name(qmgr)); });
}

FAULTMQ_ENTRY MQCONNX(const MQCHAR* qmgr, MQCNO* cno, MQHCONN* hconn, MQLONG* compCode, MQLONG* reason) {
  Passage passage("MQCONNX", Name(qmgr), {});
  passage.Version("cno", cno);
  if (cno != nullptr) {
    passage.Add("options", cno->Options);
    if (cno->Version >= MQCNO_VERSION_5) {
      const auto* csp = static_cast<const MQCSP*>(cno->SecurityParmsPtr);
      passage.Version("csp", csp);
      if (csp != nullptr && csp->CSPUserIdPtr != nullptr && csp->CSPUserIdLength > 0) {
        passage.Add("user", std::string(static_cast<const char*>(csp->CSPUserIdPtr),
                                        static_cast<std::size_t>(csp->CSPUserIdLength)));
        passage.Add("passwordlength", csp->CSPPasswordLength);
      }
    }
    if (cno->Version >= MQCNO_VERSION_7) {
      std::string application(cno->ApplName, sizeof cno->ApplName);
      application.erase(application.find_last_not_of(std::string_view(" \0", 2)) + 1);
      for (char& c : application) c = c == ' ' ? '_' : c;
      passage.Add("appl", application);
    }
  }
  passage.Forward(Api().MQCONNX, compCode, reason, kNoResults, qmgr, cno, hconn);
  TakeHandle(hconn, *compCode, [&] { Middle::Get().Connected(*hconn, Name(qmgr)); });
}

FAULTMQ_ENTRY MQDISC(MQHCONN* hconn, MQLONG* compCode, MQLONG* reason) {
  OnConnection("MQDISC", *hconn).Forward(Api().MQDISC, compCode, reason, kNoResults, hconn);
}

FAULTMQ_ENTRY MQCMIT(MQHCONN hconn, MQLONG* compCode, MQLONG* reason) {
  OnConnection("MQCMIT", hconn).Forward(Api().MQCMIT, compCode, reason, kNoResults, hconn);
}

FAULTMQ_ENTRY MQBACK(MQHCONN hconn, MQLONG* compCode, MQLONG* reason) {
  OnConnection("MQBACK", hconn).Forward(Api().MQBACK, compCode, reason, kNoResults, hconn);
}

FAULTMQ_ENTRY MQOPEN(MQHCONN hconn, MQOD* od, MQLONG options, MQHOBJ* hobj, MQLONG* compCode, MQLONG* reason) {
  const std::string name = od == nullptr ? std::string() : Name(od->ObjectName);
  Passage passage("MQOPEN", Middle::Get().QMgr(hconn), name.empty() ? "-" : name);
  AddDescriptor(passage, od);
  passage.Add("options", options);
  const auto results = [&] {
    // A model queue's name has become that of the dynamic queue.
    if (*compCode != MQCC_FAILED && Name(od->ObjectName) != name) passage.Add("opened", Name(od->ObjectName));
  };
  passage.Forward(Api().MQOPEN, compCode, reason, results, hconn, od, options, hobj);
  TakeHandle(hobj, *compCode, [&] { Middle::Get().Opened({hconn, *hobj}, Name(od->ObjectName)); });
}

FAULTMQ_ENTRY MQCLOSE(MQHCONN hconn, MQHOBJ* hobj, MQLONG options, MQLONG* compCode, MQLONG* reason) {
  OnObject("MQCLOSE", hconn, *hobj)
      .Add("options", options)
      .Forward(Api().MQCLOSE, compCode, reason, kNoResults, hconn, hobj, options);
}

FAULTMQ_ENTRY MQINQ(MQHCONN hconn, MQHOBJ hobj, MQLONG selectorCount, const MQLONG* selectors, MQLONG intCount,
                    MQLONG* ints, MQLONG charLength, MQCHAR* chars, MQLONG* compCode, MQLONG* reason) {
  OnObject("MQINQ", hconn, hobj)
      .Add("selectors", List(selectors, selectorCount))
      .Add("ints", intCount)
      .Add("chars", charLength)
      .Forward(Api().MQINQ, compCode, reason, kNoResults, hconn, hobj, selectorCount, selectors, intCount, ints,
               charLength, chars);
}

FAULTMQ_ENTRY MQSET(MQHCONN hconn, MQHOBJ hobj, MQLONG selectorCount, const MQLONG* selectors, MQLONG intCount,
                    const MQLONG* ints, MQLONG charLength, const MQCHAR* chars, MQLONG* compCode, MQLONG* reason) {
  OnObject("MQSET", hconn, hobj)
      .Add("selectors", List(selectors, selectorCount))
      .Forward(Api().MQSET, compCode, reason, kNoResults, hconn, hobj, selectorCount, selectors, intCount, ints,
               charLength, chars);
}

FAULTMQ_ENTRY MQGET(MQHCONN hconn, MQHOBJ hobj, MQMD* md, MQGMO* gmo, MQLONG bufferLength, void* buffer,
                    MQLONG* dataLength, MQLONG* compCode, MQLONG* reason) {
  Passage passage = OnObject("MQGET", hconn, hobj);
  AddOptions(passage, gmo);
  passage.Version("md", md).Add("buffer", bufferLength);
  const auto results = [&] { passage.Add("length", *dataLength); };
  passage.Forward(Api().MQGET, compCode, reason, results, hconn, hobj, md, gmo, bufferLength, buffer, dataLength);
}

FAULTMQ_ENTRY MQPUT(MQHCONN hconn, MQHOBJ hobj, MQMD* md, MQPMO* pmo, MQLONG length, const void* data, MQLONG* compCode,
                    MQLONG* reason) {
  Passage passage = OnObject("MQPUT", hconn, hobj);
  AddOptions(passage, pmo);
  passage.Version("md", md).Add("length", length);
  passage.Forward(Api().MQPUT, compCode, reason, kNoResults, hconn, hobj, md, pmo, length, data);
}

FAULTMQ_ENTRY MQPUT1(MQHCONN hconn, MQOD* od, MQMD* md, MQPMO* pmo, MQLONG length, const void* data, MQLONG* compCode,
                     MQLONG* reason) {
  Passage passage("MQPUT1", Middle::Get().QMgr(hconn), od == nullptr ? "-" : Name(od->ObjectName));
  AddDescriptor(passage, od);
  AddOptions(passage, pmo);
  passage.Version("md", md).Add("length", length);
  passage.Forward(Api().MQPUT1, compCode, reason, kNoResults, hconn, od, md, pmo, length, data);
}

FAULTMQ_ENTRY MQCB(MQHCONN hconn, MQLONG operation, MQCBD* cbd, MQHOBJ hobj, MQMD* md, MQGMO* gmo, MQLONG* compCode,
                   MQLONG* reason) {
  Passage passage = OnObject("MQCB", hconn, hobj);
  passage.Add("operation", operation).Version("cbd", cbd);
  MQCBD wrapped;
  MQCBD* passed = cbd;
  if (cbd != nullptr) {
    passage.Add("callbacktype", cbd->CallbackType).Add("cbdoptions", cbd->Options).Add("maxlength", cbd->MaxMsgLength);
    if ((operation & MQOP_REGISTER) != 0 && cbd->CallbackFunction != nullptr) {
      const bool handler = cbd->CallbackType == MQCBT_EVENT_HANDLER;
      Middle::Get().Registered({hconn, handler ? MQHO_NONE : hobj}, cbd->CallbackFunction);
      wrapped = *cbd;
      wrapped.CallbackFunction = reinterpret_cast<MQPTR>(handler ? &FaultMqEventHandler : &FaultMqConsumer);
      passed = &wrapped;
    }
  }
  AddOptions(passage, gmo);
  passage.Version("md", md);
  passage.Forward(Api().MQCB, compCode, reason, kNoResults, hconn, operation, passed, hobj, md, gmo);
}

FAULTMQ_ENTRY MQCTL(MQHCONN hconn, MQLONG operation, MQCTLO* ctlo, MQLONG* compCode, MQLONG* reason) {
  Passage passage = OnConnection("MQCTL", hconn);
  passage.Add("operation", operation).Version("ctlo", ctlo);
  if (ctlo != nullptr) passage.Add("options", ctlo->Options);
  passage.Forward(Api().MQCTL, compCode, reason, kNoResults, hconn, operation, ctlo);
}

FAULTMQ_ENTRY MQSTAT(MQHCONN hconn, MQLONG type, MQSTS* status, MQLONG* compCode, MQLONG* reason) {
  Passage passage = OnConnection("MQSTAT", hconn);
  passage.Add("type", type).Version("sts", status);
  const auto results = [&] {
    if (*compCode == MQCC_FAILED) return;
    const std::optional<Fault>& fault = passage.Planned();
    if (fault && fault->Type == Fault::Kind::kAsync) {
      status->CompCode = MQCC_FAILED;
      status->Reason = fault->Number;
      ++status->PutFailureCount;
      std::strncpy(status->ObjectName, "FAULTMQ", sizeof status->ObjectName);
    }
    passage.Add("failures", status->PutFailureCount);
  };
  passage.Forward(Api().MQSTAT, compCode, reason, results, hconn, type, status);
}

FAULTMQ_ENTRY MQSUB(MQHCONN hconn, void* sd, MQHOBJ* hobj, MQHOBJ* hsub, MQLONG* compCode, MQLONG* reason) {
  OnConnection("MQSUB", hconn).Forward(Api().MQSUB, compCode, reason, kNoResults, hconn, sd, hobj, hsub);
}

FAULTMQ_ENTRY MQSUBRQ(MQHCONN hconn, MQHOBJ hsub, MQLONG action, void* options, MQLONG* compCode, MQLONG* reason) {
  OnConnection("MQSUBRQ", hconn).Forward(Api().MQSUBRQ, compCode, reason, kNoResults, hconn, hsub, action, options);
}

FAULTMQ_ENTRY MQCRTMH(MQHCONN hconn, void* options, MQHMSG* hmsg, MQLONG* compCode, MQLONG* reason) {
  OnConnection("MQCRTMH", hconn).Forward(Api().MQCRTMH, compCode, reason, kNoResults, hconn, options, hmsg);
}

FAULTMQ_ENTRY MQDLTMH(MQHCONN hconn, MQHMSG* hmsg, void* options, MQLONG* compCode, MQLONG* reason) {
  OnConnection("MQDLTMH", hconn).Forward(Api().MQDLTMH, compCode, reason, kNoResults, hconn, hmsg, options);
}

FAULTMQ_ENTRY MQINQMP(MQHCONN hconn, MQHMSG hmsg, void* options, MQCHARV* name, void* pd, MQLONG* type,
                      MQLONG valueLength, void* value, MQLONG* dataLength, MQLONG* compCode, MQLONG* reason) {
  OnConnection("MQINQMP", hconn)
      .Forward(Api().MQINQMP, compCode, reason, kNoResults, hconn, hmsg, options, name, pd, type, valueLength, value,
               dataLength);
}

FAULTMQ_ENTRY MQSETMP(MQHCONN hconn, MQHMSG hmsg, void* options, MQCHARV* name, void* pd, MQLONG type,
                      MQLONG valueLength, void* value, MQLONG* compCode, MQLONG* reason) {
  OnConnection("MQSETMP", hconn)
      .Forward(Api().MQSETMP, compCode, reason, kNoResults, hconn, hmsg, options, name, pd, type, valueLength, value);
}

FAULTMQ_ENTRY MQDLTMP(MQHCONN hconn, MQHMSG hmsg, void* options, MQCHARV* name, MQLONG* compCode, MQLONG* reason) {
  OnConnection("MQDLTMP", hconn).Forward(Api().MQDLTMP, compCode, reason, kNoResults, hconn, hmsg, options, name);
}

FAULTMQ_ENTRY MQBUFMH(MQHCONN hconn, MQHMSG hmsg, void* options, MQMD* md, MQLONG bufferLength, void* buffer,
                      MQLONG* dataLength, MQLONG* compCode, MQLONG* reason) {
  OnConnection("MQBUFMH", hconn)
      .Forward(Api().MQBUFMH, compCode, reason, kNoResults, hconn, hmsg, options, md, bufferLength, buffer, dataLength);
}

FAULTMQ_ENTRY MQMHBUF(MQHCONN hconn, MQHMSG hmsg, void* options, MQCHARV* name, MQMD* md, MQLONG bufferLength,
                      void* buffer, MQLONG* dataLength, MQLONG* compCode, MQLONG* reason) {
  OnConnection("MQMHBUF", hconn)
      .Forward(Api().MQMHBUF, compCode, reason, kNoResults, hconn, hmsg, options, name, md, bufferLength, buffer,
               dataLength);
}
