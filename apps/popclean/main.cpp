// popclean: the filter for audio files and for pipes of raw audio.
#include <cstdio>
#include <exception>
#include <new>
#include <optional>

#include "apps/popclean/clean_job.h"
#include "apps/popclean/command_line.h"
#include "apps/popclean/stop_request.h"

int main(int argumentCount, char** arguments) {
  try {
    zr::popclean::FillStandardStreams();
    int exitCode = 0;
    const std::optional<zr::popclean::JobOptions> options =
        zr::popclean::ParseCommandLine(argumentCount, arguments, exitCode);
    if (!options) return exitCode;
    zr::popclean::InstallStopHandlers();
    zr::popclean::RunJob(*options);
    return 0;
  } catch (const std::bad_alloc&) {
    std::fputs("popclean: there is not enough memory\n", stderr);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "popclean: %s\n", failure.what());
  }
  return zr::popclean::kExitFailure;
}
