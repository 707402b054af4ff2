#include "apps/popusb/report_text.h"

#include <cstdarg>
#include <cstdio>

#include "apps/popclean/counted.h"
#include "apps/popclean/summary.h"

namespace zr::popusb {
namespace {

using popclean::DurationText;

constexpr std::size_t kGapsTold = 20;

[[gnu::format(printf, 1, 2)]] std::string Line(const char* format, ...) {
  char line[256];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof(line), format, arguments);
  va_end(arguments);
  return line;
}

std::string Counted(uint64_t count, const char* thing) {
  return popclean::Counted(static_cast<int64_t>(count), thing);
}

std::string RatesText(const AudioFormat& format) {
  std::string text;
  for (const uint32_t rate : format.rates) {
    if (!text.empty()) text += format.isContinuous ? " to " : ", ";
    text += std::to_string(rate);
  }
  return text.empty() ? "no rate" : text + " Hz";
}

std::string SettingLine(const AudioSetting& setting) {
  std::string line = Line("  %9u %7u  0x%02X     %5u", unsigned{setting.interfaceNumber},
                          unsigned{setting.alternateSetting}, unsigned{setting.inputEndpoint},
                          unsigned{setting.packetSize});
  const AudioFormat& format = setting.format;
  if (format.bits == 0) return line + "  no PCM format\n";
  line += Line("  %u bits, ", unsigned{format.bits}) + Counted(format.channels, "channel") + ", " +
          RatesText(format);
  return line + (setting.DriverRate() == 0 ? "; unfiltered\n" : "\n");
}

std::string StreamText(const StreamReport& stream) {
  std::string text = "  stream " + stream.name + ": setting " +
                     std::to_string(stream.alternateSetting) + ", " +
                     DurationText(stream.SecondsOf(stream.audioBytes)) + ", " +
                     Counted(stream.transfers, "transfer");
  if (stream.failedTransfers > 0) {
    text += " (" + std::to_string(stream.failedTransfers) + " failed)";
  }
  text += ", " + Counted(stream.repairs, "repair") + "\n";
  if (!stream.remark.empty()) text += "    " + stream.remark + "\n";
  for (std::size_t i = 0; i < stream.gaps.size(); ++i) {
    if (i == kGapsTold) {
      text += "    and " + Counted(stream.gaps.size() - i, "more gap") + "\n";
      break;
    }
    text += "    gap at " + DurationText(stream.gaps[i].seconds) + ": " +
            Counted(stream.gaps[i].packets, "failed packet") + "\n";
  }
  return text;
}

std::string DeviceText(const DeviceReport& device) {
  std::string text = "bus " + std::to_string(device.address.bus) + ", device " +
                     std::to_string(device.address.device) + "\n";
  if (!device.settings.empty()) {
    text += "  interface setting  endpoint  packet  format\n";
    for (const AudioSetting& setting : device.settings)
      text += SettingLine(setting);
  }
  for (const std::string& remark : device.remarks)
    text += "  " + remark + "\n";
  if (device.unknownTransfers > 0) {
    text += "  " + Counted(device.unknownTransfers, "isochronous transfer") +
            " before the capture tells what they carry: record from before the device is plugged "
            "in, or read its descriptors while recording and name the setting with --setting\n";
  }
  for (const StreamReport& stream : device.streams)
    text += StreamText(stream);
  return text;
}

std::string StatisticsText(DeviceAddress address,
                           const std::map<ULONG, instrumentation::Statistic>& statistics) {
  if (statistics.empty()) return "";
  std::string text = "statistics of the driver, through bus " + std::to_string(address.bus) +
                     ", device " + std::to_string(address.device) + "\n";
  for (const auto& [id, statistic] : statistics) {
    text += Line("  %2u  %-28s", id, statistic.name.c_str());
    if (statistic.intervals > 0) {
      text += Line("  %llu times, %.3f ms\n", static_cast<unsigned long long>(statistic.intervals),
                   static_cast<double>(statistic.nanoseconds) * 1e-6);
    } else {
      text += Line("  %lld\n", static_cast<long long>(statistic.value));
    }
  }
  return text;
}

}  // namespace

std::string ReportText(const std::string& name, const CaptureReport& report) {
  const CaptureCounts& counts = report.counts;
  std::string text = name + ": " + report.recorder + ", " + Counted(counts.records, "record");
  if (counts.damaged > 0) text += ", " + std::to_string(counts.damaged) + " damaged";
  if (counts.snapped > 0) text += ", " + std::to_string(counts.snapped) + " recorded in part";
  text += "\n";
  if (!report.truncation.empty()) {
    text += "  it ends early (" + report.truncation + "); what is whole was used\n";
  }
  if (report.devices.empty()) text += "  no audio device in it\n";
  for (const DeviceReport& device : report.devices)
    text += DeviceText(device);
  for (const auto& [address, statistics] : report.statistics)
    text += StatisticsText(address, statistics);
  return text;
}

}  // namespace zr::popusb
