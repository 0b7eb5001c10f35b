#pragma once

// The files of a run, told apart by what they are and not by what they are called: a link, or another way of writing a
// path, must never make a run write over what it reads or what it has written.

#include <optional>
#include <set>
#include <string>
#include <utility>

#include "platform/files.h"

class RunFiles {
 public:
  using Identity = std::optional<FileIdentity>;  // none: no file on a disk, which is never one of these

  void AddInput(Identity file) { Add(inputs_, file); }
  void AddOutput(Identity file) { Add(outputs_, file); }
  // The inputs are a set of files that a template numbers. The later ones are looked for once, as soon as it matters
  // whether a file is one of them.
  void ExpectInputSet(std::string name) { inputSet_ = std::move(name); }
  // The file has gone, and what it was called by may be another one's soon.
  void ForgetOutput(Identity file) {
    if (file) outputs_.erase(*file);
  }
  // Whether this run reads the file, has read it or will, perhaps as its standard input.
  bool IsInput(Identity file);
  // Whether this run has written the file or is writing it.
  bool IsOutput(Identity file) const { return Has(outputs_, file); }
  // Whether what the run says, or its messages, go to the file through a descriptor that it was started with.
  static bool IsStandardOutput(Identity file) {
    return file && (file == IdentityOf(stdout) || file == IdentityOf(stderr));
  }

  // When the first file was begun, as all of them show it: the classic date text, its own line end included.
  const std::string& Created();

 private:
  static void Add(std::set<FileIdentity>& files, Identity file) {
    if (file) files.insert(*file);
  }
  static bool Has(const std::set<FileIdentity>& files, Identity file) { return file && files.contains(*file); }

  void FindInputSet();

  std::string inputSet_;  // a template; empty once its files are known
  std::string created_;
  std::set<FileIdentity> inputs_;
  std::set<FileIdentity> outputs_;
};
