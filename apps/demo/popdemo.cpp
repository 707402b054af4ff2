// popdemo: makes recordings with clicks at known places, and scores what popclean made of them.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "apps/demo/clicks.h"
#include "apps/demo/recording.h"
#include "apps/demo/score.h"

namespace fs = std::filesystem;

namespace {

using zr::demo::Recording;

fs::path FileOf(const fs::path& folder, const std::string& name, const std::string& suffix) {
  return folder / (name + suffix);
}

std::ifstream OpenToRead(const fs::path& path) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error(path.string() + ": cannot be read");
  return file;
}

// The spoken names of the loudspeakers, in the order of the alphabet. Noise.wav is no speech.
std::vector<fs::path> LoudspeakerNames(const fs::path& folder) {
  std::vector<fs::path> paths;
  if (fs::is_directory(folder)) {
    for (const auto& entry : fs::directory_iterator(folder)) {
      const fs::path& path = entry.path();
      if (path.extension() == ".wav" && path.filename() != "Noise.wav") paths.push_back(path);
    }
  }
  if (paths.empty()) {
    throw std::runtime_error(folder.string() + ": no recordings; the package alsa-utils has them");
  }
  std::ranges::sort(paths);
  return paths;
}

void WriteMaterial(const fs::path& folder, const std::string& source, const Recording& clean,
                   uint32_t seed) {
  const std::string name = source + "-" + std::to_string(clean.sampleRate);
  Recording clicked = clean;
  const auto clicks = zr::demo::InsertClicks(clicked.samples, clicked.sampleRate, seed);
  zr::demo::WriteWav(FileOf(folder, name, ".clean.wav"), clean);
  zr::demo::WriteWav(FileOf(folder, name, ".clicked.wav"), clicked);
  zr::demo::WritePcm(FileOf(folder, name, ".clean.pcm"), clean.samples);
  zr::demo::WritePcm(FileOf(folder, name, ".clicked.pcm"), clicked.samples);
  const fs::path truth = FileOf(folder, name, ".truth.csv");
  std::ofstream file(truth);
  zr::demo::WriteTruth(file, clicks);
  file.close();
  if (!file) throw std::runtime_error(truth.string() + ": cannot be written");
  std::cout << name << '\n';
}

void PrintScoreOf(const fs::path& folder, const std::string& name) {
  const Recording clean = zr::demo::ReadWav(FileOf(folder, name, ".clean.wav"));
  const Recording clicked = zr::demo::ReadWav(FileOf(folder, name, ".clicked.wav"));
  const Recording cleaned = zr::demo::ReadWav(FileOf(folder, name, ".cleaned.wav"));
  auto truthFile = OpenToRead(FileOf(folder, name, ".truth.csv"));
  auto repairsFile = OpenToRead(FileOf(folder, name, ".clicked.repairs.csv"));
  auto cleanRepairsFile = OpenToRead(FileOf(folder, name, ".clean.repairs.csv"));
  auto summaryFile = OpenToRead(FileOf(folder, name, ".clicked.summary.txt"));
  const auto clicks = zr::demo::ReadTruth(truthFile);
  const auto repairs = zr::demo::ReadRepairs(repairsFile);
  const auto cleanRepairs = zr::demo::ReadRepairs(cleanRepairsFile);
  const std::string summary{std::istreambuf_iterator<char>(summaryFile), {}};
  const auto score = zr::demo::ScoreRuns({.clean = clean.samples,
                                          .clicked = clicked.samples,
                                          .cleaned = cleaned.samples,
                                          .clicks = clicks,
                                          .repairs = repairs,
                                          .cleanRepairs = cleanRepairs});
  const auto speed = zr::demo::FindSpeed(summary);
  std::cout << name << ": " << std::fixed << std::setprecision(1)
            << static_cast<double>(clean.samples.size()) / clean.sampleRate << " s of speech, ";
  if (speed) {
    std::cout << "filtered at " << std::setprecision(0) << *speed << " times real time\n";
  } else {
    std::cout << "speed unknown\n";
  }
  zr::demo::PrintScore(std::cout, score);
}

int Run(int argc, char** argv) {
  CLI::App app{"Lays clicks at known places into speech, and scores their repair."};
  app.require_subcommand(1);

  fs::path folder;
  std::vector<fs::path> speech;
  fs::path recordings = "/usr/share/sounds/alsa";
  uint32_t seed = 1;
  auto* material = app.add_subcommand("material", "Write clean and clicked recordings");
  material->add_option("OUTDIR", folder, "Folder to write to")->required();
  material->add_option("--recordings", recordings, "Folder of recorded speech, 16-bit mono WAV")
      ->capture_default_str();
  material->add_option("--speech", speech,
                       "More speech, 16-bit mono WAV; the file names the recording");
  material->add_option("--seed", seed, "Where the clicks lie and what they are")
      ->capture_default_str();

  std::vector<std::string> names;
  auto* score = app.add_subcommand("score", "Print a table for each recording");
  score->add_option("FOLDER", folder, "Folder of the material and of popclean's results")
      ->required();
  score->add_option("NAME", names, "Recordings, as material named them")->required();

  CLI11_PARSE(app, argc, argv);

  if (material->parsed()) {
    fs::create_directories(folder);
    WriteMaterial(folder, "alsa", zr::demo::Concatenate(LoudspeakerNames(recordings)), seed);
    for (const fs::path& path : speech) {
      WriteMaterial(folder, path.stem().string(), zr::demo::ReadWav(path), seed);
    }
  } else {
    for (const std::string& name : names) {
      PrintScoreOf(folder, name);
      std::cout << '\n';
    }
    std::cout
        << "A click is repaired when all its samples were. dB: mean energy of the error at the\n"
           "samples that the clicks moved, or over the whole recording, against the clean one;\n"
           "0 dB is an error of full scale at every sample.\n";
  }
  return std::cout.flush() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    std::cerr << "popdemo: " << error.what() << '\n';
    return 1;
  }
}
