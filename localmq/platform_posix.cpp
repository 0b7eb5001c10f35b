#include <fcntl.h>
#include <iconv.h>
#include <pwd.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "localmq/platform.h"

namespace localmq {
namespace {

// Character sets by their CCSIDs, under the names that iconv knows. 1200 and 13488 are big-endian on every system.
struct CharacterSet {
  MQLONG Ccsid;
  const char* Name;
};
constexpr CharacterSet kCharacterSets[] = {
    {37, "IBM037"},         {273, "IBM273"},        {277, "IBM277"},        {278, "IBM278"},
    {280, "IBM280"},        {284, "IBM284"},        {285, "IBM285"},        {297, "IBM297"},
    {367, "US-ASCII"},      {437, "IBM437"},        {500, "IBM500"},        {813, "ISO-8859-7"},
    {819, "ISO-8859-1"},    {850, "IBM850"},        {852, "IBM852"},        {855, "IBM855"},
    {858, "CP858"},         {866, "IBM866"},        {870, "IBM870"},        {871, "IBM871"},
    {912, "ISO-8859-2"},    {915, "ISO-8859-5"},    {920, "ISO-8859-9"},    {923, "ISO-8859-15"},
    {1025, "IBM1025"},      {1026, "IBM1026"},      {1047, "IBM1047"},      {1140, "IBM1140"},
    {1141, "IBM1141"},      {1148, "IBM1148"},      {1200, "UTF-16BE"},     {1202, "UTF-16LE"},
    {1208, "UTF-8"},        {1250, "WINDOWS-1250"}, {1251, "WINDOWS-1251"}, {1252, "WINDOWS-1252"},
    {1253, "WINDOWS-1253"}, {1254, "WINDOWS-1254"}, {5348, "WINDOWS-1252"}, {13488, "UTF-16BE"},
};

const char* CharacterSetName(MQLONG ccsid) {
  for (const CharacterSet& set : kCharacterSets) {
    if (set.Ccsid == ccsid) return set.Name;
  }
  return nullptr;
}

class Converter {
 public:
  Converter(const char* to, const char* from) : handle_(iconv_open(to, from)) {}
  ~Converter() {
    if (Valid()) iconv_close(handle_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  bool Valid() const { return handle_ != reinterpret_cast<iconv_t>(-1); }
  iconv_t Handle() const { return handle_; }

 private:
  iconv_t handle_;
};

}  // namespace

bool LockFile::Acquire(const std::string& path) {
  Release();
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (file < 0) return false;
  if (flock(file, LOCK_EX | LOCK_NB) != 0) {
    close(file);
    return false;
  }
  file_ = file;
  return true;
}

void LockFile::Release() {
  if (file_ >= 0) close(static_cast<int>(file_));
  file_ = -1;
}

std::string UserDataDirectory() {
  if (const char* folder = std::getenv("XDG_DATA_HOME"); folder != nullptr && folder[0] == '/') return folder;
  if (const char* home = std::getenv("HOME"); home != nullptr && home[0] == '/')
    return std::string(home) + "/.local/share";
  return {};
}

std::string UserName() {
  passwd entry{};
  passwd* found = nullptr;
  char buffer[4096];
  if (getpwuid_r(geteuid(), &entry, buffer, sizeof buffer, &found) == 0 && found != nullptr) return found->pw_name;
  return std::to_string(geteuid());
}

std::string ProgramPath() {
  char path[4096];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : std::string();
}

std::int64_t ProcessNumber() { return getpid(); }

bool ConvertText(MQLONG fromCcsid, MQLONG toCcsid, std::span<const std::uint8_t> text,
                 std::vector<std::uint8_t>& converted) {
  const char* from = CharacterSetName(fromCcsid);
  const char* to = CharacterSetName(toCcsid);
  if (from == nullptr || to == nullptr) return false;
  const Converter converter(to, from);
  if (!converter.Valid()) return false;

  converted.resize(text.size() + text.size() / 2 + 16);
  // iconv only reads what its input pointer names, although the pointer is not to const.
  char* in = const_cast<char*>(reinterpret_cast<const char*>(text.data()));
  std::size_t inLeft = text.size();
  std::size_t done = 0;
  while (true) {
    char* out = reinterpret_cast<char*>(converted.data()) + done;
    std::size_t outLeft = converted.size() - done;
    const std::size_t result = iconv(converter.Handle(), &in, &inLeft, &out, &outLeft);
    done = converted.size() - outLeft;
    if (result != static_cast<std::size_t>(-1)) break;
    if (errno != E2BIG) return false;
    converted.resize(converted.size() * 2);
  }
  converted.resize(done);
  return true;
}

}  // namespace localmq
