// SIGINT and SIGTERM as a request that the work tests between blocks, so that a stopped run can
// remove what it has begun.
#pragma once

namespace zr::popclean {

/// Puts something that fails in the place of each standard stream that the process was started
/// without, so that no file of its own lands there. Once, before anything is opened.
void FillStandardStreams();

/// Takes over SIGINT and SIGTERM, and turns SIGPIPE and SIGXFSZ into errors of the write. Once, at
/// the start of the process.
void InstallStopHandlers();

/// Throws a Failure if a stop was requested.
void ThrowIfStopped();

/// Waits until the descriptor can be read or written without waiting. Throws a Failure if a stop is
/// requested before or meanwhile.
void WaitUntilReadable(int descriptor);
void WaitUntilWritable(int descriptor);

}  // namespace zr::popclean
