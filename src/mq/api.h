#pragma once

// The table of MQ entry points of one loaded library. The program is linked against no MQ library: each queue manager
// of a run loads its own at connection time and every call goes through its table.

#include <string>
#include <string_view>

#include "common/paths.h"
#include "mq/mqi_calls.h"

struct MqApiTable {
  MqBackCall* MQBACK = nullptr;
  MqCloseCall* MQCLOSE = nullptr;
  MqCmitCall* MQCMIT = nullptr;
  MqConnCall* MQCONN = nullptr;
  MqConnxCall* MQCONNX = nullptr;
  MqDiscCall* MQDISC = nullptr;
  MqGetCall* MQGET = nullptr;
  MqInqCall* MQINQ = nullptr;
  MqOpenCall* MQOPEN = nullptr;
  MqPutCall* MQPUT = nullptr;
  MqPut1Call* MQPUT1 = nullptr;
  MqSetCall* MQSET = nullptr;
  MqSubCall* MQSUB = nullptr;
  MqSubrqCall* MQSUBRQ = nullptr;
  MqCbCall* MQCB = nullptr;
  MqCtlCall* MQCTL = nullptr;
  MqCrtmhCall* MQCRTMH = nullptr;
  MqDltmhCall* MQDLTMH = nullptr;
  MqInqmpCall* MQINQMP = nullptr;
  MqSetmpCall* MQSETMP = nullptr;
  MqDltmpCall* MQDLTMP = nullptr;
  MqBufmhCall* MQBUFMH = nullptr;
  MqMhbufCall* MQMHBUF = nullptr;
  MqStatCall* MQSTAT = nullptr;
};

inline constexpr int kRequiredEntryMissing = 11;

// Loads the library for one queue manager and fills the table, under the common lock. `libraryName` may be empty: the
// server library is tried first, then the client library. Optional entries that are missing become stubs that answer
// MQCC_FAILED with MQRC_FUNCTION_NOT_SUPPORTED. Returns 0, the system's error number of the failed load, or
// kRequiredEntryMissing. Reports nothing unless MQACCESS_DEBUG is set (standard output). On failure, `explanation`,
// when given, gets lines for the user: each path that was tried with what was wrong there, and what to set.
int LoadMqApi(std::string_view libraryName, MqApiTable& table, std::string* explanation = nullptr);

// Where the libraries are looked for: MQM_DLL_PATH (MQIC_DLL_PATH) as it stands, else below MQ_INSTALLATION_PATH, else
// empty (the system's own search).
std::string MqServerDirectory(PathStyle style = NativePathStyle());
std::string MqClientDirectory(PathStyle style = NativePathStyle());

// The path that is loaded for a directory and a file name: a name with a separator, or an empty directory, leaves the
// name as it stands.
std::string MqLibraryPath(std::string_view directory, std::string_view file, PathStyle style = NativePathStyle());

// The file to try for a -l name (not empty): whether it is the client side, and the library's file name.
struct MqLibraryChoice {
  bool Client = false;
  std::string File;
};
MqLibraryChoice ChooseMqLibrary(std::string_view libraryName, PathStyle style = NativePathStyle());
