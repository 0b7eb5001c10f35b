#pragma once

// Message files and plain files as the source of a transfer.

#include <memory>

#include "engine/source.h"
#include "files/plain_file.h"
#include "files/reader.h"

class MessageFileSource : public Source {
 public:
  MessageFileSource(InputFiles& files, Console& screen, MemoryTrace memory)
      : files_(files), reader_(files, screen, memory) {}

  Result Start(bool& empty) override;
  Result Next(CurrentMessage& message, std::int64_t wait, Arrival& arrival) override;
  MQLONG loss() const override { return reader_.loss(); }

 private:
  InputFiles& files_;
  MessageFileReader reader_;
};

class PlainFileSource : public Source {
 public:
  // `lossWasTold`: a preliminary count has told what stands behind the last message.
  PlainFileSource(InputFiles& files, const PlainFileOptions& asked, Console& screen, MemoryTrace memory,
                  bool lossWasTold)
      : files_(files), reader_(files, asked, screen, memory, lossWasTold) {}

  Result Start(bool& empty) override;
  // The message stays where the reader has it: in the read buffer of the file.
  Result Next(CurrentMessage& message, std::int64_t wait, Arrival& arrival) override;
  MQLONG loss() const override { return reader_.loss(); }

 private:
  InputFiles& files_;
  PlainFileReader reader_;
};

// The messages of the input files. `lossWasTold` as above.
std::unique_ptr<Source> MakeFileSource(const PlainFileOptions& asked, InputFiles& files, Console& screen,
                                       MemoryTrace memory, bool lossWasTold = false);
