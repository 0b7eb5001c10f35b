#include "cmdline/queue_checks.h"

#include <string>

#include "common/text.h"
#include "mq/destinations.h"
#include "mq/output_queues.h"

namespace {

// Up to its first blank, where the queue manager's names end.
std::string_view Name(const std::string& name) { return NameInField(name.data(), name.size()); }

// Whether a queue of the output side is the queue `name` of the input queue manager.
bool FeedsInput(const QMgrNames& names, std::string_view name, const QueueName& output) {
  std::string_view qmgr = Name(output.QMgr);
  if (qmgr.empty()) qmgr = names.Output;
  return Name(output.Queue) == name && qmgr == names.Input;
}

}  // namespace

bool MayFeedItself(const Options& asked, const QMgrNames& names) {
  return asked.Input.HasQueues() && !asked.Log.Given && asked.Output.HasQueues() && asked.Selection.RangeEnd == 0 &&
         names.Input == names.Output;
}

bool CheckInputQMgr(const Options& asked, const QMgrNames& names, Console& screen) {
  if (!asked.Input.HasQueues()) return true;
  if (names.Input.empty() && asked.Log.Given) return true;  // the log of a queue manager that nobody named
  for (const QueueName& input : asked.Input.Queues) {
    if (input.QMgr.empty() || input.QMgr == names.Input) continue;
    screen.Print("Input queue '%s' can not be read, the input queue manager is '%.*s'\n",
                 DestinationText(input).c_str(), static_cast<int>(names.Input.size()), names.Input.data());
    return false;
  }
  return true;
}

bool CheckNotOntoItself(const Options& asked, const QMgrNames& names, Console& screen) {
  if (!asked.Input.HasQueues() || asked.Log.Given || asked.Selection.RangeEnd != 0) return true;
  for (const QueueName& input : asked.Input.Queues) {
    for (const QueueName& output : asked.Output.Queues) {
      if (FeedsInput(names, Name(input.Queue), output)) return RefuseOntoItself(screen, Name(input.Queue)) == 0;
    }
  }
  return true;
}
