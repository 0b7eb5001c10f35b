#pragma once

// What the whole-program tests stand on: an isolated environment (own data folder, own home, fixed locale; the
// time zone is the machine's), running the built programs in it, and looking at queues through the same library that
// the program loads.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "child_program.h"
#include "mq/api.h"
#include "platform/system.h"

namespace harness {

// Called by main: the folder of the built programs is the one this test program stands in.
void SetProgramFolder(const char* argv0);
std::filesystem::path ProgramFolder();
// Folders of the libraries with the MQ programming interface ("localmq", "faultmq"), and the file in each.
std::filesystem::path LibraryFolder(const std::string& name);
std::filesystem::path LibraryFile(const std::string& name);

struct StoredMessage {
  MQMD Descriptor;
  std::string Data;
};

// One connection to a queue manager of the sandbox, for setting up and looking. A call that fails fails the test.
class Queues {
 public:
  explicit Queues(const std::string& qmgr);
  ~Queues();
  Queues(const Queues&) = delete;
  Queues& operator=(const Queues&) = delete;

  // Puts with all context taken from the descriptor as it is.
  void Put(const std::string& queue, const MQMD& descriptor, std::string_view data);
  // The same for many, in one unit of work.
  void PutAll(const std::string& queue, const std::vector<StoredMessage>& messages);
  // A persistent string message with default context.
  void PutText(const std::string& queue, std::string_view data);
  // `count` messages "<prefix>1", "<prefix>2"... in one unit of work.
  void PutNumbered(const std::string& queue, int count, std::string_view prefix = "message ");
  std::vector<StoredMessage> Browse(const std::string& queue);
  std::vector<std::string> Texts(const std::string& queue);
  // Takes the first message; false when the queue is empty.
  bool Get(const std::string& queue, StoredMessage& message);
  // Gets the first message under syncpoint and backs out, `times` times.
  void RaiseBackoutCount(const std::string& queue, int times);
  int Depth(const std::string& queue);
  MQHCONN connection() const { return hconn_; }
  const MqApiTable& api() const { return api_; }

 private:
  MQHOBJ Open(const std::string& queue, MQLONG options);
  void Close(MQHOBJ hobj);
  MqApiTable api_;
  MQHCONN hconn_ = MQHC_UNUSABLE_HCONN;
};

// A descriptor whose every field that a put may set holds a value of its own.
MQMD RichDescriptor(int seed);
// Whether two descriptors agree in all that a queue manager carries (what it sets itself at a put aside).
testing::AssertionResult SameDescriptor(const MQMD& a, const MQMD& b);
testing::AssertionResult SameMessages(const std::vector<StoredMessage>& a, const std::vector<StoredMessage>& b);

// A fixture with a folder of its own, which is the working directory of every program it runs.
class Sandbox : public testing::Test {
 protected:
  Sandbox();
  ~Sandbox() override;

  // Runs tarvo with these arguments, standard input at its end unless given.
  Outcome Tarvo(std::vector<std::string> arguments, std::string_view input = {});
  // The same with an MQ library that fails as `script` says (tests/faultmq).
  Outcome TarvoWithFaults(const std::string& script, std::vector<std::string> arguments);
  Environment WithFaults(const std::string& script) const;
  Outcome LocalMq(std::vector<std::string> arguments, std::string_view input = {});
  // A command line of the shell, which reads "tarvo" as the built program.
  Outcome Shell(const std::string& command);
  // Creates a queue manager with local queues of the given names (and more MQSC, when given).
  void CreateQueueManager(const std::string& name, const std::vector<std::string>& queues,
                          const std::string& mqsc = {});

  std::filesystem::path Path(const std::string& name) const { return folder_ / name; }
  void WriteText(const std::string& name, std::string_view content) const;
  std::string ReadText(const std::string& name) const;
  std::string ReadBytes(const std::string& name) const;
  // Waits until the file is there and has the text in it; fails the test when that takes minutes.
  void Await(const std::string& name, std::string_view part) const;
  // The lines of the last fault run's call trace.
  std::vector<std::string> Trace() const;
  Environment& environment() { return environment_; }

 private:
  std::filesystem::path folder_;
  Environment environment_;
};

// The lines of a text, without their ends.
std::vector<std::string> Lines(std::string_view text);
// How often `part` occurs in `text`.
int Occurrences(std::string_view text, std::string_view part);
// Arguments and more of them.
std::vector<std::string> Joined(std::vector<std::string> arguments, const std::vector<std::string>& more);
// The digits of an identifier.
std::string Hex(const MQBYTE24& id);
// Letters, digits and blanks in EBCDIC, which all its code pages share.
std::string Ebcdic(std::string text);

}  // namespace harness

using harness::Ebcdic;
using harness::Hex;
using harness::Joined;
using harness::Lines;
using harness::Occurrences;
using harness::Outcome;
using harness::Queues;
using harness::SameDescriptor;
using harness::SameMessages;
using harness::Sandbox;
using harness::StoredMessage;
