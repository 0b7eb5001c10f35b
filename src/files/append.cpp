#include "files/append.h"

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <string_view>

#include "common/console.h"
#include "files/reader.h"

namespace {

constexpr std::int64_t kTailBlock = 64 * 1024;

bool IsData(char kind) { return kind == 'X' || kind == 'S' || kind == 'T'; }

// Whether the file begins as message files do.
bool IsMessageFile(InputFile& in) {
  std::string_view line;
  do {
    line = in.NextLine();
  } while (!line.empty() && line.find_first_not_of("\t\r\n ") == std::string_view::npos);
  return IsMessageFileMark(line);
}

// The place behind the last empty line of a part of a file; 0 when it has none.
std::int64_t BehindEmptyLine(std::string_view text) {
  for (std::size_t at = text.rfind('\n'); at != 0 && at != std::string_view::npos; at = text.rfind('\n', at - 1)) {
    const bool crLf = text[at - 1] == '\r' && at > 1 && text[at - 2] == '\n';
    if (text[at - 1] == '\n' || crLf) return static_cast<std::int64_t>(at + 1);
  }
  return 0;
}

// The same of the whole file, which is read from its end.
std::int64_t LastEmptyLine(InputFile& in, std::int64_t size) {
  constexpr std::int64_t kOverlap = 2;  // an empty line may lie in two blocks
  std::string block;
  for (std::int64_t end = size; end > 0; end -= std::min(end, kTailBlock)) {
    const std::int64_t begin = std::max(end - kTailBlock, std::int64_t{0});
    block.resize(static_cast<std::size_t>(std::min(end + kOverlap, size) - begin));
    if (in.Seek(begin) != 0 || in.Read(block.data(), block.size()) != block.size()) return 0;
    if (const std::int64_t behind = BehindEmptyLine(block); behind != 0) return begin + behind;
  }
  return 0;
}

// What stands behind the last empty line: messages that lack theirs, perhaps a part of one.
struct LastPart {
  char Kind = 0;           // first character of the last line that is no comment; 0: there is none
  bool LineEnded = true;   // the last line has its line end
  bool Comment = false;    // the last line is a comment
  std::int64_t Whole = 0;  // where the last whole message ends
  // A descriptor without data is no message yet.
  bool IsBroken() const { return (!LineEnded && !Comment) || (Kind != 0 && !IsData(Kind)); }
};

LastPart ReadLastPart(InputFile& in, std::int64_t begin) {
  LastPart part;
  part.Whole = begin;
  std::int64_t at = begin;
  for (std::string_view line = in.NextLine(); !line.empty(); line = in.NextLine()) {
    part.LineEnded = line.back() == '\n';
    part.Comment = line.front() == '*' || line == "\r";  // or the first half of an empty line
    // A descriptor ends the message before it, also without an empty line.
    if (!part.Comment && IsData(part.Kind) && !IsData(line.front())) part.Whole = at;
    if (!part.Comment) part.Kind = line.front();
    at += static_cast<std::int64_t>(line.size());
  }
  return part;
}

}  // namespace

Result LookAtEnd(const std::string& name, std::string& lineEnds) {
  lineEnds.clear();
  InputFile in;
  int error = in.Open(name.c_str(), "rb");
  const std::int64_t size = in.Size();
  if (error == 0 && (size <= 0 || !IsMessageFile(in))) return {};
  const std::int64_t behind = error == 0 ? LastEmptyLine(in, size) : 0;
  if (error == 0 && behind == size) return {};
  if (error == 0) error = in.Seek(behind);
  const LastPart part = error == 0 ? ReadLastPart(in, behind) : LastPart();
  if (error == 0) error = in.error();
  if (error != 0) {
    const std::string text = FormatText("Can not read the end of file '%s', which is to be appended to", name.c_str());
    return {MQRC_FILE_SYSTEM_ERROR, WithCause(text, error)};
  }
  if (part.IsBroken()) {
    return {MQRC_FILE_SYSTEM_ERROR,
            FormatText("Can not append to file '%s': it ends inside a message, its whole messages end at byte %" PRId64,
                       name.c_str(), part.Whole)};
  }
  lineEnds = part.LineEnded ? "\n" : "\n\n";
  return {};
}
