#pragma once

// Writes formatted log dumps of known messages, as the log formatter prints them.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "common/console.h"
#include "mq/mqi.h"

struct LoggedMessage {
  MQMD Descriptor;
  std::string Data;
  std::string Properties;  // the block in front of the data, not counted in its length
};

class DumpText {
 public:
  explicit DumpText(int offsetDigits = 5) : offsetDigits_(offsetDigits) {}

  std::string Text = "AMQ7701: DMPMQLOG command is starting.\n";

  static std::string Lsn(int number) { return number == 0 ? "0:0:0:0" : "0:0:7:" + std::to_string(number); }
  // A block of properties of `bytes` bytes, at least 12.
  static std::string PropertyBlock(std::size_t bytes) {
    std::string block("ZRFP\1\0\0\1", 8);
    AddNumber(block, static_cast<MQLONG>(bytes));
    return block + std::string(bytes - block.size(), 'p');
  }

  void Other(int lsn) {
    Text += RecordLine(lsn) + Line("LogRecdType", "AQM Get Message (259)") + Line("QueueName", "OTHER") + "\n";
  }
  // A piece of a split message, with the header that real ones have.
  void Part(int lsn, int previous, const std::string& queue, const std::string& piece, bool header = true) {
    const std::string data = (header ? "AQPX" + std::string(12, '\1') : "") + piece;
    Text += RecordLine(lsn) + Line("LogRecdType", "AQM Put Part (270)") + Line("QueueName", queue) +
            Line("PrevLSN", "<" + Lsn(previous) + ">") + Lengths(data.size(), 58) + Hex(data);
  }
  // The put record: `piece` is what it holds of the message itself (its properties first).
  void Put(int lsn, int previous, const std::string& queue, const LoggedMessage& message, const std::string& piece) {
    PutData(lsn, previous, queue, PutHeader(message) + piece);
  }
  void PutData(int lsn, int previous, const std::string& queue, const std::string& data) {
    Text += RecordLine(lsn) + Line("LogRecdType", "AQM Put Message (257)") + Line("ObjectName", queue) +
            Line("PrevLSN", "<" + Lsn(previous) + ">") + Lengths(data.size(), 55) + Hex(data);
  }
  // The message in one record.
  void Whole(int lsn, const std::string& queue, const LoggedMessage& message, int previous = 0) {
    Put(lsn, previous, queue, message, message.Properties + message.Data);
  }

  static std::string PutHeader(const LoggedMessage& message) {
    const MQMD& md = message.Descriptor;
    std::string data = "PUTM";
    AddNumber(data, 4);
    data.append(24, 'h');
    AddNumber(data, md.BackoutCount);
    data.append(4, 'h');
    AddNumber(data, static_cast<MQLONG>(message.Data.size()));
    data.append(8, 'h');
    Add(data, md.MsgId);
    Add(data, md.CorrelId);
    Add(data, md.GroupId);
    for (const MQLONG number : {md.MsgSeqNumber, md.Offset, md.OriginalLength, md.MsgFlags}) AddNumber(data, number);
    data.append(16, 'h');
    AddNumber(data, md.Expiry);
    Add(data, md.StrucId);
    for (const MQLONG number : {md.Version, md.Report, md.MsgType, md.Feedback, md.Encoding, md.CodedCharSetId}) {
      AddNumber(data, number);
    }
    Add(data, md.Format);
    AddNumber(data, md.Priority);
    AddNumber(data, md.Persistence);
    Add(data, md.ReplyToQ);
    Add(data, md.ReplyToQMgr);
    Add(data, md.UserIdentifier);
    Add(data, md.AccountingToken);
    Add(data, md.ApplIdentityData);
    AddNumber(data, md.PutApplType);
    Add(data, md.PutApplName);
    Add(data, md.PutDate);
    Add(data, md.PutTime);
    Add(data, md.ApplOriginData);
    return data + std::string(20, 's');
  }

 private:
  template <typename T, std::size_t N>
  static void Add(std::string& data, const T (&field)[N]) {
    data.append(reinterpret_cast<const char*>(field), N);
  }
  static void AddNumber(std::string& data, MQLONG number) {
    data.append(reinterpret_cast<const char*>(&number), sizeof number);
  }
  static std::string RecordLine(int lsn) { return "LOG RECORD     - <" + Lsn(lsn) + ">\n***************\n\n"; }
  static std::string Line(const char* name, const std::string& value) {
    return FormatText("%-15s : %s\n", name, value.c_str());
  }
  // Two numbers in one line; the second one's colon stands in front of column `colon`, counted from 0.
  static std::string Lengths(std::size_t bytes, int colon) {
    return FormatText("%-*s: %d\n", colon, "Data.Locn       : 4711", static_cast<int>(bytes));
  }
  std::string Hex(const std::string& data) const {
    std::string text = "Data  . . . . . :\n";
    for (std::size_t at = 0; at < data.size(); at += 16) {
      text += FormatText("%0*X:  ", offsetDigits_, static_cast<unsigned>(at));
      std::string readable;
      for (std::size_t i = at; i < at + 16; ++i) {
        const auto byte = i < data.size() ? static_cast<unsigned char>(data[i]) : 0U;
        text += i < data.size() ? FormatText("%02X ", byte) : "   ";
        if (i < data.size()) readable += byte >= 0x20 && byte < 0x7F ? data[i] : '.';
      }
      text += readable + "\n";
    }
    return text + "\n";
  }

  int offsetDigits_;
};
