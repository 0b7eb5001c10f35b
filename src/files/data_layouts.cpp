#include "files/data_layouts.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "files/hex.h"

namespace {

// What a byte is to the layouts.
enum : std::uint8_t { kPlain = 1, kPrintable = 2, kEscaped = 4 };

constexpr auto kClasses = [] {
  std::array<std::uint8_t, 256> classes{};
  for (unsigned c = 0x20; c < 0x7F; ++c) classes[c] = kPrintable | (c == '"' || c == '~' ? kEscaped : 0);
  for (unsigned c = '0'; c <= '9'; ++c) classes[c] |= kPlain;
  for (unsigned c = 'A'; c <= 'Z'; ++c) classes[c] |= kPlain;
  for (unsigned c = 'a'; c <= 'z'; ++c) classes[c] |= kPlain;
  for (const char c : std::string_view(" *'()<>+,-./:=?_")) classes[static_cast<unsigned char>(c)] |= kPlain;
  return classes;
}();

std::uint8_t ClassOf(MQBYTE byte) { return kClasses[byte]; }

// The length of the run of bytes at the start that are all of a class, or all not of it. Eight bytes are looked at
// together, and one by one only at the end of the run.
template <bool kIn>
std::size_t RunLength(DataBytes data, std::uint8_t wanted) {
  constexpr std::size_t kStep = 8;
  std::size_t i = 0;
  for (; i + kStep <= data.size(); i += kStep) {
    std::uint8_t all = 0xFF;
    std::uint8_t any = 0;
    for (std::size_t k = 0; k < kStep; ++k) {
      all &= ClassOf(data[i + k]);
      any |= ClassOf(data[i + k]);
    }
    if (((kIn ? all : any) & wanted) != (kIn ? wanted : 0)) break;
  }
  while (i < data.size() && ((ClassOf(data[i]) & wanted) != 0) == kIn) ++i;
  return i;
}

DataBytes Head(DataBytes data, std::size_t count) { return data.first(std::min(count, data.size())); }

std::string_view AsText(DataBytes data) { return {reinterpret_cast<const char*>(data.data()), data.size()}; }

// What is formatted in one piece of the stream's block; longer lines are made of several.
constexpr std::size_t kPiece = 32 * 1024;

bool AppendHex(OutputFile& out, DataBytes data) {
  for (std::size_t at = 0; at < data.size(); at += kPiece) {
    const DataBytes piece = Head(data.subspan(at), kPiece);
    char* const room = out.Reserve(2 * piece.size());
    if (room == nullptr) return false;
    EncodeHex(room, piece.data(), piece.size());
    out.Advance(2 * piece.size());
  }
  return true;
}

bool AppendBlanks(OutputFile& out, std::size_t count) {
  while (count != 0) {
    const std::size_t piece = std::min(count, kPiece);
    char* const room = out.Reserve(piece);
    if (room == nullptr) return false;
    std::memset(room, ' ', piece);
    out.Advance(piece);
    count -= piece;
  }
  return true;
}

// The bytes as characters, those that are not printable as dots.
bool AppendColumn(OutputFile& out, DataBytes data) {
  for (std::size_t at = 0; at < data.size(); at += kPiece) {
    const DataBytes piece = Head(data.subspan(at), kPiece);
    char* const room = out.Reserve(piece.size());
    if (room == nullptr) return false;
    std::transform(piece.begin(), piece.end(), room,
                   [](MQBYTE byte) { return (ClassOf(byte) & kPrintable) != 0 ? static_cast<char>(byte) : '.'; });
    out.Advance(piece.size());
  }
  return true;
}

// One hex line without a column, which fits the block.
bool AppendShortHexLine(OutputFile& out, DataBytes data) {
  const std::size_t bytes = 2 + 2 * data.size() + 1;
  char* const room = out.Reserve(bytes);
  if (room == nullptr) return false;
  room[0] = 'X';
  room[1] = ' ';
  EncodeHex(room + 2, data.data(), data.size());
  room[bytes - 1] = '\n';
  out.Advance(bytes);
  return true;
}

bool AppendHexLine(OutputFile& out, DataBytes data, LineForm form) {
  if (!form.Columns && data.size() <= kPiece) return AppendShortHexLine(out, data);
  if (!out.Append("X ") || !AppendHex(out, data)) return false;
  if (form.Columns && !data.empty()) {
    const std::size_t blanks = 2 * (form.Width + 1 - data.size());
    if (!AppendBlanks(out, blanks) || !out.Append("<") || !AppendColumn(out, data) || !out.Append(">")) return false;
  }
  return out.Append("\n");
}

// The bytes with a tilde before each quote and each tilde; returns the place behind them.
char* PutEscaped(char* out, DataBytes data) {
  for (const MQBYTE byte : data) {
    *out = '~';
    out += (ClassOf(byte) & kEscaped) != 0 ? 1 : 0;
    *out++ = static_cast<char>(byte);
  }
  return out;
}

// One string line, in as many pieces as it takes.
bool AppendStringLine(OutputFile& out, DataBytes data) {
  constexpr std::string_view kOpening = "S \"";
  constexpr std::string_view kClosing = "\"\n";
  const std::size_t around = kOpening.size() + kClosing.size();
  std::string_view opening = kOpening;
  for (;;) {
    const DataBytes piece = Head(data, kPiece);
    data = data.subspan(piece.size());
    char* const room = out.Reserve(2 * piece.size() + around);
    if (room == nullptr) return false;
    char* end = PutEscaped(std::copy(opening.begin(), opening.end(), room), piece);
    if (data.empty()) end = std::copy(kClosing.begin(), kClosing.end(), end);
    out.Advance(static_cast<std::size_t>(end - room));
    if (data.empty()) return true;
    opening = {};
  }
}

bool AppendTextLine(OutputFile& out, DataBytes text) {
  return out.Append("T ") && out.Append(AsText(text)) && out.Append("\n");
}

std::int64_t LinesFor(std::int64_t length, std::int64_t perLine) {
  return length == 0 ? 1 : length / perLine + (length % perLine != 0 ? 1 : 0);
}

constexpr std::int64_t kAroundHex = 3;     // "X " and the line end
constexpr std::int64_t kAroundColumn = 4;  // two blanks, "<" and ">"

// Of a hex line whose bytes are paid for apart.
std::int64_t LongestAroundHex(LineForm form) {
  return kAroundHex + (form.Columns ? kAroundColumn + 2 * static_cast<std::int64_t>(form.Width) : 0);
}

// Bytes of the line end that the data begins with, if it does: one, or two that are different.
std::size_t LineEndLength(DataBytes data) {
  const auto isLineEnd = [](MQBYTE byte) { return byte == '\n' || byte == '\r'; };
  if (data.empty() || !isLineEnd(data[0])) return 0;
  return data.size() > 1 && isLineEnd(data[1]) && data[1] != data[0] ? 2 : 1;
}

}  // namespace

DataLayout LayoutOf(const LayoutOptions& options) {
  if (options.Raw) return DataLayout::Raw;
  if (options.AsciiLines) return DataLayout::AsciiLines;
  if (options.Printable) return DataLayout::Printable;
  return options.TextLines ? DataLayout::Text : DataLayout::Hex;
}

LineForm FormOf(const LayoutOptions& options) {
  constexpr int kLeastWidth = 2;
  return {.Width = static_cast<std::size_t>(std::max(options.DataWidth, kLeastWidth)), .Columns = options.AsciiColumns};
}

bool WriteHexLines(OutputFile& out, DataBytes data, LineForm form) {
  do {
    const DataBytes line = Head(data, form.Width);
    if (!AppendHexLine(out, line, form)) return false;
    data = data.subspan(line.size());
  } while (!data.empty());
  return true;
}

bool WriteStringLines(OutputFile& out, DataBytes data, std::size_t width) {
  if (data.empty()) return out.Append("S \n");
  const std::size_t perLine = 2 * width - 2;
  while (!data.empty()) {
    const DataBytes line = Head(data, perLine);
    if (!AppendStringLine(out, line)) return false;
    data = data.subspan(line.size());
  }
  return true;
}

bool WriteRuns(OutputFile& out, DataBytes data, DataLayout layout, LineForm form) {
  const std::uint8_t wanted = layout == DataLayout::Printable ? kPrintable : kPlain;
  bool first = true;
  do {
    const DataBytes text = Head(data, RunLength<true>(data, wanted));
    if ((first || !text.empty()) && !WriteStringLines(out, text, form.Width)) return false;
    first = false;
    data = data.subspan(text.size());
    if (data.empty()) return true;
    const DataBytes other = Head(data, RunLength<false>(data, wanted));
    if (!WriteHexLines(out, other, form)) return false;
    data = data.subspan(other.size());
  } while (!data.empty());
  return true;
}

bool WriteTextLines(OutputFile& out, DataBytes data, LineForm form, bool& exact) {
  bool first = true;
  exact = true;
  do {
    const DataBytes text = Head(data, RunLength<true>(data, kPrintable));
    const bool wanted = !text.empty() || first || LineEndLength(data) != 0;
    if (wanted && !AppendTextLine(out, text)) return false;
    first = false;
    data = data.subspan(text.size());
    const std::size_t lineEnd = LineEndLength(data);
    const bool lineFeed = lineEnd == 1 && data.front() == '\n';
    exact = exact && (!wanted || lineFeed);
    const DataBytes behind = Head(data, lineEnd != 0 ? lineEnd : RunLength<false>(data, kPrintable));
    if (lineEnd == 0 && !behind.empty() && !WriteHexLines(out, behind, form)) return false;
    data = data.subspan(behind.size());
  } while (!data.empty());
  return true;
}

std::int64_t LongestData(DataLayout layout, std::int64_t length, LineForm form) {
  const std::int64_t bytesOfColumn = form.Columns ? 1 : 0;
  // The mixed layouts are longest when text and hex lines of one byte each take turns.
  constexpr std::int64_t kLongestString = 2 + 1 + 2 + 1 + 1;  // S "~~"
  constexpr std::int64_t kLongestText = 2 + 1 + 1;            // T a
  constexpr std::int64_t kEmptyLine = 3;                      // the first line, when the data starts with a hex run
  const std::int64_t half = length / 2 + 1;
  switch (layout) {
    case DataLayout::Raw:
      return length;
    case DataLayout::Hex:
      return length * (2 + bytesOfColumn) +
             LinesFor(length, static_cast<std::int64_t>(form.Width)) * LongestAroundHex(form);
    case DataLayout::AsciiLines:
    case DataLayout::Printable:
      return kEmptyLine + half * (kLongestString + LongestAroundHex(form) + 2 + bytesOfColumn);
    case DataLayout::Text:
      return kEmptyLine + half * (kLongestText + LongestAroundHex(form) + 2 + bytesOfColumn);
  }
  return 0;
}
