#pragma once

// File names from templates, and what is said of a file that can not be had.

#include <ctime>
#include <string>
#include <string_view>

#include "common/result.h"
#include "mq/mqi.h"
#include "options/options.h"

// What the files of a queue in a generic run are called.
struct QueueFileNames {
  std::string Directory;  // with its trailing separator
  std::string BaseName;   // the queue's
  std::string FileType;
  // "Q1$2.tvo": directory, base name, '$', index, file type.
  std::string Indexed(int index) const;
};

// What a template's inserts stand for at the moment of opening.
struct InsertValues {
  std::tm Local{};
  int MessageOrdinal = 0;   // %i %I: position in the source, 1 for the first file
  int FileNumber = 0;       // %n %N: input files number themselves, output files themselves
  int SelectedOrdinal = 0;  // %o %O
};
// Expands the inserts of a template: "%%" gives "%", an unknown insert vanishes. The result may be longer than a file
// name may be; opening refuses it then.
std::string ExpandTemplate(std::string_view text, const InsertValues& values);

// Values with the time that it is now.
InsertValues InsertsNow();

inline constexpr std::size_t kFileNameLimit = 255;  // characters
// The failures that input and output files share. `mode` is shown where the user has chosen it, else empty.
Result NameTooLong(const std::string& name);
Result CanNotOpen(const char* side, const std::string& name, const std::string& mode, int error);
// The stream mode of one side ('r' or 'w'): its letter first, then what -a adds. An 'a' makes the output append.
std::string AccessMode(const OutputOptions& options, char side);
