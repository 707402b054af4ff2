#include "apps/popclean/filter_bank.h"

#include <string>

#include "apps/popclean/failure.h"

namespace zr::popclean {

FilterBank::FilterBank(int channels, int rate, const FilterSettings& settings,
                       std::size_t maxFrames)
    : channelBlock_(maxFrames) {
  records_.reserve(static_cast<std::size_t>(channels));
  for (int channel = 0; channel < channels; ++channel) {
    records_.push_back(MakeRecord(rate, settings));
  }
}

FilterBank::Record FilterBank::MakeRecord(int rate, const FilterSettings& settings) {
  POPSState* state = nullptr;
  const int32_t created = POPSCreate(&state);
  Record record(state);
  if (created != POPS_OK) throw Failure("there is not enough memory for the filter");

  // A rate that the record does not know is refused without harm.
  POPSSetParameter(state, POPS_ID_RATE, static_cast<uint32_t>(rate));
  for (std::size_t i = 0; i < kFilterParameters.size(); ++i) {
    const FilterParameter& parameter = kFilterParameters[i];
    const int32_t status = POPSSetParameter(state, parameter.id, settings.values[i]);
    if (status == POPS_ERR_NOMEM) throw Failure("there is not enough memory for the filter");
    if (status != POPS_OK) {
      throw Failure("the filter refuses " + std::to_string(settings.values[i]) + " for " +
                    parameter.name);
    }
  }
  return record;
}

void FilterBank::Process(int16_t* frames, std::size_t frameCount) {
  const auto count = static_cast<int32_t>(frameCount);
  if (records_.size() == 1) {
    POPSProcess(records_.front().get(), count, frames);
    return;
  }
  const std::size_t channels = records_.size();
  for (std::size_t channel = 0; channel < channels; ++channel) {
    for (std::size_t i = 0; i < frameCount; ++i) {
      channelBlock_[i] = frames[i * channels + channel];
    }
    POPSProcess(records_[channel].get(), count, channelBlock_.data());
    for (std::size_t i = 0; i < frameCount; ++i) {
      frames[i * channels + channel] = channelBlock_[i];
    }
  }
}

}  // namespace zr::popclean
