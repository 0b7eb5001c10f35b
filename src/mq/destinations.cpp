#include "mq/destinations.h"

#include "common/console.h"

namespace {

constexpr std::size_t kNameWidth = sizeof(MQCHAR48);

}  // namespace

std::string DestinationText(const MQCHAR48 qmgr, const MQCHAR48 queue) {
  std::string text(TextInField(qmgr, kNameWidth));
  if (!text.empty()) text += '/';
  return text.append(TextInField(queue, kNameWidth));
}

std::string DestinationText(const QueueName& name) {
  return name.QMgr.empty() ? name.Queue : name.QMgr + '/' + name.Queue;
}

MQOR ObjectRecord(const QueueName& name) {
  MQOR record;
  FillField(record.ObjectName, kNameWidth, name.Queue, '\0');
  FillField(record.ObjectQMgrName, kNameWidth, name.QMgr, '\0');
  return record;
}

void ShowDestinations(Console& screen, const std::vector<QueueName>& queues) {
  const char* label = queues.size() > 1 ? "Output Destinations :" : "Output Destination :";
  for (const QueueName& queue : queues) {
    screen.Print("%s %s\n", label, DestinationText(queue).c_str());
    label = "                    :";
  }
  if (!queues.empty()) screen.Print("\n");
}
