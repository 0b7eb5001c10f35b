#include "common/paths.h"

#include <gtest/gtest.h>

namespace {

TEST(ResolveIncludedPath, TakesRelativeNamesFromTheIncludingFilesDirectory) {
  const struct {
    PathStyle Style;
    const char* Including;
    const char* Given;
    const char* FullPath;
    const char* Directory;
    const char* BaseName;
  } cases[] = {
      {PathStyle::Windows, R"(C:\cfg\main.txt)", R"(sub\d.txt)", R"(C:\cfg\sub\d.txt)", R"(C:\cfg\sub)", "d.txt"},
      {PathStyle::Windows, R"(C:\cfg\main.txt)", R"(D:\x\d.txt)", R"(D:\x\d.txt)", R"(D:\x)", "d.txt"},
      {PathStyle::Windows, R"(C:\cfg\main.txt)", R"(\d.txt)", R"(\d.txt)", R"(\)", "d.txt"},
      {PathStyle::Windows, R"(C:\main.txt)", "d.txt", R"(C:\d.txt)", "C:", "d.txt"},
      {PathStyle::Windows, "C:main.txt", "d.txt", R"(C:.\d.txt)", "C:.", "d.txt"},
      {PathStyle::Windows, "cfg/main.txt", "d.txt", R"(cfg\d.txt)", "cfg", "d.txt"},
      {PathStyle::Windows, "main.txt", "  d.txt", "d.txt", "", "d.txt"},
      {PathStyle::Posix, "/cfg/main.txt", "sub/d.txt", "/cfg/sub/d.txt", "/cfg/sub", "d.txt"},
      {PathStyle::Posix, "/cfg/main.txt", "/x/d.txt", "/x/d.txt", "/x", "d.txt"},
      {PathStyle::Posix, "/main.txt", "d.txt", "/d.txt", "/", "d.txt"},
      {PathStyle::Posix, "cfg//main.txt", "d.txt", "cfg/d.txt", "cfg", "d.txt"},
      {PathStyle::Posix, "/cfg/main.txt", R"(C:\d.txt)", R"(/cfg/C:\d.txt)", "/cfg", R"(C:\d.txt)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.Including) + " includes " + c.Given);
    const IncludedPath including = ResolveIncludedPath(c.Including, nullptr, c.Style);
    EXPECT_EQ(including.FullPath, c.Including);
    const IncludedPath path = ResolveIncludedPath(c.Given, &including, c.Style);
    EXPECT_EQ(path.Given, c.Given);
    EXPECT_EQ(path.FullPath, c.FullPath);
    EXPECT_EQ(path.Directory, c.Directory);
    EXPECT_EQ(path.BaseName, c.BaseName);
  }
}

}  // namespace
