#include "display/summary.h"

#include <cinttypes>
#include <cstring>
#include <string>

#include "cmdline/parameters.h"
#include "common/units.h"

namespace {

constexpr unsigned kAgeUnits = kUnitsSeveral | kUnitsShort;
constexpr unsigned kQueueUnits = kUnitsShort | kUnitsTwoDecimals;
constexpr std::int64_t kMinuteCentis = 6000;
constexpr std::int64_t kMessageOverhead = 364;  // bytes that a queue file holds for a message besides its data
constexpr int kMegabyteShift = 20;
constexpr double kMegabyte = 1 << kMegabyteShift;

std::string Underlined(const std::string& title) { return "\n" + title + "\n" + std::string(title.size(), '='); }

// Rows of `columns` buckets: labels, a line, counts.
template <int N>
std::string Histogram(const char* title, const Bucket (&table)[N], const std::int32_t (&counts)[N], int columns) {
  std::string text = Underlined(title) + "\n\n";
  const auto width = std::strlen(table[0].Label);
  for (int row = 0; row < N; row += columns) {
    std::string labels, line, numbers;
    for (int i = row; i < row + columns && i < N; ++i) {
      labels.append(table[i].Label).append(1, ' ');
      line.append(width, '-').append(1, ' ');
      numbers += FormatText("%*d ", static_cast<int>(width), counts[i]);
    }
    text.append(labels).append("\n").append(line).append("\n").append(numbers).append("\n\n");
  }
  return text;
}

std::string IdentifierLine(const char* label, const MQBYTE24& identifier) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text = label;
  for (const MQBYTE byte : identifier) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text + '\n';
}

std::string Identifiers(const Parameters& run, const MQBYTE24& msgId, const MQBYTE24& correlId) {
  std::string text;
  if (run.Has(FLAG_SHOW_MSGID)) text += IdentifierLine("     Message Id:", msgId);
  if (run.Has(FLAG_SHOW_CORRELID)) text += IdentifierLine("     Correl  Id:", correlId);
  return text.empty() ? text : text + '\n';
}

std::string AgeLine(const char* label, std::int64_t centis) {
  const unsigned flags = kAgeUnits | (centis < kMinuteCentis ? kUnitsLastDecimals : 0);
  return FormatText("%-8.8s Message : %s\n", label, FormatUnits(centis, kCentiUnits, flags).c_str());
}

std::string SizeLine(const char* label, std::int64_t bytes) {
  return FormatText("%-8s Message : %s\n", label, FormatUnits(bytes, kByteUnits, 0).c_str());
}

std::string Ages(const Parameters& run) {
  const SummaryState& summary = run.Summary;
  return AgeLine("Youngest", summary.YoungestAgeCentis) +
         Identifiers(run, summary.YoungestMsgId, summary.YoungestCorrelId) +
         AgeLine("Oldest", summary.OldestAgeCentis) + Identifiers(run, summary.OldestMsgId, summary.OldestCorrelId) +
         AgeLine("Average", summary.AgeSumCentis / run.MsgsRead);
}

std::string Sizes(const Parameters& run) {
  const SummaryState& summary = run.Summary;
  return SizeLine("Smallest", summary.SmallestSize) +
         Identifiers(run, summary.SmallestMsgId, summary.SmallestCorrelId) + SizeLine("Biggest", summary.BiggestSize) +
         Identifiers(run, summary.BiggestMsgId, summary.BiggestCorrelId) +
         SizeLine("Average", run.BytesRead / run.MsgsRead);
}

std::string QueueBytes(std::int64_t bytes) { return FormatUnits(bytes, kByteUnits, kQueueUnits); }
std::string QueueMegabytes(std::int64_t megabytes) { return FormatUnits(megabytes, kMegabyteUnits, kQueueUnits); }

std::string FullnessLine(const char* label, const std::string& current, const std::string& maximum, double percent) {
  return FormatText("%-18s %11s %11s %5.1f %%\n", label, current.c_str(), maximum.c_str(), percent);
}

// How full the queue is. Limits of 0 and below are not known, and what cannot be told without them is left out.
std::string QueueSizes(const Parameters& run, const QueueElement& queue) {
  const bool depthKnown = queue.MaxDepth > 0;
  const bool fileKnown = queue.MaxFileSize > 0;
  if (!depthKnown && !fileKnown) return {};
  std::string text = Underlined("Queue Size Summary");
  text += "\n                     Current     Maximum     Full\n";
  text += "                    ---------   ---------  -------\n";
  const auto percentOfFile = [&queue](std::int64_t bytes) {
    return static_cast<double>(bytes) / kMegabyte / queue.MaxFileSize * 100;
  };
  if (depthKnown) {
    text += FormatText("Messages          %11" PRId64 " %11d  %5.1f %%\n", run.MsgsRead, queue.MaxDepth,
                       static_cast<double>(run.MsgsRead) / queue.MaxDepth * 100);
    const std::int64_t room = std::int64_t{queue.MaxMsgLength} * queue.MaxDepth;
    if (fileKnown) {
      text += FullnessLine("Message Bytes", QueueBytes(run.BytesRead), QueueMegabytes(queue.MaxFileSize),
                           percentOfFile(run.BytesRead));
    } else if (room > 0) {
      const bool big = room > std::int64_t{1} << kMegabyteShift;
      text += FullnessLine("Message Bytes", QueueBytes(run.BytesRead),
                           big ? QueueMegabytes(room >> kMegabyteShift) : QueueBytes(room),
                           static_cast<double>(run.BytesRead) / static_cast<double>(room) * 100);
    }
  }
  if (fileKnown) {
    const std::int64_t dataBytes = run.MsgsRead * kMessageOverhead + run.BytesRead;
    text +=
        FullnessLine("Data Bytes", QueueBytes(dataBytes), QueueMegabytes(queue.MaxFileSize), percentOfFile(dataBytes));
    text += FullnessLine("Queue File Size", QueueMegabytes(queue.FileSize), QueueMegabytes(queue.MaxFileSize),
                         static_cast<double>(queue.FileSize) / queue.MaxFileSize * 100);
  }
  return text;
}

}  // namespace

void ShowSummary(Parameters& run, const QueueElement* queue) {
  const SummaryState& summary = run.Summary;
  PrintReportLine(run, {.Label = "Read",
                        .Files = run.FilesRead,
                        .ShowFiles = true,
                        .Messages = run.MsgsRead,
                        .Bytes = static_cast<std::uint64_t>(run.BytesRead)});
  std::string text = Histogram("Message Ages", kAgeTable, summary.AgeCounts, 6);
  if (run.MsgsRead != 0) text += Ages(run);
  text += Histogram("Message Sizes", kSizeTable, summary.SizeCounts, 8);
  if (run.MsgsRead != 0) text += Sizes(run);
  if (queue != nullptr) text += QueueSizes(run, *queue);
  PrintDiagnosticText(run, text);
}
