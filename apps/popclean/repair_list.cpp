#include "apps/popclean/repair_list.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <nlohmann/json.hpp>

#include "apps/popclean/failure.h"

namespace zr::popclean {
namespace {

constexpr std::size_t kWrittenAtOnce = 1 << 16;

// The shortest decimal that reads back as the same number.
std::string Decimal(double value) {
  std::array<char, 64> text = {};
  const auto [end, error] =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
  return error == std::errc() ? std::string(text.data(), end) : std::to_string(value);
}

}  // namespace

void RepairList::CheckName(const std::string& path) {
  if (path.ends_with(".csv") || path.ends_with(".json")) return;
  throw Failure("the list of repairs " + Quoted(path) + " must end in .csv or .json");
}

RepairList::RepairList(const std::string& path, int rate)
    : target_(path), isJson_(path.ends_with(".json")), rate_(rate) {
  pending_ = isJson_ ? "[" : "channel,sample,time,before,after\n";
}

void RepairList::Add(const Repair& repair) {
  const double seconds = static_cast<double>(repair.sample) / rate_;
  if (isJson_) {
    AddJson(repair, seconds);
  } else {
    AddCsv(repair, seconds);
  }
  isFirst_ = false;
  if (pending_.size() < kWrittenAtOnce) return;
  target_.Write(pending_);
  pending_.clear();
}

void RepairList::AddCsv(const Repair& repair, double seconds) {
  pending_ += std::to_string(repair.channel) + ',' + std::to_string(repair.sample) + ',' +
              Decimal(seconds) + ',' + std::to_string(repair.before) + ',' +
              std::to_string(repair.after) + '\n';
}

void RepairList::AddJson(const Repair& repair, double seconds) {
  const nlohmann::ordered_json row = {{"channel", repair.channel},
                                      {"sample", repair.sample},
                                      {"time", seconds},
                                      {"before", repair.before},
                                      {"after", repair.after}};
  pending_ += isFirst_ ? "\n" : ",\n";
  pending_ += row.dump();
}

void RepairList::Finish() {
  if (isJson_) pending_ += isFirst_ ? "]\n" : "\n]\n";
  target_.Write(pending_);
  pending_.clear();
  target_.Complete();
}

}  // namespace zr::popclean
