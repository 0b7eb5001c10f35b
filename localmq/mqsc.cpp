#include "localmq/mqsc.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <istream>
#include <optional>
#include <ostream>
#include <utility>

#include "localmq/mqsc_attributes.h"
#include "localmq/mqsc_text.h"

namespace localmq {
namespace {

// The display is two columns wide, the second one starting here.
constexpr std::size_t kSecondColumn = 43;

// Names and values of one displayed object, in the order of the display.
struct ShownAttribute {
  std::string Name;
  std::string Value;
  bool IsNumber{false};
  bool IsFlag{false};  // the value alone says it: SHARE, NOSHARE
};
using ShownObject = std::vector<ShownAttribute>;

// WHERE(attribute operator value)
struct Filter {
  std::string Name;
  std::string Operator;
  std::string Value;
};

// -1, 0 or 1: numbers by value, texts byte by byte.
int Order(const ShownAttribute& attribute, const std::string& value) {
  if (attribute.IsNumber) {
    long long left = 0;
    long long right = 0;
    std::from_chars(attribute.Value.data(), attribute.Value.data() + attribute.Value.size(), left);
    std::from_chars(value.data(), value.data() + value.size(), right);
    return left < right ? -1 : left > right ? 1 : 0;
  }
  const int order = attribute.Value.compare(value);
  return order < 0 ? -1 : order > 0 ? 1 : 0;
}

bool Passes(const ShownAttribute& attribute, const Filter& filter) {
  if (filter.Operator == "LK") return MatchesGenericName(attribute.Value, filter.Value);
  if (filter.Operator == "NL") return !MatchesGenericName(attribute.Value, filter.Value);
  const int order = Order(attribute, filter.Value);
  if (filter.Operator == "EQ") return order == 0;
  if (filter.Operator == "NE") return order != 0;
  if (filter.Operator == "LT") return order < 0;
  if (filter.Operator == "LE") return order <= 0;
  if (filter.Operator == "GT") return order > 0;
  return order >= 0;
}

class Interpreter {
 public:
  Interpreter(Store& store, std::ostream& output) : store_(store), output_(output) {}

  // False when the command ends the session.
  bool Run(const std::string& command) {
    std::vector<MqscWord> words;
    std::string problem;
    if (!ParseMqsc(command, words, problem)) {
      ++totals_.Commands;
      SyntaxError(problem);
      return true;
    }
    if (words.size() == 1 && (words[0].Keyword == "END" || words[0].Keyword == "QUIT" || words[0].Keyword == "EXIT")) {
      return false;
    }
    ++totals_.Commands;
    if (!words.empty()) Dispatch(words);
    return true;
  }

  const MqscTotals& Totals() const { return totals_; }

 private:
  using Words = std::vector<MqscWord>;

  void Dispatch(const Words& words) {
    struct Verb {
      std::string_view Word;
      void (Interpreter::*Handler)(const MqscWord& object, Words rest);
    };
    constexpr Verb kVerbs[] = {
        {"DEFINE", &Interpreter::Define},   {"DEF", &Interpreter::Define},    {"ALTER", &Interpreter::Alter},
        {"ALT", &Interpreter::Alter},       {"DELETE", &Interpreter::Delete}, {"CLEAR", &Interpreter::Clear},
        {"DISPLAY", &Interpreter::Display}, {"DIS", &Interpreter::Display},   {"PING", &Interpreter::Ping},
    };
    for (const Verb& verb : kVerbs) {
      if (verb.Word != words[0].Keyword || words[0].HasValue) continue;
      if (words.size() < 2) return SyntaxError(words[0].Keyword + " needs the type of an object.");
      return (this->*verb.Handler)(words[1], Words(words.begin() + 2, words.end()));
    }
    SyntaxError("There is no command " + words[0].Keyword + ".");
  }

  void Done(const std::string& text) { output_ << "LMQ0001I: " << text << '\n'; }
  void SyntaxError(const std::string& text) {
    ++totals_.SyntaxErrors;
    output_ << "LMQ0101E: Syntax error. " << text << '\n';
  }
  void Failed(const std::string& text) {
    ++totals_.Failures;
    output_ << "LMQ0102E: " << text << '\n';
  }
  // Reports a call on the store; true when it succeeded.
  bool Succeeded(MQLONG reason, const std::string& what) {
    if (reason == MQRC_NONE) return true;
    Failed(what + " failed: " + DescribeReason(reason) + ".");
    return false;
  }

  // The queue type and name of "QLOCAL(Q1)"; nothing after a message about what is wrong.
  std::optional<MQLONG> QueueObject(const MqscWord& object, bool anyType = false) {
    const std::optional<MQLONG> type = QueueTypeOf(object.Keyword);
    if (!type || (*type == MQQT_ALL && !anyType)) {
      SyntaxError("The type " + object.Keyword + " is not known here.");
      return std::nullopt;
    }
    if (object.Value.empty()) {
      SyntaxError(object.Keyword + " needs a name in brackets.");
      return std::nullopt;
    }
    return type;
  }

  bool SetAll(const Words& words, auto& attributes) {
    for (const MqscWord& word : words) {
      const std::string problem = SetAttribute(word, attributes);
      if (problem.empty()) continue;
      SyntaxError(problem);
      return false;
    }
    return true;
  }

  static bool TakeFlag(Words& words, std::string_view keyword) {
    return std::erase_if(words, [&](const MqscWord& word) { return word.Keyword == keyword && !word.HasValue; }) > 0;
  }

  // Reads an existing queue that must be of `type`; reports when it is not.
  bool FindQueueOfType(const std::string& name, MQLONG type, Queue& queue) {
    const std::string what = std::string(QueueTypeName(type)) + " '" + name + "'";
    const MQLONG reason = store_.FindQueue(name, queue);
    if (reason == MQRC_UNKNOWN_OBJECT_NAME) {
      Failed(what + " is not found.");
      return false;
    }
    if (!Succeeded(reason, "Reading " + what)) return false;
    if (queue.Attributes.Type == type) return true;
    Failed("'" + name + "' is of type " + std::string(QueueTypeName(queue.Attributes.Type)) + ", not " +
           std::string(QueueTypeName(type)) + ".");
    return false;
  }

  void Define(const MqscWord& object, Words words) {
    const std::optional<MQLONG> type = QueueObject(object);
    if (!type) return;
    const bool replace = TakeFlag(words, "REPLACE");
    if (TakeFlag(words, "NOREPLACE") && replace) return SyntaxError("REPLACE and NOREPLACE exclude each other.");
    QueueAttributes attributes;
    if (*type == MQQT_MODEL) attributes.DefinitionType = MQQDT_TEMPORARY_DYNAMIC;
    const auto like = std::ranges::find(words, "LIKE", &MqscWord::Keyword);
    if (like != words.end()) {
      Queue model;
      if (!FindQueueOfType(like->Value, *type, model)) return;
      attributes = model.Attributes;
      if (*type == MQQT_LOCAL) attributes.DefinitionType = MQQDT_PREDEFINED;
      words.erase(like);
    }
    attributes.Name = object.Value;
    attributes.Type = *type;
    if (!SetAll(words, attributes)) return;
    const std::string what = std::string(QueueTypeName(*type)) + " '" + object.Value + "'";
    if (Succeeded(store_.DefineQueue(attributes, replace), "Defining " + what)) Done(what + " is defined.");
  }

  void Alter(const MqscWord& object, Words words) {
    TakeFlag(words, "FORCE");
    if (object.Keyword == "QMGR") return AlterQueueManager(words);
    const std::optional<MQLONG> type = QueueObject(object);
    Queue queue;
    if (!type || !FindQueueOfType(object.Value, *type, queue) || !SetAll(words, queue.Attributes)) return;
    const std::string what = std::string(QueueTypeName(*type)) + " '" + object.Value + "'";
    if (Succeeded(store_.AlterQueue(queue.Attributes), "Altering " + what)) Done(what + " is altered.");
  }

  void AlterQueueManager(const Words& words) {
    QueueManagerAttributes attributes;
    if (!Succeeded(store_.ReadQueueManager(attributes), "Reading the queue manager") || !SetAll(words, attributes))
      return;
    if (Succeeded(store_.AlterQueueManager(attributes), "Altering the queue manager")) {
      Done("The queue manager is altered.");
    }
  }

  void Delete(const MqscWord& object, Words words) {
    const std::optional<MQLONG> type = QueueObject(object);
    if (!type) return;
    const bool purge = TakeFlag(words, "PURGE");
    if (TakeFlag(words, "NOPURGE") && purge) return SyntaxError("PURGE and NOPURGE exclude each other.");
    if (!words.empty()) return SyntaxError("DELETE takes no " + words[0].Keyword + ".");
    Queue queue;
    if (!FindQueueOfType(object.Value, *type, queue)) return;
    const std::string what = std::string(QueueTypeName(*type)) + " '" + object.Value + "'";
    if (Succeeded(store_.DeleteQueue(object.Value, purge), "Deleting " + what)) Done(what + " is deleted.");
  }

  void Clear(const MqscWord& object, Words words) {
    const std::optional<MQLONG> type = QueueObject(object);
    if (!type) return;
    if (*type != MQQT_LOCAL || !words.empty()) return SyntaxError("CLEAR takes QLOCAL(name) and nothing else.");
    Queue queue;
    if (!FindQueueOfType(object.Value, *type, queue)) return;
    const std::string what = "QLOCAL '" + object.Value + "'";
    if (Succeeded(store_.ClearQueue(object.Value), "Clearing " + what)) Done(what + " is cleared.");
  }

  void Ping(const MqscWord& object, Words words) {
    if (object.Keyword != "QMGR" || !words.empty()) return SyntaxError("PING takes QMGR and nothing else.");
    Done("The queue manager answers.");
  }

  void Display(const MqscWord& object, Words words) {
    if (object.Keyword == "QMGR") return DisplayQueueManager(words);
    if (object.Keyword == "QSTATUS" || object.Keyword == "QS") return DisplayQueueStatus(object, words);
    const std::optional<MQLONG> type = QueueObject(object, true);
    if (!type) return;
    std::vector<Queue> queues;
    if (!Succeeded(store_.ListQueues(object.Value, *type, queues), "Listing queues")) return;
    ShowQueues(object, words, queues, "Queue details",
               [this](const Queue& queue, ShownObject& shown) { return DescribeQueue(queue.Attributes, shown); });
  }

  void DisplayQueueStatus(const MqscWord& object, const Words& words) {
    if (object.Value.empty()) return SyntaxError("QSTATUS needs a name in brackets.");
    std::vector<Queue> queues;
    if (!Succeeded(store_.ListQueues(object.Value, MQQT_LOCAL, queues), "Listing queues")) return;
    Words wanted = words;
    std::erase_if(wanted, [](const MqscWord& word) { return word.Keyword == "TYPE" && word.Value == "QUEUE"; });
    if (wanted.empty()) wanted.push_back({"ALL", false, {}});
    ShowQueues(object, wanted, queues, "Queue status", [this](const Queue& queue, ShownObject& shown) {
      shown = {{"QUEUE", queue.Attributes.Name}, {"TYPE", "QUEUE"}};
      return DescribeStatus(queue.Attributes.Name, true, shown);
    });
  }

  void DisplayQueueManager(const Words& words) {
    QueueManagerAttributes attributes;
    if (!Succeeded(store_.ReadQueueManager(attributes), "Reading the queue manager")) return;
    ShownObject shown;
    for (const QueueManagerAttribute& attribute : MqscQueueManagerAttributes()) {
      if (attribute.Meaning == QueueManagerAttribute::Use::kSecret) continue;
      shown.push_back({std::string(attribute.Name), ShowAttribute(attribute, attributes),
                       attribute.Number != nullptr && attribute.Choices.empty()});
    }
    const bool all = words.empty() || (words.size() == 1 && words[0].Keyword == "ALL");
    for (const MqscWord& word : words) {
      if (word.Keyword != "ALL" && !Finds(shown, word.Keyword)) {
        return SyntaxError("QMGR has no attribute " + word.Keyword + " to display.");
      }
    }
    output_ << "LMQ0003I: Queue manager details.\n";
    Print(shown, [&](const ShownAttribute& attribute) {
      return all || attribute.Name == "QMNAME" ||
             std::ranges::find(words, attribute.Name, &MqscWord::Keyword) != words.end();
    });
  }

  MQLONG DescribeQueue(const QueueAttributes& attributes, ShownObject& shown) {
    shown = {{"QUEUE", attributes.Name}, {"TYPE", std::string(QueueTypeName(attributes.Type))}};
    for (const QueueAttribute& attribute : MqscQueueAttributes()) {
      if ((attribute.Types >> static_cast<unsigned>(attributes.Type) & 1U) == 0) continue;
      shown.push_back({std::string(attribute.Name), ShowAttribute(attribute, attributes),
                       attribute.Number != nullptr && attribute.Choices.empty(), attribute.Name == "SHARE"});
    }
    return attributes.Type == MQQT_LOCAL ? DescribeStatus(attributes.Name, false, shown) : MQRC_NONE;
  }

  MQLONG DescribeStatus(const std::string& name, bool files, ShownObject& shown) {
    QueueStatus status;
    if (const MQLONG reason = store_.ReadQueueStatus(name, status); reason != MQRC_NONE) return reason;
    const auto add = [&](const char* attribute, MQLONG value) {
      shown.push_back({attribute, std::to_string(value), true});
    };
    add("CURDEPTH", status.Depth);
    add("IPPROCS", status.OpenInputCount);
    add("OPPROCS", status.OpenOutputCount);
    if (!files) return MQRC_NONE;
    add("CURFSIZE", status.CurrentFileSize);
    add("CURMAXFS", status.CurrentMaxFileSize);
    return MQRC_NONE;
  }

  // Displays `queues`: all attributes when one queue is named or ALL is given, those asked for when there are any, else
  // name and type. A queue that has none of the WHERE attribute, or another value, is left out.
  void ShowQueues(const MqscWord& object, Words words, const std::vector<Queue>& queues, std::string_view title,
                  const std::function<MQLONG(const Queue&, ShownObject&)>& describe) {
    std::optional<Filter> filter;
    const auto where = std::ranges::find(words, "WHERE", &MqscWord::Keyword);
    if (where != words.end()) {
      filter = ParseFilter(*where);
      if (!filter) return SyntaxError("WHERE needs (attribute operator value), with EQ, NE, LT, LE, GT, GE, LK or NL.");
      words.erase(where);
    }
    const bool generic = object.Value.ends_with('*');
    const bool all = TakeFlag(words, "ALL") || (!generic && words.empty());
    for (MqscWord& word : words) {
      if (word.Keyword == "TARGQ") word.Keyword = "TARGET";
      if (word.HasValue || !IsDisplayable(word.Keyword)) {
        return SyntaxError(object.Keyword + " has no attribute " + word.Keyword + " to display.");
      }
    }
    if (filter && !IsDisplayable(filter->Name)) return SyntaxError("There is no attribute " + filter->Name + ".");
    int found = 0;
    for (const Queue& queue : queues) {
      ShownObject shown;
      if (!Succeeded(describe(queue, shown), "Reading '" + queue.Attributes.Name + "'")) return;
      if (filter) {
        const auto attribute = std::ranges::find(shown, filter->Name, &ShownAttribute::Name);
        if (attribute == shown.end() || !Passes(*attribute, *filter)) continue;
      }
      ++found;
      output_ << "LMQ0002I: " << title << ".\n";
      Print(shown, [&](const ShownAttribute& attribute) {
        return all || attribute.Name == "QUEUE" || attribute.Name == "TYPE" ||
               (filter && attribute.Name == filter->Name) ||
               std::ranges::find(words, attribute.Name, &MqscWord::Keyword) != words.end();
      });
    }
    if (found > 0) return;
    if (generic || filter) {
      output_ << "LMQ0004W: No queue matches '" << object.Value << "'.\n";
    } else {
      Failed("Queue '" + object.Value + "' is not found.");
    }
  }

  static std::optional<Filter> ParseFilter(const MqscWord& word) {
    std::vector<std::string> parts(1);
    for (const char c : word.Value) {
      if (c != ' ') {
        parts.back() += c;
      } else if (!parts.back().empty() && parts.size() < 3) {
        parts.emplace_back();
      }
    }
    constexpr std::string_view kOperators[] = {"EQ", "NE", "LT", "LE", "GT", "GE", "LK", "NL"};
    if (parts.size() != 3 || std::ranges::find(kOperators, parts[1]) == std::end(kOperators)) return std::nullopt;
    std::string& value = parts[2];
    if (value.size() >= 2 && value.front() == '\'' && value.back() == '\'') value = value.substr(1, value.size() - 2);
    return Filter{parts[0], parts[1], value};
  }

  static bool Finds(const ShownObject& shown, std::string_view name) {
    return std::ranges::find(shown, name, &ShownAttribute::Name) != shown.end();
  }

  static bool IsDisplayable(std::string_view name) {
    constexpr std::string_view kFigures[] = {"QUEUE", "TYPE", "CURDEPTH", "IPPROCS", "OPPROCS", "CURFSIZE", "CURMAXFS"};
    if (std::ranges::find(kFigures, name) != std::end(kFigures)) return true;
    const auto attributes = MqscQueueAttributes();
    return std::ranges::find(attributes, name, &QueueAttribute::Name) != attributes.end();
  }

  void Print(const ShownObject& object, const std::function<bool(const ShownAttribute&)>& wanted) {
    std::string line;
    for (const ShownAttribute& attribute : object) {
      if (!wanted(attribute)) continue;
      std::string text = attribute.Value;
      if (!attribute.IsFlag) text = attribute.Name + "(" + (attribute.Value.empty() ? " " : attribute.Value) + ")";
      if (!line.empty() && line.size() < kSecondColumn && kSecondColumn + text.size() <= 80) {
        line.resize(kSecondColumn, ' ');
        output_ << line << text << '\n';
        line.clear();
        continue;
      }
      if (!line.empty()) output_ << line << '\n';
      line = "   " + text;
    }
    if (!line.empty()) output_ << line << '\n';
  }

  Store& store_;
  std::ostream& output_;
  MqscTotals totals_;
};

}  // namespace

MqscTotals RunMqsc(Store& store, std::istream& input, std::ostream& output, bool echo) {
  MqscReader reader(input, echo ? &output : nullptr);
  Interpreter interpreter(store, output);
  std::string command;
  while (reader.Next(command) && interpreter.Run(command)) {
  }
  return interpreter.Totals();
}

std::string DescribeReason(MQLONG reason) {
  struct Description {
    MQLONG Reason;
    const char* Text;
  };
  constexpr Description kDescriptions[] = {
      {MQRC_OBJECT_ALREADY_EXISTS, "it exists already"},
      {MQRC_OBJECT_NAME_ERROR, "the name is not valid"},
      {MQRC_OBJECT_TYPE_ERROR, "a queue of another type has this name"},
      {MQRC_OBJECT_IN_USE, "it is in use"},
      {MQRC_Q_NOT_EMPTY, "messages are on it"},
      {MQRC_UNKNOWN_OBJECT_NAME, "it is not found"},
      {MQRC_Q_MGR_NAME_ERROR, "there is no queue manager of this name, or the name is not valid"},
      {MQRC_FILE_SYSTEM_ERROR, "its files cannot be read or written"},
  };
  for (const Description& description : kDescriptions) {
    if (description.Reason == reason) return description.Text;
  }
  return "reason code " + std::to_string(reason);
}

}  // namespace localmq
