#include "apps/popclean/gnuplot.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>

#include "apps/popclean/failure.h"
#include "apps/popclean/owned_descriptor.h"

namespace zr::popclean {
namespace {

OwnedDescriptor MemoryFile(std::string_view content) {
  OwnedDescriptor file(memfd_create("gnuplot", MFD_CLOEXEC));
  if (file.Get() < 0) throw SystemFailure("cannot start gnuplot", errno);
  while (!content.empty()) {
    const ssize_t written = write(file.Get(), content.data(), content.size());
    if (written < 0) throw SystemFailure("cannot start gnuplot", errno);
    content.remove_prefix(static_cast<std::size_t>(written));
  }
  lseek(file.Get(), 0, SEEK_SET);
  return file;
}

// gnuplot's complaint stands in the last line that says something.
std::string LastLine(int descriptor) {
  std::array<char, 4096> bytes = {};
  const ssize_t count = pread(descriptor, bytes.data(), bytes.size(), 0);
  std::string text(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
  text.erase(text.find_last_not_of(" \n") + 1);
  return text.substr(text.rfind('\n') + 1);
}

struct SpawnActions {
  SpawnActions() { posix_spawn_file_actions_init(&actions); }
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;
  ~SpawnActions() { posix_spawn_file_actions_destroy(&actions); }

  posix_spawn_file_actions_t actions = {};
};

}  // namespace

void CheckGnuplot() {
  const OwnedDescriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
  RunGnuplot("", nowhere.Get());
}

void RunGnuplot(const std::string& script, int outputDescriptor) {
  const OwnedDescriptor input = MemoryFile(script);
  const OwnedDescriptor complaints = MemoryFile("");
  SpawnActions spawn;
  posix_spawn_file_actions_adddup2(&spawn.actions, input.Get(), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&spawn.actions, outputDescriptor, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&spawn.actions, complaints.Get(), STDERR_FILENO);

  std::string name = "gnuplot";
  std::array<char*, 2> arguments = {name.data(), nullptr};
  pid_t child = 0;
  const int error =
      posix_spawnp(&child, "gnuplot", &spawn.actions, nullptr, arguments.data(), environ);
  if (error != 0)
    throw SystemFailure("--plot needs the program gnuplot, which does not run", error);

  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) throw SystemFailure("lost sight of gnuplot", errno);
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return;
  throw Failure("gnuplot could not draw the plot: " + LastLine(complaints.Get()));
}

std::string GnuplotString(const std::string& text) {
  std::string quoted = "'";
  for (const char letter : text) {
    if (letter == '\'') quoted += '\'';
    quoted += static_cast<unsigned char>(letter) < ' ' ? '?' : letter;
  }
  return quoted + "'";
}

}  // namespace zr::popclean
