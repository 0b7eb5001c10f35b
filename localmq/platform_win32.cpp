#include <windows.h>

#include <cstdlib>
#include <filesystem>

#include "localmq/platform.h"

namespace localmq {
namespace {

// Windows' own numbers for the coded character sets that differ from the CCSID; others are the same number, or unknown
// to the system.
struct CodePage {
  MQLONG Ccsid;
  UINT Page;
};
constexpr CodePage kCodePages[] = {
    {273, 20273}, {277, 20277},  {278, 20278}, {280, 20280},    {284, 20284}, {285, 20285}, {297, 20297},
    {367, 20127}, {813, 28597},  {819, 28591}, {871, 20871},    {912, 28592}, {915, 28595}, {920, 28599},
    {923, 28605}, {1025, 21025}, {1047, 1047}, {1208, CP_UTF8}, {5348, 1252},
};
constexpr MQLONG kUtf16BigEndian = 1200;
constexpr MQLONG kUtf16BigEndianOld = 13488;
constexpr MQLONG kUtf16LittleEndian = 1202;

UINT CodePageOf(MQLONG ccsid) {
  for (const CodePage& entry : kCodePages) {
    if (entry.Ccsid == ccsid) return entry.Page;
  }
  return ccsid > 0 && IsValidCodePage(static_cast<UINT>(ccsid)) ? static_cast<UINT>(ccsid) : 0;
}

bool IsUtf16(MQLONG ccsid) {
  return ccsid == kUtf16BigEndian || ccsid == kUtf16BigEndianOld || ccsid == kUtf16LittleEndian;
}

bool Decode(MQLONG ccsid, std::span<const std::uint8_t> text, std::wstring& wide) {
  if (IsUtf16(ccsid)) {
    if (text.size() % 2 != 0) return false;
    const std::size_t high = ccsid == kUtf16LittleEndian ? 1 : 0;
    for (std::size_t i = 0; i < text.size(); i += 2)
      wide += static_cast<wchar_t>(text[i + high] << 8 | text[i + 1 - high]);
    return true;
  }
  const UINT page = CodePageOf(ccsid);
  if (page == 0) return false;
  const auto* bytes = reinterpret_cast<const char*>(text.data());
  const int length = static_cast<int>(text.size());
  const int needed = MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, bytes, length, nullptr, 0);
  if (needed <= 0) return false;
  wide.resize(static_cast<std::size_t>(needed));
  return MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, bytes, length, wide.data(), needed) == needed;
}

bool Encode(MQLONG ccsid, const std::wstring& wide, std::vector<std::uint8_t>& text) {
  if (IsUtf16(ccsid)) {
    for (const wchar_t unit : wide) {
      const auto high = static_cast<std::uint8_t>(unit >> 8);
      const auto low = static_cast<std::uint8_t>(unit & 0xff);
      text.push_back(ccsid == kUtf16LittleEndian ? low : high);
      text.push_back(ccsid == kUtf16LittleEndian ? high : low);
    }
    return true;
  }
  const UINT page = CodePageOf(ccsid);
  if (page == 0) return false;
  // UTF-8 holds every character, and the system takes no report of a lost one for it.
  const bool all = page == CP_UTF8;
  const DWORD flags = all ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS;
  BOOL lost = FALSE;
  const int length = static_cast<int>(wide.size());
  const int needed = WideCharToMultiByte(page, flags, wide.data(), length, nullptr, 0, nullptr, all ? nullptr : &lost);
  if (needed <= 0 || lost) return false;
  text.resize(static_cast<std::size_t>(needed));
  return WideCharToMultiByte(page, flags, wide.data(), length, reinterpret_cast<char*>(text.data()), needed, nullptr,
                             nullptr) == needed;
}

}  // namespace

bool LockFile::Acquire(const std::string& path) {
  Release();
  // A file that is open without sharing cannot be opened by anybody else while this process lives.
  const HANDLE file = CreateFileW(std::filesystem::path(path).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                  OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  file_ = reinterpret_cast<std::intptr_t>(file);
  return true;
}

void LockFile::Release() {
  if (file_ != -1) CloseHandle(reinterpret_cast<HANDLE>(file_));
  file_ = -1;
}

std::string UserDataDirectory() {
  const char* folder = std::getenv("LOCALAPPDATA");
  return folder == nullptr ? std::string() : std::string(folder);
}

std::string UserName() {
  char name[257];
  DWORD length = sizeof name;
  return GetUserNameA(name, &length) && length > 0 ? std::string(name, length - 1) : std::string("unknown");
}

std::string ProgramPath() {
  char path[MAX_PATH];
  return std::string(path, GetModuleFileNameA(nullptr, path, sizeof path));
}

std::int64_t ProcessNumber() { return static_cast<std::int64_t>(GetCurrentProcessId()); }

bool ConvertText(MQLONG fromCcsid, MQLONG toCcsid, std::span<const std::uint8_t> text,
                 std::vector<std::uint8_t>& converted) {
  std::wstring wide;
  converted.clear();
  return text.empty() || (Decode(fromCcsid, text, wide) && Encode(toCcsid, wide, converted));
}

}  // namespace localmq
