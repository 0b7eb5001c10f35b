#include "files/input_files.h"

#include <filesystem>
#include <system_error>

#include "common/console.h"
#include "files/naming.h"
#include "mq/mqi.h"

InputFiles::InputFiles(const std::string& name) {
  plan_.NameOf = [name](int) { return name; };
}

int InputFiles::Open(const std::string& name) {
  name_.Assign(name);
  reached_ = 0;
  return file_.Open(name.c_str(), plan_.Mode.c_str());
}

int InputFiles::OpenFirst() {
  const int error = Open(plan_.NameOf(1));
  if (error == 0) ++filesRead_;
  return error;
}

Result InputFiles::OpenNext() {
  const bool later = filesRead_ > 0;
  const std::string name = plan_.NameOf(filesRead_ + 1);
  if (plan_.Listed && name.empty()) return MQRC_FILE_SYSTEM_ERROR;
  if (name.size() > kFileNameLimit) return NameTooLong(name);
  if (later && name_ == name) {
    return {MQRC_FILE_SYSTEM_ERROR, FormatText("Duplicate input file '%s'\n", name.c_str())};
  }
  if (const int error = Open(name); error != 0) {
    std::error_code unknown;
    const bool missing = std::filesystem::symlink_status(name, unknown).type() == std::filesystem::file_type::not_found;
    if (later && missing && !plan_.Listed) return MQRC_FILE_SYSTEM_ERROR;
    return CanNotOpen("input", name, plan_.ShowsMode ? plan_.Mode : std::string(), error);
  }
  if (plan_.Files != nullptr) {
    const RunFiles::Identity file = IdentityOf(file_.stream());
    if (plan_.Files->IsOutput(file)) {
      file_.Close();
      return {MQRC_FILE_SYSTEM_ERROR, FormatText("Input file '%s' is an output file of this run\n", name.c_str())};
    }
    plan_.Files->AddInput(file);
  }
  ++filesRead_;
  if (plan_.Opened) plan_.Opened();
  return {};
}

void InputFiles::Close() {
  if (plan_.Listed) finished_ += reached_;
  reached_ = 0;
  file_.Close();
}

InputFiles::Plan PlanInput(const OutputOptions& output, RunFiles& files) {
  InputFiles::Plan plan;
  plan.Mode = AccessMode(output, 'r');
  plan.ShowsMode = output.AccessMode.has_value();
  plan.Files = &files;
  return plan;
}
