// Passwords: where they come from, and that nobody sees them.

#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <thread>

#include "harness.h"

namespace {

namespace fs = std::filesystem;

std::string Slurp(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

// The entry in /proc of the program that runs in a folder.
fs::path ProcessIn(const fs::path& folder) {
  for (const auto& process : fs::directory_iterator("/proc")) {
    std::error_code error;
    if (fs::equivalent(process.path() / "cwd", folder, error) && !error) return process.path();
  }
  return {};
}

// All that a process has in memory that it may write, but for the tables of a sanitizer, which span terabytes.
std::string MemoryOf(const fs::path& process) {
  std::istringstream maps(Slurp(process / "maps"));
  std::ifstream memory(process / "mem", std::ios::binary);
  std::string all;
  for (std::string line; std::getline(maps, line);) {
    std::size_t start = 0;
    std::size_t end = 0;
    char dash = 0;
    std::string rights;
    std::istringstream(line) >> std::hex >> start >> dash >> end >> rights;
    if (rights.find('w') == std::string::npos || end - start > std::size_t{1} << 30) continue;
    std::string block(end - start, '\0');
    memory.clear();
    memory.seekg(static_cast<std::streamoff>(start));
    memory.read(block.data(), static_cast<std::streamsize>(block.size()));
    all.append(block, 0, static_cast<std::size_t>(memory.gcount()));
  }
  return all;
}

class Passwords : public Sandbox {
 protected:
  void WritePassword(const char* name, const char* content, mode_t mode) {
    WriteText(name, content);
    ASSERT_EQ(chmod(Path(name).c_str(), mode), 0);
  }
};

TEST_F(Passwords, LeaveNoTraceInARunningProcess) {
  CreateQueueManager("QM1", {"Q1"});
  Queues queues("QM1");
  WritePassword("secret.txt", "Kingfisher\n", 0600);
  auto variables = environment();
  variables["ORVEX_TARVO_PARMS"] = "x";
  const std::string program = (harness::ProgramFolder() / "tarvo").string();
  const struct {
    const char* Given;
    const char* Shown;
  } cases[] = {{"-UKingfisher", "-U*"}, {"-U@secret.txt", "-U@secret.txt"}};
  for (const auto& c : cases) {
    queues.PutText("Q1", "taken once it is connected");
    harness::Process process(
        {program, {"-mQM1", "-IQ1", "-uapp", c.Given, "-fnull", "-w-1"}, Path("."), variables, {}, {}});
    while (queues.Depth("Q1") > 0 && process.Running()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    const fs::path running = ProcessIn(Path("."));
    const std::string memory = MemoryOf(running);
    EXPECT_NE(memory.find("ORVEX_TARVO_PARMS"), std::string::npos) << "nothing was read";
    EXPECT_EQ(memory.find("Kingfisher"), std::string::npos);
    std::string arguments = Slurp(running / "cmdline");
    std::replace(arguments.begin(), arguments.end(), '\0', ' ');
    EXPECT_TRUE(arguments.starts_with(program + " -mQM1 -IQ1 -uapp " + c.Shown + " -fnull -w-1 ")) << arguments;
  }
}

TEST_F(Passwords, ComeFromAFileThatNobodyElseMayRead) {
  CreateQueueManager("QM1", {"Q1"}, "ALTER QMGR USER('app') PASSWORD('Kingfisher')\n");
  WritePassword("good", "Kingfisher\r\nmore\n", 0600);
  WritePassword("wrong", "kingfisher", 0600);
  WritePassword("empty", "\nKingfisher\n", 0600);
  WritePassword("group", "Kingfisher\n", 0640);
  WritePassword("others", "Kingfisher\n", 0604);
  const struct {
    const char* File;
    MQLONG Reason;
    const char* Text;
  } cases[] = {
      {"good", 0, ""},
      {"wrong", MQRC_NOT_AUTHORIZED, "MQCONN on qmgr 'QM1' returned 2035 Not authorized.\nOption -u names the user.\n"},
      {"empty", MQRC_OPTIONS_ERROR, "There is no password in file 'empty'\n"},
      {"group", MQRC_OPTIONS_ERROR, "Password file 'group' is refused, since others may read it\n"},
      {"others", MQRC_OPTIONS_ERROR, "Password file 'others' is refused, since others may read it\n"},
      {"none", MQRC_OPTIONS_ERROR, "Can not open password file 'none': No such file or directory\n"},
  };
  for (const auto& c : cases) {
    const auto outcome = Tarvo({"-q", "-mQM1", "-uapp", std::string("-U@") + c.File, "-iQ1", "-fnull"});
    EXPECT_EQ(outcome.Exit, ExitStatus(c.Reason)) << c.File;
    EXPECT_EQ(outcome.Err, c.Text);
  }
}

}  // namespace
