#include "apps/popclean/stop_request.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

#include "apps/popclean/failure.h"

namespace zr::popclean {
namespace {

volatile std::sig_atomic_t stopRequested = 0;

// The handler writes here, so that a request between a test of the flag and a wait is not missed.
std::array<int, 2> wakeUpPipe = {-1, -1};

extern "C" void RequestStop(int /*signalNumber*/) {
  const int savedError = errno;
  stopRequested = 1;
  const char byte = 0;
  // A full pipe wakes the waiter just as well.
  [[maybe_unused]] const ssize_t written = write(wakeUpPipe[1], &byte, 1);
  errno = savedError;
}

void Wait(int descriptor, short events) {
  std::array<pollfd, 2> waited = {{{descriptor, events, 0}, {wakeUpPipe[0], POLLIN, 0}}};
  while (true) {
    ThrowIfStopped();
    const int ready = poll(waited.data(), waited.size(), -1);
    if (ready < 0 && errno != EINTR) throw SystemFailure("cannot wait for audio", errno);
    if (ready > 0 && waited[0].revents != 0) return;
  }
}

}  // namespace

void FillStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) != -1) continue;
    // Opened the wrong way round, a read or write of audio is an error and not silence. The lowest
    // free number is the missing one.
    [[maybe_unused]] const int opened =
        open("/dev/null", stream == STDOUT_FILENO ? O_RDONLY : O_WRONLY);
  }
}

void InstallStopHandlers() {
  if (pipe2(wakeUpPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
    throw SystemFailure("cannot make a pipe", errno);
  }
  struct sigaction stop = {};
  stop.sa_handler = RequestStop;
  sigaction(SIGINT, &stop, nullptr);
  sigaction(SIGTERM, &stop, nullptr);

  struct sigaction ignore = {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignore, nullptr);
  sigaction(SIGXFSZ, &ignore, nullptr);
}

void ThrowIfStopped() {
  if (stopRequested != 0) throw Failure("stopped by a signal before the work was complete");
}

void WaitUntilReadable(int descriptor) {
  Wait(descriptor, POLLIN);
}
void WaitUntilWritable(int descriptor) {
  Wait(descriptor, POLLOUT);
}

}  // namespace zr::popclean
