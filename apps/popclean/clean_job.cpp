#include "apps/popclean/clean_job.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include "apps/popclean/failure.h"
#include "apps/popclean/progress_bar.h"
#include "apps/popclean/raw_stream.h"
#include "apps/popclean/sound_file_reader.h"
#include "apps/popclean/sound_file_writer.h"
#include "apps/popclean/stop_request.h"
#include "apps/popclean/stream_cleaner.h"

namespace zr::popclean {
namespace fs = std::filesystem;

namespace {

std::size_t BlockFrames(int channels) {
  constexpr std::size_t kBlockSamples = 16384;
  return std::max<std::size_t>(kBlockSamples / static_cast<std::size_t>(channels), 16);
}

bool IsSameFile(const std::string& a, const std::string& b) {
  std::error_code error;
  if (fs::equivalent(a, b, error)) return true;
  return fs::weakly_canonical(a, error) == fs::weakly_canonical(b, error) && !error;
}

// Whether a descriptor is the file of that name, as after "< name".
bool IsOpenedAs(int descriptor, const std::string& name) {
  struct stat opened = {};
  struct stat named = {};
  return fstat(descriptor, &opened) == 0 && stat(name.c_str(), &named) == 0 &&
         S_ISREG(opened.st_mode) && opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

bool IsSamePlace(const std::string& a, const std::string& b, int standardStream) {
  if (a == kStandardStream && b == kStandardStream) return false;
  if (a == kStandardStream) return IsOpenedAs(standardStream, b);
  if (b == kStandardStream) return IsOpenedAs(standardStream, a);
  return IsSameFile(a, b);
}

void CheckTargets(const JobOptions& options) {
  if (IsSamePlace(options.input, options.output,
                  options.input == kStandardStream ? STDIN_FILENO : STDOUT_FILENO)) {
    throw Failure("the output must be another file than the input " + Quoted(options.input));
  }
  std::vector<std::string> extras;
  for (const std::string& name : {options.repairs, options.plot}) {
    if (!name.empty()) extras.push_back(name);
  }
  for (const std::string& name : extras) {
    if (IsSamePlace(options.input, name, STDIN_FILENO)) {
      throw Failure(Quoted(name) + " is the input, and must not be written");
    }
    if (IsSamePlace(options.output, name, STDOUT_FILENO)) {
      throw Failure(Quoted(name) + " is the output, and cannot hold anything else");
    }
  }
  if (extras.size() == 2 && IsSameFile(extras[0], extras[1])) {
    throw Failure(Quoted(extras[0]) + " cannot hold both the repairs and the plot");
  }
}

void RefuseTerminal(int descriptor, const char* what) {
  if (isatty(descriptor) != 1) return;
  throw Failure(std::string(what) + " is a terminal; '-' is for pipes of raw audio");
}

// The ends of a job, with the file that the output becomes.
struct Ends {
  std::unique_ptr<AudioSource> source;
  std::unique_ptr<TargetFile> target;
  std::unique_ptr<AudioSink> sink;
};

Ends OpenEnds(const JobOptions& options) {
  Ends ends;
  SF_INFO info = {};
  SoundFileRemarks remarks;
  if (options.input == kStandardStream) {
    RefuseTerminal(STDIN_FILENO, "standard input");
    info.samplerate = options.rate;
    info.channels = options.channels;
    ends.source = std::make_unique<RawSource>(STDIN_FILENO, options.rate, options.channels);
  } else {
    auto reader = std::make_unique<SoundFileReader>(options.input);
    info = reader->Info();
    remarks = reader->Remarks();
    ends.source = std::move(reader);
  }
  if (options.output == kStandardStream) {
    RefuseTerminal(STDOUT_FILENO, "standard output");
    ends.sink = std::make_unique<RawSink>(STDOUT_FILENO, info.channels);
  } else {
    info.format = ChooseOutputFormat(options.output, info);
    ends.target = std::make_unique<TargetFile>(options.output);
    ends.sink =
        std::make_unique<SoundFileWriter>(*ends.target, info, remarks, ends.source->Shape().frames);
  }
  return ends;
}

// Spreads each block over the sink and all who keep a record of the repairs.
class BlockDistributor {
 public:
  BlockDistributor(const CleaningEnds& ends, bool keepLag, RunSummary& summary)
      : ends_(ends), keepLag_(keepLag), summary_(summary) {}

  void Distribute(const CleanedBlock& block) {
    const CleanedBlock aligned = block.FromFirstSample();
    const CleanedBlock& written = keepLag_ ? block : aligned;
    if (written.frameCount > 0) ends_.sink.Write(written.output, written.frameCount);
    ForEachRepair(aligned, [this](const Repair& repair) {
      ++summary_.repairs[static_cast<std::size_t>(repair.channel - 1)];
      if (ends_.list != nullptr) ends_.list->Add(repair);
    });
    if (ends_.plot != nullptr) ends_.plot->Add(aligned);
  }

 private:
  const CleaningEnds& ends_;
  const bool keepLag_;
  RunSummary& summary_;
};

}  // namespace

void CleanStream(const CleaningEnds& ends, const FilterSettings& settings, bool keepLag,
                 bool showsProgress, RunSummary& summary) {
  const auto start = std::chrono::steady_clock::now();
  const AudioShape& shape = ends.source.Shape();
  const std::size_t maxFrames = BlockFrames(shape.channels);
  summary.shape = shape;
  summary.repairs.assign(static_cast<std::size_t>(shape.channels), 0);

  StreamCleaner cleaner(shape.channels, shape.rate, settings, maxFrames);
  BlockDistributor distributor(ends, keepLag, summary);
  ProgressBar progress(shape.frames, shape.rate, showsProgress);
  std::vector<double> frames(maxFrames * static_cast<std::size_t>(shape.channels));
  while (const std::size_t count = ends.source.Read(frames.data(), maxFrames)) {
    ThrowIfStopped();
    distributor.Distribute(cleaner.Process(frames.data(), count));
    summary.frames += static_cast<int64_t>(count);
    progress.Update(summary.frames);
  }
  std::size_t lag = keepLag ? 0 : cleaner.Delay();
  while (lag > 0) {
    const std::size_t count = std::min(lag, maxFrames);
    distributor.Distribute(cleaner.ProcessSilence(count));
    lag -= count;
  }
  ends.source.CheckComplete();
  if (summary.frames == 0) throw Failure("the input is empty");
  summary.elapsedSeconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void RunJob(const JobOptions& options) {
  CheckTargets(options);
  const Ends ends = OpenEnds(options);
  const AudioShape& shape = ends.source->Shape();
  std::unique_ptr<RepairList> list;
  std::unique_ptr<RepairPlot> plot;
  if (!options.repairs.empty()) list = std::make_unique<RepairList>(options.repairs, shape.rate);
  if (!options.plot.empty()) {
    plot = std::make_unique<RepairPlot>(options.plot,
                                        options.input == kStandardStream
                                            ? "standard input"
                                            : fs::path(options.input).filename().string(),
                                        shape.rate, static_cast<std::size_t>(shape.channels));
  }

  RunSummary summary;
  summary.input = options.input == kStandardStream ? "standard input" : options.input;
  summary.output = options.output == kStandardStream ? "standard output" : options.output;
  CleanStream({*ends.source, *ends.sink, list.get(), plot.get()}, options.settings, options.keepLag,
              !options.isQuiet, summary);

  // Everything is complete before anything appears.
  summary.outputDescription = ends.sink->Description();
  ends.sink->Finish();
  if (ends.target) ends.target->Complete();
  if (list) list->Finish();
  if (plot) plot->Finish();
  ThrowIfStopped();
  if (list) list->Target().Publish();
  if (plot) plot->Target().Publish();
  if (ends.target) ends.target->Publish();
  if (!options.isQuiet) std::fputs(SummaryText(summary).c_str(), stderr);
}

}  // namespace zr::popclean
