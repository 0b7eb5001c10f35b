// localmq: creates, lists and deletes local queue managers, and administers one by MQSC commands.

#include <iostream>
#include <memory>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "common/visible_text.h"
#include "localmq/mqsc.h"
#include "localmq/store.h"
#include "platform/terminal.h"

namespace {

// What the program answers to its caller.
constexpr int kSuccess = 0;
constexpr int kCommandFailed = 10;  // at least one MQSC command was not carried out
constexpr int kNotRun = 20;         // nothing could be done: wrong arguments, no such queue manager

constexpr char kUsage[] = R"help(localmq - queue managers kept in files, for machines without IBM MQ

  localmq create QM1 [--default] [--if-missing] [ATTRIBUTE(VALUE)...]
      makes a queue manager; attributes as in ALTER QMGR, e.g. "DEADQ(SYSTEM.DEAD.LETTER.QUEUE)"
      --default     programs that name no queue manager connect to this one
      --if-missing  it is no error that it exists already
  localmq delete QM1
      removes a queue manager with all its messages; refused while a program is connected to it
  localmq list
      names the queue managers, the default one marked with *
  localmq QM1 [COMMAND...]
      carries out MQSC commands: those given, else those read from standard input
  localmq --help

MQSC commands:
  DEFINE QLOCAL(name) [attributes] [LIKE(name)] [REPLACE]         also QALIAS, QREMOTE, QMODEL
  ALTER QLOCAL(name) attributes                                   also ALTER QMGR attributes
  DELETE QLOCAL(name) [PURGE]
  CLEAR QLOCAL(name)
  DISPLAY QUEUE(name*) [attributes | ALL] [WHERE(CURDEPTH GT 0)]  also QLOCAL..., QSTATUS, QMGR
Names without quotes are folded to upper case. '+' or '-' at the end of a line continues it, '*' starts a comment.

Attributes of a queue: DESCR PUT GET DEFPRTY DEFPSIST; of local and model queues also MAXDEPTH MAXMSGL BOTHRESH BOQNAME
SHARE NOSHARE DEFSOPT USAGE, of model queues DEFTYPE, of aliases TARGET, of remote queues RNAME RQMNAME XMITQ.
Attributes of the queue manager: DESCR DEADQ DEFXMITQ CCSID MAXMSGL MAXUMSGS, USER and PASSWORD (who alone may connect),
and, to stand in for other installations, CMDLEVEL, PLATFORM, MAXCNO, ASYNCPUT(NO), CMDSERV(NO).

Queue managers live in the folder $LOCALMQ_DATA, else in the user's data folder. Programs use them through the library
that comes with this program (libmqm_r.so, on Windows mqm.dll): set MQM_DLL_PATH to its folder.
Exit status: 0, 10 when an MQSC command was not carried out, 20 when nothing could be done.
)help";

// Writes each line to `to` so that no data in it steers the terminal.
class VisibleLines : public std::streambuf {
 public:
  explicit VisibleLines(std::streambuf* to) : to_(to) {}

 protected:
  int_type overflow(int_type c) override {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    line_ += traits_type::to_char_type(c);
    return line_.back() != '\n' || WriteLine() ? c : traits_type::eof();
  }
  int sync() override { return WriteLine() ? to_->pubsync() : -1; }

 private:
  bool WriteLine() {
    const std::string shown = VisibleText(line_);
    line_.clear();
    const auto length = static_cast<std::streamsize>(shown.size());
    return to_->sputn(shown.data(), length) == length;
  }

  std::streambuf* to_;
  std::string line_;
};

int Refuse(const std::string& text) {
  std::cerr << VisibleText("localmq: " + text + '\n');
  return kNotRun;
}

int ReportMqsc(const localmq::MqscTotals& totals) {
  return totals.SyntaxErrors + totals.Failures == 0 ? kSuccess : kCommandFailed;
}

int Create(const std::vector<std::string>& arguments) {
  std::string name;
  std::string attributes;
  bool makeDefault = false;
  bool ifMissing = false;
  for (const std::string& argument : arguments) {
    if (argument == "--default") {
      makeDefault = true;
    } else if (argument == "--if-missing") {
      ifMissing = true;
    } else if (argument.find('(') != std::string::npos) {
      attributes += ' ' + argument;
    } else if (argument.starts_with('-') || !name.empty()) {
      return Refuse("create does not understand \"" + argument + "\"; see localmq --help.");
    } else {
      name = argument;
    }
  }
  if (name.empty()) return Refuse("create needs the name of a queue manager.");
  localmq::QueueManagerAttributes queueManager;
  queueManager.Name = name;
  const MQLONG reason = localmq::CreateQueueManager(queueManager, makeDefault);
  if (reason == MQRC_OBJECT_ALREADY_EXISTS && ifMissing) {
    std::cout << "Queue manager '" << name << "' exists.\n";
    return kSuccess;
  }
  if (reason != MQRC_NONE) {
    return Refuse("queue manager '" + name + "' cannot be created: " + localmq::DescribeReason(reason) + ".");
  }
  if (!attributes.empty()) {
    std::unique_ptr<localmq::Store> store;
    std::istringstream command("ALTER QMGR" + attributes);
    std::ostringstream answer;
    if (localmq::Store::Open(name, store) != MQRC_NONE ||
        ReportMqsc(localmq::RunMqsc(*store, command, answer, false)) != kSuccess) {
      store.reset();
      localmq::DeleteQueueManager(name);
      return Refuse("queue manager '" + name + "' is not created.\n" + answer.str());
    }
  }
  std::cout << "Queue manager '" << name << "' is created" << (makeDefault ? " and is the default" : "") << ".\n";
  return kSuccess;
}

int Delete(const std::vector<std::string>& arguments) {
  if (arguments.size() != 1) return Refuse("delete needs the name of one queue manager.");
  // An empty name would mean the default queue manager, which nobody deletes by accident.
  const MQLONG reason = arguments[0].empty() ? MQRC_Q_MGR_NAME_ERROR : localmq::DeleteQueueManager(arguments[0]);
  if (reason != MQRC_NONE) {
    return Refuse("queue manager '" + arguments[0] + "' cannot be deleted: " + localmq::DescribeReason(reason) + ".");
  }
  std::cout << "Queue manager '" << arguments[0] << "' is deleted.\n";
  return kSuccess;
}

int List(const std::vector<std::string>& arguments) {
  if (!arguments.empty()) return Refuse("list takes no arguments.");
  const std::string standard = localmq::DefaultQueueManager();
  for (const std::string& name : localmq::ListQueueManagers()) {
    std::cout << (name == standard ? "* " : "  ") << name << '\n';
  }
  return kSuccess;
}

int Administer(const std::string& name, const std::vector<std::string>& commands) {
  std::unique_ptr<localmq::Store> store;
  if (const MQLONG reason = localmq::Store::Open(name, store); reason != MQRC_NONE) {
    return Refuse("queue manager '" + name + "' cannot be opened: " + localmq::DescribeReason(reason) +
                  ". (localmq create " + name + " makes it.)");
  }
  if (commands.empty()) {
    const bool typed = StdinIsTerminal();
    const localmq::MqscTotals totals = localmq::RunMqsc(*store, std::cin, std::cout, !typed);
    std::cout << totals.Commands << (totals.Commands == 1 ? " command read, " : " commands read, ")
              << totals.SyntaxErrors << " with a syntax error, " << totals.Failures << " not carried out.\n";
    return ReportMqsc(totals);
  }
  std::string text;
  for (const std::string& command : commands) text += command + '\n';
  std::istringstream input(text);
  return ReportMqsc(localmq::RunMqsc(*store, input, std::cout, false));
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  if (words.empty()) {
    std::cerr << kUsage;
    return kNotRun;
  }
  if (words[0] == "--help" || words[0] == "-h" || words[0] == "-?") {
    std::cout << kUsage;
    return kSuccess;
  }
  const std::vector<std::string> rest(words.begin() + 1, words.end());
  VisibleLines lines(std::cout.rdbuf());
  std::streambuf* const own = StdoutIsTerminal() ? std::cout.rdbuf(&lines) : std::cout.rdbuf();
  const int status = words[0] == "create"        ? Create(rest)
                     : words[0] == "delete"      ? Delete(rest)
                     : words[0] == "list"        ? List(rest)
                     : words[0].starts_with('-') ? Refuse("there is no option " + words[0] + "; see localmq --help.")
                                                 : Administer(words[0], rest);
  // An answer that could not be written is no success.
  const bool written = !!std::cout.flush();
  std::cout.rdbuf(own);
  if (!written && status == kSuccess) return kNotRun;
  return status;
}
