#include "display/summary.h"

#include <cinttypes>
#include <cstring>
#include <string>

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

std::string Identifiers(const DisplayOptions& shown, const MQBYTE24& msgId, const MQBYTE24& correlId) {
  std::string text;
  if (shown.MsgIds) text += IdentifierLine("     Message Id:", msgId);
  if (shown.CorrelIds) text += IdentifierLine("     Correl  Id:", correlId);
  return text.empty() ? text : text + '\n';
}

std::string AgeLine(const char* label, std::int64_t centis) {
  const unsigned flags = kAgeUnits | (centis < kMinuteCentis ? kUnitsLastDecimals : 0);
  return FormatText("%-8.8s Message : %s\n", label, FormatUnits(centis, kCentiUnits, flags).c_str());
}

std::string SizeLine(const char* label, std::int64_t bytes) {
  return FormatText("%-8s Message : %s\n", label, FormatUnits(bytes, kByteUnits, 0).c_str());
}

// Messages without a put time have no age and are counted apart.
std::string Ages(const DisplayOptions& shown, const Statistics& summary) {
  std::string text;
  if (summary.Dated != 0) {
    text += AgeLine("Youngest", summary.YoungestAge) +
            Identifiers(shown, summary.YoungestMsgId, summary.YoungestCorrelId) + AgeLine("Oldest", summary.OldestAge) +
            Identifiers(shown, summary.OldestMsgId, summary.OldestCorrelId) +
            AgeLine("Average", summary.AgeSum / summary.Dated);
  }
  const std::int64_t without = summary.Messages - summary.Dated;
  return without == 0 ? text : text + FormatText("Without put time : %" PRId64 "\n", without);
}

std::string Sizes(const DisplayOptions& shown, const Statistics& summary) {
  if (summary.Messages == 0) return {};
  return SizeLine("Smallest", summary.SmallestSize) +
         Identifiers(shown, summary.SmallestMsgId, summary.SmallestCorrelId) +
         SizeLine("Biggest", summary.BiggestSize) + Identifiers(shown, summary.BiggestMsgId, summary.BiggestCorrelId) +
         SizeLine("Average", summary.Bytes / summary.Messages);
}

std::string QueueBytes(std::int64_t bytes) { return FormatUnits(bytes, kByteUnits, kQueueUnits); }
std::string QueueMegabytes(std::int64_t megabytes) { return FormatUnits(megabytes, kMegabyteUnits, kQueueUnits); }

std::string FullnessLine(const char* label, const std::string& current, const std::string& maximum, double percent) {
  return FormatText("%-18s %11s %11s %5.1f %%\n", label, current.c_str(), maximum.c_str(), percent);
}

// What the input queues hold together. A figure that one of them does not tell is not known: 0.
struct Limits {
  std::int64_t Depth = 0;
  std::int64_t Bytes = 0;
  std::int64_t FileSize = 0;  // megabytes
  std::int64_t MaxFileSize = 0;
};

Limits LimitsOf(std::span<const QueueElement> queues) {
  Limits sum;
  if (queues.empty()) return sum;
  bool depthKnown = true, bytesKnown = true, fileKnown = true;
  for (const QueueElement& queue : queues) {
    depthKnown = depthKnown && queue.MaxDepth > 0;
    bytesKnown = bytesKnown && queue.MaxMsgLength > 0;
    fileKnown = fileKnown && queue.MaxFileSize > 0;
    sum.Depth += queue.MaxDepth;
    sum.Bytes += std::int64_t{queue.MaxMsgLength} * queue.MaxDepth;
    sum.FileSize += queue.FileSize;
    sum.MaxFileSize += queue.MaxFileSize;
  }
  if (!depthKnown) sum.Depth = 0;
  if (!depthKnown || !bytesKnown) sum.Bytes = 0;
  if (!fileKnown) sum.MaxFileSize = 0;
  return sum;
}

double Percent(std::int64_t part, std::int64_t whole) {
  return static_cast<double>(part) / static_cast<double>(whole) * 100;
}

// How full the queues are. What cannot be told without a limit that is not known is left out.
std::string QueueSizes(const ReportLine& read, std::span<const QueueElement> queues) {
  const Limits limits = LimitsOf(queues);
  const auto bytesRead = static_cast<std::int64_t>(read.Bytes);
  const bool fileKnown = limits.MaxFileSize != 0;
  if (limits.Depth == 0 && !fileKnown) return {};
  std::string text = Underlined("Queue Size Summary");
  text += "\n                     Current     Maximum     Full\n";
  text += "                    ---------   ---------  -------\n";
  const auto percentOfFile = [&limits](std::int64_t bytes) {
    return static_cast<double>(bytes) / kMegabyte / static_cast<double>(limits.MaxFileSize) * 100;
  };
  const std::string maxFile = QueueMegabytes(limits.MaxFileSize);
  if (limits.Depth != 0) {
    text += FormatText("Messages          %11" PRId64 " %11" PRId64 "  %5.1f %%\n", read.Messages, limits.Depth,
                       Percent(read.Messages, limits.Depth));
    const std::string current = QueueBytes(bytesRead);
    if (fileKnown) {
      text += FullnessLine("Message Bytes", current, maxFile, percentOfFile(bytesRead));
    } else if (limits.Bytes != 0) {
      const bool big = limits.Bytes > std::int64_t{1} << kMegabyteShift;
      text += FullnessLine("Message Bytes", current,
                           big ? QueueMegabytes(limits.Bytes >> kMegabyteShift) : QueueBytes(limits.Bytes),
                           Percent(bytesRead, limits.Bytes));
    }
  }
  if (fileKnown) {
    const std::int64_t dataBytes = read.Messages * kMessageOverhead + bytesRead;
    text += FullnessLine("Data Bytes", QueueBytes(dataBytes), maxFile, percentOfFile(dataBytes));
    text += FullnessLine("Queue File Size", QueueMegabytes(limits.FileSize), maxFile,
                         Percent(limits.FileSize, limits.MaxFileSize));
  }
  return text;
}

}  // namespace

void ShowSummary(Console& screen, const DisplayOptions& shown, const Summary& summary) {
  PrintReportLine(screen, summary.Read);
  const Statistics& selected = summary.Selected;
  std::string text = Histogram("Message Ages", kAgeTable, selected.AgeCounts, 6);
  text += Ages(shown, selected);
  text += Histogram("Message Sizes", kSizeTable, selected.SizeCounts, 8);
  text += Sizes(shown, selected);
  text += QueueSizes(summary.Read, summary.Queues);
  screen.PrintText(text);
}
