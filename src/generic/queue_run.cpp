#include "generic/queue_run.h"

#include <cstdio>
#include <filesystem>
#include <set>
#include <string>

#include "cmdline/parameters.h"
#include "mq/reasons.h"

namespace {

constexpr std::size_t kAnswerLimit = 100;

}  // namespace

MQLONG ScanDirectory(Parameters& run, const std::function<MQLONG(std::string_view name)>& take) {
  std::set<std::string> names;
  std::error_code error;
  std::filesystem::directory_iterator at(run.Generic.FileNames.Directory, error);
  for (const std::filesystem::directory_iterator end; !error && at != end; at.increment(error)) {
    std::error_code unknown;
    if (!at->is_directory(unknown)) names.insert(at->path().filename().string());
  }
  if (error) {
    run.Screen.PrintText(WithCause("Can not scan for files.\n", error));
    return MQRC_NOT_AUTHORIZED;
  }
  for (const std::string& name : names) {
    if (const MQLONG result = take(name); result != 0) return result;
  }
  return 0;
}

bool AskTerminal(Parameters& run, std::string& answer) {
  if (run.Screen.StdinIsTerminal) return run.Screen.ReadAnswer(answer, kAnswerLimit);
  run.Screen.PrintText("No, because standard input is no terminal.\n");
  return false;
}

bool Confirm(Parameters& run, const char* question) {
  if (run.Asked.Output.Overwrite) return true;
  run.Screen.PrintText(question);
  std::string answer;
  const bool yes = AskTerminal(run, answer) && (answer.starts_with('Y') || answer.starts_with('y'));
  if (yes) run.Screen.PrintText("\n");
  return yes;
}

bool ShowsProgress(const Parameters& run) { return run.Screen.StdinIsTerminal && !run.Asked.Display.Quiet; }

void ReportQueueFailure(MQLONG reason, MQLONG& firstFailure) {
  PrintOutput("RC(%d) %s\n", reason, ReasonText(reason));
  if (firstFailure == 0) firstFailure = reason;
}

void ShowMessageText(Parameters& run) {
  if (run.MessageText.empty()) return;
  std::fflush(stdout);
  run.Screen.Print("%s\n", run.MessageText.c_str());
  run.MessageText.clear();
}

MQLONG OpenQueue(QMgrConn& conn, std::string_view queue, std::string_view qmgr, MQLONG options, MQHOBJ& hobj,
                 const std::optional<std::string>& selector) {
  MQOD object;
  if (selector) {
    object.Version = MQOD_VERSION_4;
    object.SelectionString.VSPtr = const_cast<char*>(selector->data());
    object.SelectionString.VSLength = static_cast<MQLONG>(selector->size());
  }
  FillField(object.ObjectName, sizeof object.ObjectName, queue);
  FillField(object.ObjectQMgrName, sizeof object.ObjectQMgrName, qmgr);
  MQLONG code = MQCC_OK;
  MQLONG reason = MQRC_NONE;
  conn.Api.MQOPEN(conn.Hconn, &object, options | MQOO_FAIL_IF_QUIESCING, &hobj, &code, &reason);
  return code == MQCC_FAILED ? reason : 0;
}

void CloseQueue(QMgrConn& conn, MQHOBJ& hobj) {
  if (hobj == MQHO_UNUSABLE_HOBJ) return;
  MQLONG code = MQCC_OK;
  MQLONG reason = MQRC_NONE;
  conn.Api.MQCLOSE(conn.Hconn, &hobj, MQCO_NONE, &code, &reason);
  hobj = MQHO_UNUSABLE_HOBJ;
}
