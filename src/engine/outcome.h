#pragma once

// What a transfer has done, and how it ended.

#include <cstdint>

#include "common/result.h"
#include "mq/mqi.h"

// Messages and the bytes of their data.
struct Tally {
  std::int64_t Msgs = 0, Bytes = 0;
  void Add(std::int64_t msgs, std::int64_t bytes) {
    Msgs += msgs;
    Bytes += bytes;
  }
};
inline Tally operator-(const Tally& a, const Tally& b) { return {a.Msgs - b.Msgs, a.Bytes - b.Bytes}; }

struct Outcome {
  Result End;                             // of the first step that failed; a text may also come with a good end
  MQLONG Loss = 0;                        // the result of a good end whose input has lost bytes
  Tally Read, Put;                        // from the source, and onto queues
  Tally UncommittedRead, UncommittedPut;  // of them in the unit of work that was open last
  bool Began = false;                     // the source was ready, and is asked for messages
  bool RolledBack = false;                // the last unit of work was backed out
  bool CutShort = false;                  // an interrupt has ended the transfer before its source did
  bool Silent = false;                    // the failure leaves nothing to report

  MQLONG reason() const { return End.failed() ? End.reason() : Loss; }
};
