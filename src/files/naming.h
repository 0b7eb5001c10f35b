#pragma once

// File names from templates, opening input and output files, rolling output over at its limits, walking through sets of
// input files. The names "stdout" and "null" are special outputs.

#include <atomic>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

#include "common/result.h"
#include "files/input_files.h"
#include "files/run_files.h"
#include "mq/mqi.h"

struct Parameters;
struct QueueElement;

struct FileNaming {
  std::atomic<std::int64_t> OpenTime{0};  // when the output file was opened, seconds
  RunFiles Files;
  bool OverwriteAll = false;   // the user has agreed to overwrite every file
  bool InputSetKnown = false;  // the later files of an indexed input set are among them
  std::string Approved;        // the existing file that the user has agreed to overwrite
  // Generic naming: directory (with its trailing separator), base name (the queue's) and file type.
  std::string Directory;
  std::string BaseName;
  std::string FileType;
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

inline constexpr std::size_t kFileNameLimit = 255;  // characters
// The failures that input and output files share. `mode` is shown where the user has chosen it, else empty.
Result NameTooLong(const std::string& name);
Result CanNotOpen(const char* side, const std::string& name, const std::string& mode, int error);

// "Q1$2.tvo": directory, base name, '$', index, file type.
std::string IndexedName(const FileNaming& naming, int index);

// Opens the next input file (when asked, a template exists and none is open) and the next output file (likewise).
// `MayAsk` allows the overwrite question. Returns 0, or MQRC_FILE_SYSTEM_ERROR with MessageText; without a text when a
// later file of an indexed input set does not exist (the end of the set). During a preliminary count the output file is
// only checked and asked about, not opened: nothing is touched before the user has agreed to the count.
struct OpenRequest {
  bool MayAsk = false;
  bool Input = false;
  bool Output = false;
};
MQLONG OpenFiles(Parameters& run, OpenRequest request);

// The input files that the user asked for by their template.
InputFiles::Plan PlanInput(Parameters& run);

// Opens a file of a queue in a generic unload. It gets its name when the queue's set is complete; whatever stands there
// was given up by the user. Returns 0, or errno, then with MessageText.
int OpenQueueFile(Parameters& run, const std::string& name);

// Before a message of `length` bytes is written: closes an output file that has no room for it, and opens the next one
// with its header when none is open. A file without any message has room for one, whatever its limit. `source` names
// the queue in the header and may be null.
MQLONG CheckFileLimits(Parameters& run, MQLONG length, const QueueElement* source, bool mayAsk);
// After a message was written: closes an output file that has reached a limit.
MQLONG RollOverAfterMessage(Parameters& run);
