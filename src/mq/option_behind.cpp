#include "mq/option_behind.h"

#include "cmdline/parameters.h"
#include "mq/reasons.h"

namespace {

using Given = bool (*)(const Parameters& run);

bool Always(const Parameters&) { return true; }
bool HasSelector(const Parameters& run) { return run.Asked.Selection.Selector.has_value(); }
bool IsExclusive(const Parameters& run) { return run.Asked.Input.Exclusive; }
bool HasContext(const Parameters& run) { return !run.Asked.Output.OwnContext(); }
bool PassesContext(const Parameters& run) { return run.Asked.Output.PassesContext(); }
bool HasUnits(const Parameters& run) { return run.Asked.Units.MessageLimit != 0; }
bool ReadsSeveral(const Parameters& run) { return run.Asked.Input.Queues.size() > 1; }
template <auto kField>
bool Overrides(const Parameters& run) {
  return (run.Asked.Output.Override.*kField).has_value();
}

constexpr struct {
  MqStep Step;
  MQLONG Reason;
  Given IsGiven;
  const char* Text;
} kOptions[] = {
    {MqStep::ConnectUser, MQRC_NOT_AUTHORIZED, Always, "Option -u names the user."},
    {MqStep::OpenInput, MQRC_SELECTOR_SYNTAX_ERROR, HasSelector, "Option -H gives the selector."},
    {MqStep::OpenInput, MQRC_SELECTION_STRING_ERROR, HasSelector, "Option -H gives the selector."},
    {MqStep::OpenInput, MQRC_SELECTION_NOT_AVAILABLE, HasSelector, "Option -H gives the selector."},
    {MqStep::OpenInput, MQRC_SELECTOR_INVALID_FOR_TYPE, HasSelector, "Option -H gives the selector."},
    {MqStep::OpenInput, MQRC_OBJECT_IN_USE, IsExclusive, "Option -Oe wants the queue for this run alone."},
    {MqStep::OpenOutput, MQRC_NOT_AUTHORIZED, HasContext,
     "The context of the messages may need an authority that is missing: option -C chooses it, -Cd needs none."},
    {MqStep::Get, MQRC_FUNCTION_NOT_SUPPORTED, ReadsSeveral,
     "Option -i (-I) is given more than once, which needs MQCB and MQCTL of the library and the queue manager."},
    {MqStep::Get, MQRC_SYNCPOINT_LIMIT_REACHED, HasUnits, "Option -t sets how many messages a unit of work has."},
    {MqStep::Put, MQRC_SYNCPOINT_LIMIT_REACHED, HasUnits, "Option -t sets how many messages a unit of work has."},
    {MqStep::Put, MQRC_PRIORITY_ERROR, Overrides<&OverrideOptions::Priority>, "Option -Ap sets the priority."},
    {MqStep::Put, MQRC_EXPIRY_ERROR, Overrides<&OverrideOptions::Expiry>, "Option -Ae sets the expiry."},
    {MqStep::Put, MQRC_MISSING_REPLY_TO_Q, Overrides<&OverrideOptions::MsgType>,
     "Option -At makes the message a request; option -Ar gives it a reply queue."},
    {MqStep::Put, MQRC_CONTEXT_HANDLE_ERROR, PassesContext, "Option -C passes the context on from the input queue."},
    {MqStep::Put, MQRC_CONTEXT_NOT_AVAILABLE, PassesContext, "Option -C passes the context on from the input queue."},
};

}  // namespace

std::string OptionBehind(const Parameters& run, MqStep step, MQLONG reason) {
  for (const auto& row : kOptions) {
    if (row.Step == step && row.Reason == reason && row.IsGiven(run)) return std::string("\n") + row.Text;
  }
  return {};
}

void ReportFailedCall(Parameters& run, MqStep step, std::string_view call, std::string_view qmgr,
                      std::string_view object, MQLONG reason) {
  ReportMqCall(run.Screen, call, qmgr, object, reason);
  const std::string line = OptionBehind(run, step, reason);
  if (!line.empty()) run.Screen.PrintText(line.substr(1) + '\n');
}
