#include "mq/option_behind.h"

namespace {

using Given = bool (*)(const Options& asked);

bool HasSelector(const Options& asked) { return asked.Selection.Selector.has_value(); }
bool IsExclusive(const Options& asked) { return asked.Input.Exclusive; }
bool PassesContext(const Options& asked) { return asked.Output.PassesContext(); }
bool HasUnits(const Options& asked) { return asked.Units.MessageLimit != 0; }
bool ReadsSeveral(const Options& asked) { return asked.Input.Queues.size() > 1; }
template <auto kField>
bool Overrides(const Options& asked) {
  return (asked.Output.Override.*kField).has_value();
}

constexpr struct {
  MqStep Step;
  MQLONG Reason;
  Given IsGiven;
  const char* Text;
} kOptions[] = {
    {MqStep::OpenInput, MQRC_SELECTOR_SYNTAX_ERROR, HasSelector, "Option -H gives the selector."},
    {MqStep::OpenInput, MQRC_SELECTION_STRING_ERROR, HasSelector, "Option -H gives the selector."},
    {MqStep::OpenInput, MQRC_SELECTION_NOT_AVAILABLE, HasSelector, "Option -H gives the selector."},
    {MqStep::OpenInput, MQRC_SELECTOR_INVALID_FOR_TYPE, HasSelector, "Option -H gives the selector."},
    {MqStep::OpenInput, MQRC_OBJECT_IN_USE, IsExclusive, "Option -Oe wants the queue for this run alone."},
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

std::string_view OptionBehind(const Options& asked, MqStep step, MQLONG reason) {
  for (const auto& row : kOptions) {
    if (row.Step == step && row.Reason == reason && row.IsGiven(asked)) return row.Text;
  }
  return {};
}

std::string OptionLine(const Options& asked, MqStep step, MQLONG reason) {
  const std::string_view text = OptionBehind(asked, step, reason);
  return text.empty() ? std::string() : '\n' + std::string(text);
}
