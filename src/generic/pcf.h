#pragma once

// Programmable command format: building a request, and walking a reply whose every length is checked. Replies come from
// outside: whatever does not fit into the bytes that were delivered ends the walk.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "common/cs.h"
#include "mq/mqi.h"

class PcfRequest {
 public:
  explicit PcfRequest(const MQCFH& header);
  void AddString(MQLONG parameter, std::string_view value);
  void AddInteger(MQLONG parameter, MQLONG value);
  void AddIntegerList(MQLONG parameter, const std::vector<MQLONG>& values);
  const void* data() const { return bytes_.data(); }
  MQLONG size() const { return static_cast<MQLONG>(bytes_.size()); }

 private:
  void Add(const void* fixed, std::size_t fixedBytes, const void* tail, std::size_t tailBytes);
  std::vector<MQBYTE, CSAllocator<MQBYTE>> bytes_;
};

struct PcfParameter {
  MQLONG Type = 0;
  MQLONG Parameter = 0;
  MQLONG Integer = 0;       // MQCFT_INTEGER
  std::string_view String;  // MQCFT_STRING: the text as it stands, padding included
};

// Walks the parameters of a reply in order, those of groups included.
class PcfReply {
 public:
  // A reply shorter than its header is not usable.
  PcfReply(const MQBYTE* data, std::size_t bytes);
  bool usable() const { return usable_; }
  const MQCFH& header() const { return header_; }
  // The next parameter; false at the end, at one of an unknown type, or where a length or a count does not fit.
  bool Next(PcfParameter& parameter);
  // Whether the walk ended where a length or a count did not fit.
  bool malformed() const { return malformed_; }

 private:
  bool EndMalformed();
  // The bytes of the next structure; 0 when it does not fit.
  std::size_t NextSize() const;
  // Takes what a structure of a known type tells. False when it does not fit.
  bool Read(const MQBYTE* structure, std::size_t size, PcfParameter& parameter);

  const MQBYTE* data_;
  std::size_t bytes_;
  std::size_t at_ = 0;
  bool usable_ = false;
  bool malformed_ = false;
  MQCFH header_;
  std::int64_t left_ = 0;  // parameters left, those of opened groups included
};
