#include "tests/apps/program_run.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <thread>

namespace zr::test {
namespace {

constexpr std::chrono::seconds kPatience(20);

int MemoryFile(const std::string& content) {
  const int file = memfd_create("test", MFD_CLOEXEC);
  if (write(file, content.data(), content.size()) != static_cast<ssize_t>(content.size())) abort();
  lseek(file, 0, SEEK_SET);
  return file;
}

std::string Content(int file) {
  std::string content(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
  if (pread(file, content.data(), content.size(), 0) < 0) abort();
  return content;
}

pid_t Start(const TempFolder& folder, std::vector<std::string> arguments, int input, int output,
            int error, const RunOptions& options) {
  const pid_t child = fork();
  if (child != 0) return child;
  dup2(input, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(error, STDERR_FILENO);
  if (options.closedDescriptor >= 0) close(options.closedDescriptor);
  if (chdir(folder.Path().c_str()) != 0) _exit(127);
  if (options.fileSizeLimit != 0) {
    const rlimit limit = {options.fileSizeLimit, options.fileSizeLimit};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  // Memory that a sanitizer keeps back would count as the program's own.
  setenv("ASAN_OPTIONS", "quarantine_size_mb=1", 1);
  setenv("LSAN_OPTIONS", "print_suppressions=0:suppressions=" ZR_LEAKS_OF_LIBRARIES, 1);
  for (const std::string& variable : options.environment) {
    putenv(const_cast<char*>(variable.c_str()));
  }
  arguments.insert(arguments.begin(), ZR_POPCLEAN);
  std::vector<char*> pointers;
  for (std::string& argument : arguments)
    pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  execv(ZR_POPCLEAN, pointers.data());
  _exit(127);
}

Outcome Ended(int status, const rusage& usage) {
  Outcome outcome;
  outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  outcome.peakKilobytes = usage.ru_maxrss;
  return outcome;
}

}  // namespace

Outcome RunPopclean(const TempFolder& folder, const std::vector<std::string>& arguments,
                    const RunOptions& options) {
  const int input = options.inputFile.empty()
                        ? MemoryFile(options.input)
                        : open(options.inputFile.c_str(), O_RDONLY | O_CLOEXEC);
  const int output = MemoryFile("");
  const int error = MemoryFile("");
  const pid_t child = Start(folder, arguments, input, output, error, options);
  int status = 0;
  rusage usage = {};
  wait4(child, &status, 0, &usage);
  Outcome outcome = Ended(status, usage);
  outcome.output = Content(output);
  outcome.error = Content(error);
  for (const int file : {input, output, error})
    close(file);
  return outcome;
}

PipedPopclean::PipedPopclean(const TempFolder& folder, const std::vector<std::string>& arguments) {
  std::array<int, 2> toProgram = {};
  std::array<int, 2> fromProgram = {};
  if (pipe2(toProgram.data(), O_CLOEXEC) != 0 || pipe2(fromProgram.data(), O_CLOEXEC) != 0) abort();
  error_ = MemoryFile("");
  child_ = Start(folder, arguments, toProgram[0], fromProgram[1], error_, {});
  close(toProgram[0]);
  close(fromProgram[1]);
  input_ = toProgram[1];
  output_ = fromProgram[0];
}

PipedPopclean::~PipedPopclean() {
  if (child_ > 0) {
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
  }
  CloseInput();
  close(output_);
  close(error_);
}

void PipedPopclean::Write(const std::string& bytes) const {
  if (write(input_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) abort();
}

void PipedPopclean::Stuff(const std::string& bytes) const {
  fcntl(input_, F_SETFL, O_NONBLOCK);
  pollfd waited = {input_, POLLOUT, 0};
  while (poll(&waited, 1, 500) == 1 && write(input_, bytes.data(), bytes.size()) > 0) {
  }
}

std::string PipedPopclean::Read(std::size_t size) const {
  std::string bytes(size, '\0');
  std::size_t done = 0;
  pollfd waited = {output_, POLLIN, 0};
  while (done < size &&
         poll(&waited, 1, static_cast<int>(std::chrono::milliseconds(kPatience).count())) == 1) {
    const ssize_t count = read(output_, bytes.data() + done, size - done);
    if (count <= 0) break;
    done += static_cast<std::size_t>(count);
  }
  bytes.resize(done);
  return bytes;
}

void PipedPopclean::CloseInput() {
  if (input_ >= 0) close(input_);
  input_ = -1;
}

void PipedPopclean::Signal(int number) const {
  kill(child_, number);
}

Outcome PipedPopclean::Wait() {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  int status = 0;
  rusage usage = {};
  while (wait4(child_, &status, WNOHANG, &usage) == 0) {
    if (std::chrono::steady_clock::now() > end) kill(child_, SIGKILL);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  child_ = -1;
  Outcome outcome = Ended(status, usage);
  outcome.error = Content(error_);
  return outcome;
}

}  // namespace zr::test
