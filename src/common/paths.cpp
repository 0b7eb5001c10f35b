#include "common/paths.h"

#include "platform/system.h"

namespace {

bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

bool HasDrive(std::string_view name, PathStyle style) {
  return style == PathStyle::Windows && name.size() >= 2 && IsLetter(name[0]) && name[1] == ':';
}

bool IsAbsolute(std::string_view name, PathStyle style) {
  return HasDrive(name, style) || (!name.empty() && IsSeparator(name[0], style));
}

// The position of the last separator, npos when there is none.
std::size_t LastSeparator(std::string_view name, PathStyle style) {
  return name.find_last_of(style == PathStyle::Windows ? std::string_view("/\\") : std::string_view("/"));
}

void Split(IncludedPath& path, std::string_view name, PathStyle style) {
  const std::size_t last = LastSeparator(name, style);
  if (last == std::string_view::npos) {
    // "C:name" lies in the current directory of that drive, not in its root.
    const std::size_t drive = HasDrive(name, style) ? 2 : 0;
    path.Directory = drive > 0 ? std::string(name.substr(0, drive)) + '.' : std::string();
    path.BaseName = name.substr(drive);
    return;
  }
  std::size_t end = last;
  while (end > 0 && IsSeparator(name[end - 1], style)) --end;
  // Of "/name" the directory is the root itself.
  path.Directory = name.substr(0, end > 0 ? end : 1);
  path.BaseName = name.substr(last + 1);
}

}  // namespace

PathStyle NativePathStyle() { return Platform() == PlatformKind::Windows ? PathStyle::Windows : PathStyle::Posix; }

char Separator(PathStyle style) { return style == PathStyle::Windows ? '\\' : '/'; }

bool IsSeparator(char c, PathStyle style) { return c == '/' || (c == '\\' && style == PathStyle::Windows); }

IncludedPath ResolveIncludedPath(std::string_view given, const IncludedPath* including, PathStyle style) {
  IncludedPath path;
  path.Given = given;
  const std::size_t start = given.find_first_not_of(' ');
  const std::string_view name = start == std::string_view::npos ? std::string_view() : given.substr(start);
  if (!IsAbsolute(name, style) && including != nullptr && !including->Directory.empty()) {
    path.FullPath = including->Directory;
    if (!IsSeparator(path.FullPath.back(), style)) path.FullPath += Separator(style);
  }
  path.FullPath += name;
  Split(path, path.FullPath, style);
  return path;
}
