#pragma once

// Path rules, for both path styles on either system: the style is an argument whose default is the machine's.

#include <string>
#include <string_view>

enum class PathStyle { Posix, Windows };

PathStyle NativePathStyle();

// The separator written between what we join: '\' or '/'.
char Separator(PathStyle style = NativePathStyle());
// Whether a character separates directories: '/' everywhere, '\' on Windows too.
bool IsSeparator(char c, PathStyle style = NativePathStyle());

// A file named inside another file: its directory (no trailing separator), base name and full path.
struct IncludedPath {
  std::string Given;
  std::string Directory;
  std::string BaseName;
  std::string FullPath;
};

// Resolves `given` (leading blanks skipped): absolute names stay as they are, relative ones are taken from the
// including file's directory when it has one.
IncludedPath ResolveIncludedPath(std::string_view given, const IncludedPath* including,
                                 PathStyle style = NativePathStyle());
