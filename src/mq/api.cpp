#include "mq/api.h"

#include <algorithm>
#include <cstdlib>
#include <tuple>
#include <type_traits>

#include "common/console.h"
#include "common/cs.h"
#include "platform/dynamic_library.h"

namespace {

// Stands in for an entry that the library does not have: it has the entry's signature and fails like any other call.
template <typename Call>
struct Stub;
template <typename... Arguments>
struct Stub<void(Arguments...)> {
  static void Call(Arguments... arguments) {
    const std::tuple<Arguments...> all(arguments...);
    *std::get<sizeof...(Arguments) - 2>(all) = MQCC_FAILED;
    *std::get<sizeof...(Arguments) - 1>(all) = MQRC_FUNCTION_NOT_SUPPORTED;
  }
};

// Sets one entry of the table to the library's function, or to its stub when the address is null.
template <auto Member>
void Bind(MqApiTable& table, void* address) {
  using Pointer = std::remove_reference_t<decltype(table.*Member)>;
  table.*Member = address != nullptr ? reinterpret_cast<Pointer>(address) : Stub<std::remove_pointer_t<Pointer>>::Call;
}

struct EntryBinding {
  const char* Name;
  void (*Set)(MqApiTable& table, void* address);
};

constexpr EntryBinding kRequired[] = {
    {"MQCONN", Bind<&MqApiTable::MQCONN>},   {"MQDISC", Bind<&MqApiTable::MQDISC>},
    {"MQCMIT", Bind<&MqApiTable::MQCMIT>},   {"MQBACK", Bind<&MqApiTable::MQBACK>},
    {"MQPUT", Bind<&MqApiTable::MQPUT>},     {"MQGET", Bind<&MqApiTable::MQGET>},
    {"MQPUT1", Bind<&MqApiTable::MQPUT1>},   {"MQINQ", Bind<&MqApiTable::MQINQ>},
    {"MQSET", Bind<&MqApiTable::MQSET>},     {"MQOPEN", Bind<&MqApiTable::MQOPEN>},
    {"MQCLOSE", Bind<&MqApiTable::MQCLOSE>},
};

constexpr EntryBinding kOptional[] = {
    {"MQCONNX", Bind<&MqApiTable::MQCONNX>}, {"MQSUB", Bind<&MqApiTable::MQSUB>},
    {"MQSUBRQ", Bind<&MqApiTable::MQSUBRQ>}, {"MQCB", Bind<&MqApiTable::MQCB>},
    {"MQCTL", Bind<&MqApiTable::MQCTL>},     {"MQCRTMH", Bind<&MqApiTable::MQCRTMH>},
    {"MQDLTMH", Bind<&MqApiTable::MQDLTMH>}, {"MQINQMP", Bind<&MqApiTable::MQINQMP>},
    {"MQSETMP", Bind<&MqApiTable::MQSETMP>}, {"MQDLTMP", Bind<&MqApiTable::MQDLTMP>},
    {"MQBUFMH", Bind<&MqApiTable::MQBUFMH>}, {"MQMHBUF", Bind<&MqApiTable::MQMHBUF>},
    {"MQSTAT", Bind<&MqApiTable::MQSTAT>},
};

const char* LibraryFile(bool client, PathStyle style) {
  if (style == PathStyle::Windows) return client ? "mqic.dll" : "mqm.dll";
  return client ? "libmqic_r.so" : "libmqm_r.so";
}

std::string LibraryDirectory(const char* variable, PathStyle style) {
  if (const char* directory = std::getenv(variable); directory != nullptr) return directory;
  if (const char* installation = std::getenv("MQ_INSTALLATION_PATH"); installation != nullptr) {
    return std::string(installation) + Separator(style) + (style == PathStyle::Windows ? "bin64" : "lib64");
  }
  return {};
}

bool IsPath(std::string_view file, PathStyle style) {
  return std::any_of(file.begin(), file.end(), [style](char c) { return IsSeparator(c, style); });
}

// One library on its way into a table.
struct Loading {
  DynamicLibrary Library;
  std::string Path;   // tried last
  std::string Tried;  // a line for each path that failed
};

void NoteFailure(Loading& loading, const std::string& text) {
  loading.Tried += FormatText("  Tried '%s': %s\n", loading.Path.c_str(), text.c_str());
}

// Loads the library of one side from where that side is looked for. Returns 0, or the system's error number.
int LoadLibraryFile(bool client, const std::string& file, Loading& loading) {
  const bool debug = std::getenv("MQACCESS_DEBUG") != nullptr;
  loading.Path = MqLibraryPath(client ? MqClientDirectory() : MqServerDirectory(), file);
  if (debug) PrintOutput("Loading '%s'\n", loading.Path.c_str());
  std::string text;
  const int error = loading.Library.Load(loading.Path, text);
  if (error == 0) return 0;
  if (debug) PrintOutput("Load failed RC(%d) %s\n", error, text.c_str());
  NoteFailure(loading, text);
  return error;
}

int LoadChosenLibrary(std::string_view libraryName, Loading& loading) {
  if (!libraryName.empty()) {
    const MqLibraryChoice choice = ChooseMqLibrary(libraryName);
    return LoadLibraryFile(choice.Client, choice.File, loading);
  }
  if (LoadLibraryFile(false, LibraryFile(false, NativePathStyle()), loading) == 0) return 0;
  return LoadLibraryFile(true, LibraryFile(true, NativePathStyle()), loading);
}

int BindEntries(Loading& loading, MqApiTable& table) {
  for (const EntryBinding& entry : kRequired) {
    void* address = loading.Library.Entry(entry.Name);
    if (address == nullptr) {
      NoteFailure(loading, std::string("this library has no ") + entry.Name);
      return kRequiredEntryMissing;
    }
    entry.Set(table, address);
  }
  for (const EntryBinding& entry : kOptional) entry.Set(table, loading.Library.Entry(entry.Name));
  return 0;
}

// What the user sets so that the library is found.
std::string LibraryAdvice(std::string_view libraryName) {
  if (IsPath(libraryName, NativePathStyle())) return "Option -l names the library.\n";
  const std::string advice =
      "Set MQM_DLL_PATH (client library: MQIC_DLL_PATH) to the library's folder, or MQ_INSTALLATION_PATH to that of "
      "IBM "
      "MQ.";
  return advice + (libraryName.empty() ? " Option -l names another library.\n" : "\n");
}

}  // namespace

std::string MqServerDirectory(PathStyle style) { return LibraryDirectory("MQM_DLL_PATH", style); }

std::string MqClientDirectory(PathStyle style) { return LibraryDirectory("MQIC_DLL_PATH", style); }

std::string MqLibraryPath(std::string_view directory, std::string_view file, PathStyle style) {
  if (directory.empty() || IsPath(file, style)) return std::string(file);
  std::string path(directory);
  if (!IsSeparator(path.back(), style)) path += Separator(style);
  return path.append(file);
}

MqLibraryChoice ChooseMqLibrary(std::string_view libraryName, PathStyle style) {
  const bool client = libraryName.find("mqic") != std::string_view::npos;
  const bool isPlainName = client ? libraryName == "mqic" || libraryName == "mqic32" : libraryName == "mqm";
  return {client, isPlainName ? LibraryFile(client, style) : std::string(libraryName)};
}

int LoadMqApi(std::string_view libraryName, MqApiTable& table, std::string* explanation) {
  CSLockCommon();
  Loading loading;
  int error = LoadChosenLibrary(libraryName, loading);
  if (error == 0) error = BindEntries(loading, table);
  CSUnlockIt();
  if (error != 0 && explanation != nullptr) *explanation = loading.Tried + LibraryAdvice(libraryName);
  return error;
}
