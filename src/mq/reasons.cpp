#include "mq/reasons.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "common/console.h"
#include "common/text.h"

namespace {

struct ConstantEntry {
  std::int64_t Value;
  const char* Name;
  const char* Description;
};

// The reason table and, behind it, the feedback table.
constexpr ConstantEntry kDictionary[] = {
#include "mq/reason_table.inc"
};

constexpr std::size_t kNameWidth = 48;

bool ValueLess(const ConstantEntry* entry, std::int64_t value) { return entry->Value < value; }

// The rows by value; rows of one value keep their order, so that the first one is found.
const std::vector<const ConstantEntry*>& RowsByValue() {
  static const std::vector<const ConstantEntry*> rows = [] {
    std::vector<const ConstantEntry*> all;
    all.reserve(std::size(kDictionary));
    for (const ConstantEntry& entry : kDictionary) all.push_back(&entry);
    std::stable_sort(all.begin(), all.end(), [](const auto* a, const auto* b) { return a->Value < b->Value; });
    return all;
  }();
  return rows;
}

std::string_view Name(std::string_view field) { return NameInField(field.data(), std::min(field.size(), kNameWidth)); }

}  // namespace

const char* ReasonText(MQLONG reason) {
  const auto& rows = RowsByValue();
  const auto row = std::lower_bound(rows.begin(), rows.end(), reason, ValueLess);
  return row != rows.end() && (*row)->Value == reason ? (*row)->Description : "";
}

std::optional<MQLONG> ReasonNamed(std::string_view name) {
  if (name.empty()) return std::nullopt;  // some rows have no name
  for (const ConstantEntry& entry : kDictionary) {
    if (SameIgnoringCase(entry.Name, name)) return static_cast<MQLONG>(entry.Value);
  }
  return std::nullopt;
}

void ReportMqCall(Console& screen, std::string_view call, std::string_view qmgr, std::string_view object,
                  MQLONG reason) {
  const std::string_view qmgrName = Name(qmgr);
  const std::string_view objectName = Name(object);
  const std::string_view description = ReasonText(reason);
  std::string line(call);
  line += ' ';
  if (!objectName.empty()) {
    line += "on object '";
    if (!qmgrName.empty()) line.append(qmgrName) += '/';
    line.append(objectName) += "' ";
  } else if (!qmgrName.empty()) {
    line += "on qmgr '";
    line.append(qmgrName) += "' ";
  }
  line += "returned " + std::to_string(reason);
  if (!description.empty()) line.append(1, ' ') += description;
  if (!description.ends_with('.')) line += '.';
  line += '\n';
  screen.PrintText(line);
}
