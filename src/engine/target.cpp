#include "engine/target.h"

#include <algorithm>

#include "files/writer.h"

namespace {

constexpr std::int64_t kMillis = 1000;

}  // namespace

Result NotWhole(const CurrentMessage& message) {
  return {MQRC_UNEXPECTED_ERROR,
          FormatText("Only %d of %d bytes of the message were fetched", message.Delivered, message.Length)};
}

Result FileTarget::CheckAtOnce() const {
  if (files_.IsNull() || !MayLoseBytes(layout_)) return {};
  return {MQRC_OPTIONS_ERROR, "Without units of work (-t0) no message can be kept from a layout that loses some of it"};
}

Result FileTarget::MakeRoom(const MessagePlace& place, const HeaderNames& names) {
  if (Result opened = files_.OpenNext({.MayAsk = mayAsk_, .Place = place}); opened.failed()) return opened;
  return files_.WriteHeader(names);
}

Result FileTarget::Take(CurrentMessage& message, const MessagePlace& place, bool atOnce) {
  const auto there = static_cast<std::size_t>(std::min(message.Delivered, message.Length));
  Result result = files_.Write({.Descriptor = message.Descriptor,
                                .Data = DataBytes(message.Data, there),
                                .Length = message.Length,
                                .Position = place.Position,
                                .Ordinal = place.Ordinal,
                                .Now = now_,
                                .LeavesQueue = input_.Remove});
  if (!result.failed() && atOnce) result = files_.changes().HandOver();
  if (!result.failed() && output_.FileInserts) result = files_.RollOver();
  return result;
}

std::int64_t FileTarget::AgeLeft() const {
  if (limits_.Age == 0) return Target::AgeLeft();
  // A file without a message, or one that the next message opens, reaches its age no sooner.
  return files_.HoldsMessages() ? files_.AgeLeft() : limits_.Age * kMillis;
}

Result FileTarget::Secure() {
  Result result = files_.Flush(true);
  return result.failed() ? std::move(result) : files_.changes().Place();
}

Result SummaryTarget::Take(CurrentMessage& message, const MessagePlace&, bool) {
  summary_.Add(message.Descriptor, message.Length);
  return {};
}

std::unique_ptr<Target> MakeFileTarget(const Options& asked, OutputFiles& files, Statistics& summary, std::int64_t now,
                                       bool mayAsk) {
  if (asked.Display.Count) return std::make_unique<CountTarget>(files);
  if (!asked.Output.HasFile()) return std::make_unique<NoTarget>();
  const FileTarget file(asked, files, now, mayAsk);
  if (asked.Display.Summary) return std::make_unique<SummaryTarget>(file, summary);
  return std::make_unique<FileTarget>(file);
}
