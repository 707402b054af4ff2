#include "apps/popclean/repair_plot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <utility>
#include <vector>

#include "apps/popclean/counted.h"
#include "apps/popclean/failure.h"
#include "apps/popclean/gnuplot.h"

namespace zr::popclean {
namespace {

// The page, in pixels from the top.
constexpr int kWidth = 1400;
constexpr int kLeft = 95;
constexpr int kRight = 25;
constexpr int kTitleHeight = 80;
constexpr int kPanelHeight = 150;
constexpr int kPanelGap = 18;
constexpr int kTimeAxisHeight = 60;
constexpr int kCloseUpTitleHeight = 65;
constexpr int kCloseUpHeight = 200;
constexpr int kCloseUpGap = 95;
constexpr std::size_t kCloseUpColumns = 3;
constexpr int kColumnGap = 85;

constexpr const char* kStyles = R"(
set border 3 lw 0.8 lc rgb '#707070'
set tics nomirror out scale 0.5 tc rgb '#404040'
set grid lw 0.5 lc rgb '#e4e4e4'
set style fill solid 1.0 noborder
set style line 1 lc rgb '#a3aab4' lw 1
set style line 2 lc rgb '#2c6aa8' lw 1.2
set style line 3 lc rgb '#c4392d' lw 1 pt 11 ps 0.9
set style line 4 lc rgb '#d98b84' lw 1.4 pt 7 ps 0.5
set style line 5 lc rgb '#2c6aa8' lw 1.6 pt 7 ps 0.5
unset key
)";

[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...) {
  std::array<char, 512> text = {};
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  return text.data();
}

// Collects a script for a page of which the height is known.
class Page {
 public:
  explicit Page(int height) : height_(height) {}

  void Append(const std::string& text) { script_ += text; }

  void SetMargins(int left, int right, int top, int bottom) {
    script_ += Format("set lmargin at screen %.5f\nset rmargin at screen %.5f\n", Across(left),
                      Across(right));
    script_ +=
        Format("set tmargin at screen %.5f\nset bmargin at screen %.5f\n", Up(top), Up(bottom));
  }

  void AddText(const std::string& text, int x, int y, int size) {
    script_ += "set label " + GnuplotString(text) +
               Format(" at screen %.5f, %.5f noenhanced font ',%d' tc rgb '#202020'\n", Across(x),
                      Up(y), size);
  }

  void PlaceKey(int y) {
    script_ += Format("set key at screen %.5f, %.5f right top horizontal samplen 2\n",
                      Across(kWidth - kRight), Up(y));
  }

  const std::string& Script() const { return script_; }

 private:
  static double Across(int x) { return static_cast<double>(x) / kWidth; }
  double Up(int y) const { return 1.0 - static_cast<double>(y) / height_; }

  const int height_;
  std::string script_;
};

// A round number at or above the largest sample, for an axis that all channels share.
int AxisEnd(const WaveformEnvelope& envelope) {
  int largest = 1;
  for (std::size_t channel = 0; channel < envelope.Channels(); ++channel) {
    for (const WaveformEnvelope::Bin& bin : envelope.Bins(channel)) {
      largest = std::max({largest, std::abs(int{bin.beforeLow}), std::abs(int{bin.beforeHigh}),
                          std::abs(int{bin.afterLow}), std::abs(int{bin.afterHigh})});
    }
  }
  const double step = std::pow(10.0, std::floor(std::log10(largest))) / 2.0;
  return static_cast<int>(std::ceil(largest / step) * step) + 1;
}

std::string EnvelopeData(const WaveformEnvelope& envelope, std::size_t channel, int rate) {
  std::string data = Format("$wave%zu << EOD\n", channel);
  int64_t first = 0;
  for (const WaveformEnvelope::Bin& bin : envelope.Bins(channel)) {
    const int64_t width = std::min(envelope.BinWidth(), envelope.SampleCount() - first);
    const double middle = static_cast<double>(first) + static_cast<double>(width - 1) / 2.0;
    data += Format("%.9g %d %d %d %d %d\n", middle / rate, bin.beforeLow, bin.beforeHigh,
                   bin.afterLow, bin.afterHigh, bin.isRepaired ? 1 : 0);
    first += envelope.BinWidth();
  }
  return data + "EOD\n";
}

std::string CloseUpData(const CloseUp& closeUp, std::size_t index, int rate) {
  std::string data = Format("$close%zu << EOD\n", index);
  for (std::size_t i = 0; i < closeUp.before.size(); ++i) {
    const int64_t offset = closeUp.firstSample + static_cast<int64_t>(i) - closeUp.repair.sample;
    data += Format("%.9g %d %d\n", 1000.0 * static_cast<double>(offset) / rate, closeUp.before[i],
                   closeUp.after[i]);
  }
  return data + "EOD\n";
}

void AddWaveformPanel(Page& page, std::size_t channel, bool isLast, int axisEnd) {
  page.Append(Format("set ylabel 'channel %zu' offset 1\n", channel + 1));
  page.Append(Format("set yrange [-%d:%d]\n", axisEnd, axisEnd));
  page.Append(isLast ? "set format x '%g'\nset xlabel 'time in seconds'\n"
                     : "set format x ''\nunset xlabel\n");
  // The border line keeps an extent of no height visible.
  for (const char* series :
       {"1:2:3 with filledcurves ls 1 notitle", "1:2 with lines ls 1 notitle",
        "1:3 with lines ls 1 title 'before'", "1:4:5 with filledcurves ls 2 notitle",
        "1:4 with lines ls 2 notitle", "1:5 with lines ls 2 title 'after'"}) {
    page.Append(series[0] == '1' && series[2] == '2' && series[4] == '3' ? "plot " : ", ");
    page.Append(Format("$wave%zu using %s", channel, series));
  }
  page.Append(
      Format(", $wave%zu using ($6 > 0 ? $1 : NaN):(%.1f) with points ls 3 title "
             "'repaired here'\n",
             channel, 0.93 * axisEnd));
  page.Append("unset key\nunset label\n");
}

void AddCloseUpPanel(Page& page, const CloseUp& closeUp, std::size_t index, int rate) {
  const double seconds = static_cast<double>(closeUp.repair.sample) / rate;
  page.Append(
      Format("set title 'channel %d, %.6f s' offset 0,-0.6\n", closeUp.repair.channel, seconds));
  page.Append(index % kCloseUpColumns == 0 ? "set ylabel 'sample value' offset 1\n"
                                           : "unset ylabel\n");
  page.Append(Format("plot $close%zu using 1:2 with linespoints ls 4 title 'before'", index));
  page.Append(Format(", $close%zu using 1:3 with linespoints ls 5 title 'after'\n", index));
  page.Append("unset key\nunset label\n");
}

}  // namespace

void RepairPlot::CheckName(const std::string& path) {
  if (path.ends_with(".svg") || path.ends_with(".png")) return;
  throw Failure("the plot " + Quoted(path) + " must end in .svg or .png");
}

RepairPlot::RepairPlot(const std::string& path, std::string title, int rate, std::size_t channels)
    : target_(path),
      isSvg_(path.ends_with(".svg")),
      title_(std::move(title)),
      rate_(rate),
      channels_(channels),
      envelope_(channels),
      closeUps_(channels) {
  CheckGnuplot();
}

void RepairPlot::Add(const CleanedBlock& block) {
  ForEachRepair(block, [this](const Repair&) { ++repairs_; });
  envelope_.Add(block);
  closeUps_.Add(block);
}

void RepairPlot::Finish() {
  RunGnuplot(Script(), target_.Descriptor());
  target_.Complete();
}

std::string RepairPlot::Script() const {
  const std::vector<CloseUp> closeUps = closeUps_.Sorted();
  const auto panels = static_cast<int>(envelope_.Channels());
  const auto rows = static_cast<int>((closeUps.size() + kCloseUpColumns - 1) / kCloseUpColumns);
  const int waveformBottom = kTitleHeight + panels * kPanelHeight + (panels - 1) * kPanelGap;
  const int closeUpTop = waveformBottom + kTimeAxisHeight + kCloseUpTitleHeight;
  const int height = rows == 0 ? waveformBottom + kTimeAxisHeight
                               : closeUpTop + rows * (kCloseUpHeight + kCloseUpGap) -
                                     (kCloseUpGap - kTimeAxisHeight);

  Page page(height);
  page.Append(isSvg_ ? "set terminal svg" : "set terminal pngcairo");
  page.Append(Format(" size %d,%d background rgb 'white' font 'Sans,11'\n", kWidth, height));
  page.Append(kStyles);
  for (std::size_t channel = 0; channel < envelope_.Channels(); ++channel) {
    page.Append(EnvelopeData(envelope_, channel, rate_));
  }
  for (std::size_t i = 0; i < closeUps.size(); ++i) {
    page.Append(CloseUpData(closeUps[i], i, rate_));
  }
  page.Append("set multiplot\n");

  const double duration =
      static_cast<double>(std::max<int64_t>(envelope_.SampleCount(), 1)) / rate_;
  std::string title = title_ + ": " + Counted(repairs_, "repair") + Format(" in %.6g s", duration);
  if (envelope_.Channels() < channels_) {
    title += Format(" (channels 1 to %zu of %zu shown)", envelope_.Channels(), channels_);
  }
  page.AddText(title, kLeft, 28, 14);
  page.AddText("Sample values in 16-bit units", kLeft, 56, 11);
  page.PlaceKey(46);
  page.Append(Format("set xrange [0:%.9g]\n", duration));
  const int axisEnd = AxisEnd(envelope_);
  for (int panel = 0; panel < panels; ++panel) {
    const int top = kTitleHeight + panel * (kPanelHeight + kPanelGap);
    page.SetMargins(kLeft, kWidth - kRight, top, top + kPanelHeight);
    AddWaveformPanel(page, static_cast<std::size_t>(panel), panel + 1 == panels, axisEnd);
  }

  if (rows > 0) {
    page.AddText("The largest repairs", kLeft, waveformBottom + kTimeAxisHeight + 20, 14);
    page.PlaceKey(waveformBottom + kTimeAxisHeight + 10);
    page.Append(
        "set xrange [*:*]\nset yrange [*:*]\nset format x '%g'\n"
        "set xlabel 'milliseconds from the repair'\n");
  }
  constexpr auto kColumns = static_cast<int>(kCloseUpColumns);
  constexpr int kColumnWidth = (kWidth - kLeft - kRight - (kColumns - 1) * kColumnGap) / kColumns;
  for (std::size_t i = 0; i < closeUps.size(); ++i) {
    const int left = kLeft + static_cast<int>(i) % kColumns * (kColumnWidth + kColumnGap);
    const int top = closeUpTop + static_cast<int>(i) / kColumns * (kCloseUpHeight + kCloseUpGap);
    page.SetMargins(left, left + kColumnWidth, top, top + kCloseUpHeight);
    AddCloseUpPanel(page, closeUps[i], i, rate_);
  }
  page.Append("unset multiplot\n");
  return page.Script();
}

}  // namespace zr::popclean
