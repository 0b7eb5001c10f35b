// Queues and queue managers: -i -I -o -m -l -u -U -$.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

#include "cmdline/command_line.h"
#include "cmdline/option_handlers.h"
#include "platform/files.h"

namespace {

constexpr std::size_t kLongestQMgr = sizeof(MQCHAR48);

bool Refuse(CommandLine& line, std::string_view text) {
  line.Screen.PrintText(text);
  return false;
}

bool RefuseSecond(OptionScan& scan) {
  scan.Line.Screen.Print("-%c parameter specifified more than once for the same Queue Manaager\n", scan.Letter);
  return false;
}

// Stores a field of the current queue manager that may be given once.
bool StoreOnce(OptionScan& scan, std::optional<std::string>& field, const char* argument) {
  if (field) return RefuseSecond(scan);
  field = argument;
  return true;
}

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// The password is the first line of a file that nobody else may read.
bool ReadPasswordFile(CommandLine& line, const char* name, std::optional<Secret>& password) {
  constexpr std::size_t kLongestLine = 1024;
  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(name, "r"));
  if (file == nullptr) return Refuse(line, WithCause(FormatText("Can not open password file '%s'\n", name), errno));
  if (OthersMayRead(file.get())) {
    return Refuse(line, FormatText("Password file '%s' is refused, since others may read it\n", name));
  }
  std::setvbuf(file.get(), nullptr, _IONBF, 0);  // a buffer would keep the password
  Secret first(kLongestLine);
  int c = std::getc(file.get());
  while (c != EOF && c != '\n' && first.Append(static_cast<char>(c))) c = std::getc(file.get());
  if (std::ferror(file.get()) != 0) {
    return Refuse(line, WithCause(FormatText("Can not read password file '%s'\n", name), errno));
  }
  if (first.view().ends_with('\r')) first.RemoveLast();
  const bool whole = c == EOF || c == '\n';
  if (first.empty() || !whole) return Refuse(line, FormatText("There is no password in file '%s'\n", name));
  password = std::move(first);
  return true;
}

// What must be known when the second queue manager is named: which side the first one serves.
bool CheckSecondQMgr(OptionScan& scan, std::string_view name) {
  CommandLine& line = scan.Line;
  if (scan.FirstQMgrOption != 1) {
    return Refuse(line, "Sorry, if you are using two Queue Managers then -m must be the first parameter.\n");
  }
  if (line.Asked.QMgrs[0].Name == name) {
    return Refuse(line, "Sorry, the Queue Manager names must be different.\n");
  }
  if (line.Asked.Input.HasQueues() && line.Asked.Output.HasQueues()) {
    return Refuse(line, "Sorry, you can not specify both input and output queues before the second -m parameter.\n");
  }
  if (line.Asked.Log.Given && !line.Asked.Input.HasQueues()) {
    return Refuse(line, "Please specify the name of the queue to search the log for using the -i parameter.\n");
  }
  if (!line.Asked.Input.HasQueues() && !line.Asked.Output.HasQueues()) {
    return Refuse(line, "Sorry, you must at least specify an input or output queue before the second -m parameter.\n");
  }
  return true;
}

}  // namespace

bool HandleInputQueue(OptionScan& scan, const char* argument) {
  CommandLine& line = scan.Line;
  const bool get = scan.Letter == 'I';
  if (line.Asked.Input.HasQueues() && line.Asked.Input.Remove != get) {
    return Refuse(line, "Sorry, you can not specify both -i and -I in the same command\n");
  }
  if (get) line.Asked.Input.Remove = true;
  return AddDestination(scan.Queues, argument, ListKind::Input);
}

bool HandleOutputQueue(OptionScan& scan, const char* argument) {
  return AddDestination(scan.Queues, argument, ListKind::Output);
}

bool HandleQMgr(OptionScan& scan, const char* argument) {
  CommandLine& line = scan.Line;
  if (scan.CurrentQMgr < 2 && !line.Asked.QMgrs[scan.CurrentQMgr].Name.empty()) ++scan.CurrentQMgr;
  if (scan.CurrentQMgr > 1) return Refuse(line, "Sorry, you can only specify at most two Queue Managers\n");
  if (std::strlen(argument) > kLongestQMgr) {
    return Refuse(line, FormatText("The Queue Manager name '%s' is too long.\n", argument));
  }
  if (scan.CurrentQMgr == 0) {
    scan.FirstQMgrOption = scan.OptionsSeen;
  } else {
    if (!CheckSecondQMgr(scan, argument)) return false;
    (line.Asked.Input.HasQueues() ? line.Asked.Output.QMgr : line.Asked.Input.QMgr) = 1;
  }
  line.Asked.QMgrs[scan.CurrentQMgr].Name = argument;
  return true;
}

bool HandleLibrary(OptionScan& scan, const char* argument) {
  return StoreOnce(scan, scan.Line.Asked.QMgrs[scan.CurrentQMgr].Library, argument);
}
bool HandleUserId(OptionScan& scan, const char* argument) {
  return StoreOnce(scan, scan.Line.Asked.QMgrs[scan.CurrentQMgr].UserId, argument);
}

bool NamesPasswordFile(std::string_view argument) { return argument.starts_with('@') && !argument.starts_with("@@"); }

bool HandlePassword(OptionScan& scan, const char* argument) {
  std::optional<Secret>& password = scan.Line.Passwords[scan.CurrentQMgr];
  if (password) return RefuseSecond(scan);
  if (NamesPasswordFile(argument)) return ReadPasswordFile(scan.Line, argument + 1, password);
  password = std::move(scan.Passwords.front());
  scan.Passwords.erase(scan.Passwords.begin());
  return true;
}

bool HandleSeparator(OptionScan& scan, const char* argument) {
  scan.Queues.Separator = argument[0];
  return true;
}
