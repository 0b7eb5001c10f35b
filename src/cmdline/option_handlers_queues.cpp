// Queues and queue managers: -i -I -o -m -l -u -U -$.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

#include "cmdline/option_handlers.h"
#include "cmdline/parameters.h"
#include "platform/files.h"

namespace {

constexpr std::size_t kLongestQMgr = sizeof(MQCHAR48);

bool Refuse(Parameters& run, std::string_view text) {
  run.Screen.PrintText(text);
  return false;
}

bool RefuseSecond(OptionScan& scan) {
  scan.run.Screen.Print("-%c parameter specifified more than once for the same Queue Manaager\n", scan.Letter);
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
bool ReadPasswordFile(Parameters& run, const char* name, std::optional<Secret>& password) {
  constexpr std::size_t kLongestLine = 1024;
  const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(name, "r"));
  if (file == nullptr) return Refuse(run, WithCause(FormatText("Can not open password file '%s'\n", name), errno));
  if (OthersMayRead(file.get())) {
    return Refuse(run, FormatText("Password file '%s' is refused, since others may read it\n", name));
  }
  std::setvbuf(file.get(), nullptr, _IONBF, 0);  // a buffer would keep the password
  Secret line(kLongestLine);
  int c = std::getc(file.get());
  while (c != EOF && c != '\n' && line.Append(static_cast<char>(c))) c = std::getc(file.get());
  if (std::ferror(file.get()) != 0) {
    return Refuse(run, WithCause(FormatText("Can not read password file '%s'\n", name), errno));
  }
  if (line.view().ends_with('\r')) line.RemoveLast();
  const bool whole = c == EOF || c == '\n';
  if (line.empty() || !whole) return Refuse(run, FormatText("There is no password in file '%s'\n", name));
  password = std::move(line);
  return true;
}

// What must be known when the second queue manager is named: which side the first one serves.
bool CheckSecondQMgr(OptionScan& scan, std::string_view name) {
  Parameters& run = scan.run;
  if (scan.FirstQMgrOption != 1) {
    return Refuse(run, "Sorry, if you are using two Queue Managers then -m must be the first parameter.\n");
  }
  if (run.Asked.QMgrs[0].Name == name) {
    return Refuse(run, "Sorry, the Queue Manager names must be different.\n");
  }
  if (run.Asked.Input.HasQueues() && run.Asked.Output.HasQueues()) {
    return Refuse(run, "Sorry, you can not specify both input and output queues before the second -m parameter.\n");
  }
  if (run.Asked.Log.Given && !run.Asked.Input.HasQueues()) {
    return Refuse(run, "Please specify the name of the queue to search the log for using the -i parameter.\n");
  }
  if (!run.Asked.Input.HasQueues() && !run.Asked.Output.HasQueues()) {
    return Refuse(run, "Sorry, you must at least specify an input or output queue before the second -m parameter.\n");
  }
  return true;
}

}  // namespace

bool HandleInputQueue(OptionScan& scan, const char* argument) {
  Parameters& run = scan.run;
  const bool get = scan.Letter == 'I';
  if (run.Asked.Input.HasQueues() && run.Asked.Input.Remove != get) {
    return Refuse(run, "Sorry, you can not specify both -i and -I in the same command\n");
  }
  if (get) run.Asked.Input.Remove = true;
  return AddDestination(scan.Queues, argument, ListKind::Input);
}

bool HandleOutputQueue(OptionScan& scan, const char* argument) {
  return AddDestination(scan.Queues, argument, ListKind::Output);
}

bool HandleQMgr(OptionScan& scan, const char* argument) {
  Parameters& run = scan.run;
  if (scan.CurrentQMgr < 2 && !run.Asked.QMgrs[scan.CurrentQMgr].Name.empty()) ++scan.CurrentQMgr;
  if (scan.CurrentQMgr > 1) return Refuse(run, "Sorry, you can only specify at most two Queue Managers\n");
  if (std::strlen(argument) > kLongestQMgr) {
    return Refuse(run, FormatText("The Queue Manager name '%s' is too long.\n", argument));
  }
  if (scan.CurrentQMgr == 0) {
    scan.FirstQMgrOption = scan.OptionsSeen;
  } else {
    if (!CheckSecondQMgr(scan, argument)) return false;
    (run.Asked.Input.HasQueues() ? run.Asked.Output.QMgr : run.Asked.Input.QMgr) = 1;
  }
  run.Asked.QMgrs[scan.CurrentQMgr].Name = argument;
  return true;
}

bool HandleLibrary(OptionScan& scan, const char* argument) {
  return StoreOnce(scan, scan.run.Asked.QMgrs[scan.CurrentQMgr].Library, argument);
}
bool HandleUserId(OptionScan& scan, const char* argument) {
  return StoreOnce(scan, scan.run.Asked.QMgrs[scan.CurrentQMgr].UserId, argument);
}

bool NamesPasswordFile(std::string_view argument) { return argument.starts_with('@') && !argument.starts_with("@@"); }

bool HandlePassword(OptionScan& scan, const char* argument) {
  std::optional<Secret>& password = scan.run.QMgrs[scan.CurrentQMgr].Password;
  if (password) return RefuseSecond(scan);
  if (NamesPasswordFile(argument)) return ReadPasswordFile(scan.run, argument + 1, password);
  password = std::move(scan.Passwords.front());
  scan.Passwords.erase(scan.Passwords.begin());
  return true;
}

bool HandleSeparator(OptionScan& scan, const char* argument) {
  scan.Queues.Separator = argument[0];
  return true;
}
