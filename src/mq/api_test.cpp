#include "mq/api.h"

#include <gtest/gtest.h>

#include "platform/system.h"

namespace {

TEST(ChooseMqLibrary, KnowsThePlainNamesOfBothSystems) {
  const struct {
    PathStyle Style;
    const char* Name;
    bool Client;
    const char* File;
  } cases[] = {
      {PathStyle::Windows, "mqm", false, "mqm.dll"},
      {PathStyle::Windows, "mqic", true, "mqic.dll"},
      {PathStyle::Windows, "mqic32", true, "mqic.dll"},
      {PathStyle::Windows, "mymqic.dll", true, "mymqic.dll"},
      {PathStyle::Windows, "MQIC", false, "MQIC"},
      {PathStyle::Windows, "mqm2.dll", false, "mqm2.dll"},
      {PathStyle::Posix, "mqm", false, "libmqm_r.so"},
      {PathStyle::Posix, "mqic", true, "libmqic_r.so"},
      {PathStyle::Posix, "mqic32", true, "libmqic_r.so"},
      {PathStyle::Posix, "libmqic.so", true, "libmqic.so"},
      {PathStyle::Posix, "libother.so", false, "libother.so"},
  };
  for (const auto& c : cases) {
    const MqLibraryChoice choice = ChooseMqLibrary(c.Name, c.Style);
    EXPECT_EQ(choice.Client, c.Client) << c.Name;
    EXPECT_EQ(choice.File, c.File) << c.Name;
  }
}

TEST(MqLibraryPath, JoinsDirectoryAndBareName) {
  const struct {
    PathStyle Style;
    const char* Directory;
    const char* File;
    const char* Path;
  } cases[] = {
      {PathStyle::Windows, "", "mqm.dll", "mqm.dll"},
      {PathStyle::Windows, R"(C:\MQ\bin64)", "mqm.dll", R"(C:\MQ\bin64\mqm.dll)"},
      {PathStyle::Windows, R"(C:\MQ\bin64\)", "mqm.dll", R"(C:\MQ\bin64\mqm.dll)"},
      {PathStyle::Windows, R"(C:\MQ)", R"(D:\x\mqm.dll)", R"(D:\x\mqm.dll)"},
      {PathStyle::Posix, "/opt/mqm/lib64", "libmqm_r.so", "/opt/mqm/lib64/libmqm_r.so"},
      {PathStyle::Posix, "/opt/mqm/lib64/", "libmqm_r.so", "/opt/mqm/lib64/libmqm_r.so"},
      {PathStyle::Posix, "/opt/mqm", "./lib.so", "./lib.so"},
  };
  for (const auto& c : cases) EXPECT_EQ(MqLibraryPath(c.Directory, c.File, c.Style), c.Path);
}

// Runs without the variables that a machine with IBM MQ has.
class MqEnvironment : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"MQM_DLL_PATH", "MQIC_DLL_PATH", "MQ_INSTALLATION_PATH", "MQACCESS_DEBUG"}) {
      SetEnvironment(name, nullptr);
    }
  }
};

TEST_F(MqEnvironment, DirectoriesComeFromTheVariables) {
  EXPECT_EQ(MqServerDirectory(), "");
  SetEnvironment("MQ_INSTALLATION_PATH", "/opt/mqm");
  EXPECT_EQ(MqServerDirectory(PathStyle::Posix), "/opt/mqm/lib64");
  EXPECT_EQ(MqClientDirectory(PathStyle::Windows), R"(/opt/mqm\bin64)");
  SetEnvironment("MQM_DLL_PATH", "here");
  EXPECT_EQ(MqServerDirectory(PathStyle::Posix), "here");
  EXPECT_EQ(MqClientDirectory(PathStyle::Posix), "/opt/mqm/lib64");
  SetEnvironment("MQIC_DLL_PATH", "there");
  EXPECT_EQ(MqClientDirectory(PathStyle::Posix), "there");
}

TEST_F(MqEnvironment, FailedLoadsAreToldWhenDebugging) {
  SetEnvironment("MQM_DLL_PATH", "/none/s");
  SetEnvironment("MQIC_DLL_PATH", "/none/c");
  MqApiTable table;
  testing::internal::CaptureStdout();
  EXPECT_NE(LoadMqApi("", table), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  SetEnvironment("MQACCESS_DEBUG", "1");
  testing::internal::CaptureStdout();
  EXPECT_NE(LoadMqApi("", table), 0);
  const std::string shown = testing::internal::GetCapturedStdout();
  const std::size_t server = shown.find("Loading '/none/s");
  const std::size_t client = shown.find("Loading '/none/c");
  EXPECT_LT(server, client) << shown;
  EXPECT_NE(client, std::string::npos) << shown;
  EXPECT_NE(shown.find("Load failed RC("), std::string::npos) << shown;
}

TEST_F(MqEnvironment, LibraryWithoutTheRequiredEntriesIsRefused) {
  MqApiTable table;
  const bool windows = NativePathStyle() == PathStyle::Windows;
  EXPECT_EQ(LoadMqApi(windows ? "kernel32.dll" : "libc.so.6", table), kRequiredEntryMissing);
}

}  // namespace
