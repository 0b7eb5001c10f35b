#pragma once

// A queue manager for the tests of this room: queues in memory by object handle, units of work by connection, a record
// of every call, and a script that lets the next calls of a kind fail. One exists at a time on a thread.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "common/console.h"
#include "engine/delivery.h"
#include "engine/put.h"
#include "mq/output_queues.h"

struct FakeMessage {
  MQMD Descriptor;
  std::string Data;
};

class FakeMq {
 public:
  struct Answer {
    MQLONG CompCode;
    MQLONG Reason;
  };

  FakeMq() { self_ = this; }
  FakeMq(const FakeMq&) = delete;
  FakeMq& operator=(const FakeMq&) = delete;

  // What the next calls of a kind answer instead of doing anything; {MQCC_OK, 0} lets one through.
  std::map<std::string, std::deque<Answer>> Script;
  std::map<MQHOBJ, std::deque<FakeMessage>> Queues;
  std::vector<std::string> Calls;  // "MQCMIT 2": the call and its connection
  std::vector<MQGMO> GetOptions;
  std::vector<MQMD> GetDescriptors;
  std::vector<MQMD> PutDescriptors;

  void Add(MQHOBJ queue, const std::string& data, const MQMD& descriptor = {}) {
    Queues[queue].push_back({descriptor, data});
  }
  // The data of a queue's messages, joined by blanks.
  std::string Content(MQHOBJ queue) {
    std::string all;
    for (const FakeMessage& message : Queues[queue]) all += (all.empty() ? "" : " ") + message.Data;
    return all;
  }
  int Count(const std::string& call) const {
    int n = 0;
    for (const std::string& made : Calls) n += made.rfind(call, 0) == 0 ? 1 : 0;
    return n;
  }
  void FillTable(MqApiTable& api) {
    api.MQGET = Get;
    api.MQPUT = Put;
    api.MQCMIT = Commit;
    api.MQBACK = Back;
  }

 private:
  struct Unit {
    std::vector<std::pair<MQHOBJ, FakeMessage>> Got, Put;
  };
  // Records the call. False when the script has answered it.
  static bool Begin(const char* call, MQHCONN conn, MQLONG* compCode, MQLONG* reason) {
    self_->Calls.push_back(std::string(call) + " " + std::to_string(conn));
    *compCode = MQCC_OK;
    *reason = 0;
    std::deque<Answer>& answers = self_->Script[call];
    if (answers.empty()) return true;
    *compCode = answers.front().CompCode;
    *reason = answers.front().Reason;
    answers.pop_front();
    return *compCode == MQCC_OK;
  }

  static void Get(MQHCONN conn, MQHOBJ hobj, MQMD* descriptor, MQGMO* options, MQLONG room, void* buffer,
                  MQLONG* length, MQLONG* compCode, MQLONG* reason) {
    self_->GetOptions.push_back(*options);
    self_->GetDescriptors.push_back(*descriptor);
    const bool normal = Begin("MQGET", conn, compCode, reason);
    if (!normal && *compCode == MQCC_FAILED) return;
    std::deque<FakeMessage>& messages = self_->Queues[hobj];
    std::size_t& cursor = self_->cursors_[hobj];  // messages up to and including the browsed one
    const bool underCursor = (options->Options & MQGMO_MSG_UNDER_CURSOR) != 0;
    const bool first = (options->Options & MQGMO_BROWSE_FIRST) != 0;
    const bool browse = first || (options->Options & MQGMO_BROWSE_NEXT) != 0;
    const std::size_t at = underCursor ? cursor - 1 : browse && !first ? cursor : 0;
    if (at >= messages.size()) {
      *compCode = MQCC_FAILED;
      *reason = underCursor ? MQRC_NO_MSG_UNDER_CURSOR : MQRC_NO_MSG_AVAILABLE;
      return;
    }
    const FakeMessage message = messages[at];
    *length = static_cast<MQLONG>(message.Data.size());
    const bool accept = (options->Options & MQGMO_ACCEPT_TRUNCATED_MSG) != 0;
    if (*length > room && !accept) {
      *compCode = MQCC_WARNING;
      *reason = MQRC_TRUNCATED_MSG_FAILED;
      return;
    }
    if (*length > room) {
      *compCode = MQCC_WARNING;
      *reason = MQRC_TRUNCATED_MSG_ACCEPTED;
    }
    *descriptor = message.Descriptor;
    if (room > 0) std::memcpy(buffer, message.Data.data(), static_cast<std::size_t>(std::min(*length, room)));
    if (browse) {
      cursor = at + 1;
      return;
    }
    messages.erase(messages.begin() + static_cast<std::ptrdiff_t>(at));
    if (underCursor) --cursor;
    if ((options->Options & MQGMO_SYNCPOINT) != 0) self_->units_[conn].Got.emplace_back(hobj, message);
  }

  static void Put(MQHCONN conn, MQHOBJ hobj, MQMD* descriptor, MQPMO* options, MQLONG length, const void* data,
                  MQLONG* compCode, MQLONG* reason) {
    self_->PutDescriptors.push_back(*descriptor);
    if (!Begin("MQPUT", conn, compCode, reason)) return;
    FakeMessage message{*descriptor, std::string(static_cast<const char*>(data), static_cast<std::size_t>(length))};
    if ((options->Options & MQPMO_SYNCPOINT) != 0) {
      self_->units_[conn].Put.emplace_back(hobj, message);
    } else {
      self_->Queues[hobj].push_back(message);
    }
  }

  static void Commit(MQHCONN conn, MQLONG* compCode, MQLONG* reason) {
    if (!Begin("MQCMIT", conn, compCode, reason)) return;
    for (const auto& [hobj, message] : self_->units_[conn].Put) self_->Queues[hobj].push_back(message);
    self_->units_[conn] = {};
  }
  static void Back(MQHCONN conn, MQLONG* compCode, MQLONG* reason) {
    if (!Begin("MQBACK", conn, compCode, reason)) return;
    auto& got = self_->units_[conn].Got;
    for (auto i = got.rbegin(); i != got.rend(); ++i) {
      ++i->second.Descriptor.BackoutCount;
      self_->Queues[i->first].push_front(i->second);
    }
    self_->units_[conn] = {};
  }
  static inline thread_local FakeMq* self_ = nullptr;
  std::map<MQHOBJ, std::size_t> cursors_;
  std::map<MQHCONN, Unit> units_;
};

inline constexpr MQHOBJ kSource = 10;
inline constexpr MQHOBJ kTarget = 20;

// The stations of a run that moves the queue kSource of connection 1 to the queue kTarget.
struct FakeRun {
  FakeMq mq;
  Options asked;
  Console screen;
  QMgrConn conn{asked.QMgrs[0], asked.Display, screen};
  AsyncPuts async{asked, conn};
  OutputQueues queues{asked.Output, conn, QueueName{"", "TARGET"}, kTarget};
  QueuesTarget target{asked, queues, conn, async};
  Delay pause{asked.Pace};
  StatusLines status{asked.Display, screen, 0};
  MessagePlace place;
  RunStations stations{screen, conn, conn, pause, status, place};
  QueueElement queue;
  CurrentMessage message;

  FakeRun() {
    mq.FillTable(conn.Api);
    conn.Hconn = 1;
    conn.QMgrName.Assign("QM1");
    conn.CommandLevel = 900;
    asked.Input.Remove = true;
    asked.Input.Queues = {{"", "SOURCE"}};
    asked.Output.Queues = {{"", "TARGET"}};
    queue.Hobj = kSource;
    queue.QueueName.Assign("SOURCE");
  }
  // Makes this the message in hand.
  void Hold(const std::string& data, const char* format = MQFMT_NONE) {
    ASSERT_FALSE(message.Buffer.Grow(data.size() + 1).failed());
    message.Descriptor = DefaultDescriptor();
    FillField(message.Descriptor.Format, 8, format);
    message.Data = message.Buffer.data();
    std::memcpy(message.Data, data.data(), data.size());
    message.Length = message.Delivered = static_cast<MQLONG>(data.size());
  }
};
