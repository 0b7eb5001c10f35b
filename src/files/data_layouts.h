#pragma once

// The data lines of a message, in every layout of docs/file-format.md. They return false when the output failed.

#include <cstddef>
#include <cstdint>
#include <span>

#include "files/streams.h"
#include "mq/mqi.h"
#include "options/options.h"

using DataBytes = std::span<const MQBYTE>;

enum class DataLayout { Hex, AsciiLines, Printable, Text, Raw };

struct LineForm {
  std::size_t Width = 25;  // data bytes of a hex line, at least 2
  bool Columns = false;    // hex lines end with their bytes as characters
};

DataLayout LayoutOf(const LayoutOptions& options);
LineForm FormOf(const LayoutOptions& options);

// Hex lines; one without digits when there is no data.
bool WriteHexLines(OutputFile& out, DataBytes data, LineForm form);
// Quoted string lines; one without quotes when there is no data.
bool WriteStringLines(OutputFile& out, DataBytes data, std::size_t width);
// Runs of plain (AsciiLines) or printable characters as string lines, what is between them as hex lines.
bool WriteRuns(OutputFile& out, DataBytes data, DataLayout layout, LineForm form);
// Text lines split at line ends; other bytes that are not printable as hex lines. `exact` tells whether a reader, which
// adds a line feed to each text line, gets the same bytes back.
bool WriteTextLines(OutputFile& out, DataBytes data, LineForm form, bool& exact);

// Upper bound of the bytes of the data lines.
std::int64_t LongestData(DataLayout layout, std::int64_t length, LineForm form);
