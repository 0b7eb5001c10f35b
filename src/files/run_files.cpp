#include "files/run_files.h"

#include <ctime>
#include <string>

#include "files/naming.h"

namespace {

constexpr int kLargestGap = 1000;  // between the numbers of a set's files, where messages number them

}  // namespace

bool RunFiles::IsInput(Identity file) {
  if (!file) return false;
  if (!inputSet_.empty()) FindInputSet();
  return Has(inputs_, file) || file == IdentityOf(stdin);
}

void RunFiles::FindInputSet() {
  std::set<std::string> names;
  int missing = 0;
  InsertValues values = InsertsNow();
  for (int number = 1; missing < kLargestGap; ++number) {
    values.MessageOrdinal = values.FileNumber = values.SelectedOrdinal = number;
    const std::string name = ExpandTemplate(inputSet_, values);
    const Identity file = IdentityOf(name);
    // A name that does not change with its number is found once.
    missing = file && names.insert(name).second ? 0 : missing + 1;
    AddInput(file);
  }
  inputSet_.clear();
}

const std::string& RunFiles::Created() {
  if (created_.empty()) {
    const std::time_t now = std::time(nullptr);
    const std::tm* const local = std::localtime(&now);
    created_ = local != nullptr ? std::asctime(local) : "\n";
  }
  return created_;
}
