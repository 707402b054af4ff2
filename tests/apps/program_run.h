// Runs popclean as a user would, in a folder of its own.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/common/temp_folder.h"

namespace zr::test {

struct Outcome {
  int exitCode = 0;  ///< Negative: the number of the signal that ended the program.
  std::string output;
  std::string error;
  int64_t peakKilobytes = 0;
};

struct RunOptions {
  std::string input = {};         ///< Bytes on standard input.
  std::string inputFile = {};     ///< Or a file.
  std::size_t fileSizeLimit = 0;  ///< Bytes; 0 for none.
  std::vector<std::string> environment = {};
  int closedDescriptor = -1;  ///< A standard stream that is not there.
};

/// Runs popclean in the folder until it ends.
Outcome RunPopclean(const TempFolder& folder, const std::vector<std::string>& arguments,
                    const RunOptions& options = {});

/// popclean between two pipes.
class PipedPopclean {
 public:
  PipedPopclean(const TempFolder& folder, const std::vector<std::string>& arguments);
  PipedPopclean(const PipedPopclean&) = delete;
  PipedPopclean& operator=(const PipedPopclean&) = delete;
  ~PipedPopclean();

  void Write(const std::string& bytes) const;
  /// Writes until the pipe takes no more.
  void Stuff(const std::string& bytes) const;
  /// Reads size bytes, or what comes within the patience of a test.
  std::string Read(std::size_t size) const;
  void CloseInput();
  void Signal(int number) const;
  /// Ends the program if it does not end itself within the patience of a test.
  Outcome Wait();

 private:
  pid_t child_ = -1;
  int input_ = -1;
  int output_ = -1;
  int error_ = -1;
};

}  // namespace zr::test
