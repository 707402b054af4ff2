// The pop filter: finds short clicks in 16-bit mono PCM and replaces them by what an adaptive
// linear predictor expected there. Plain functions over one record; no platform, no locks, no
// globals.
//
//   POPSState* filter = nullptr;
//   if (POPSCreate(&filter) == POPS_OK) POPSProcess(filter, sampleCount, samples);  // in place
//   POPSDestroy(filter);
//
// One call at a time on a record is the caller's duty; two records are independent. All arithmetic
// assumes round to nearest, and on the x87 a precision of 53 bits.
#pragma once

#include <cstdint>

/// Status codes of the filter.
enum : int32_t {
  POPS_OK = 0,
  POPS_ERR_PARAM = 1,     ///< Unknown parameter id, illegal value, wrong size.
  POPS_ERR_NOSTATE = 2,   ///< The record pointer is null.
  POPS_ERR_NOTREADY = 3,  ///< The record has lost its buffers; a length must be written first.
  POPS_ERR_NOMEM = 8,     ///< An allocation failed.
  POPS_ERR_NULLARG = 11,  ///< A required buffer or size is null or 0.
};

/// Numbered parameters. All can be read; those from POPS_ID_BITS on can be written. Values are
/// 32-bit integers; the "thousandths" are signed.
enum : uint32_t {
  POPS_ID_CONST0 = 0,    ///< Always 1.
  POPS_ID_CONST1 = 1,    ///< Always 1.
  POPS_ID_BITS = 2,      ///< Bits of a sample; only 16 is legal.
  POPS_ID_RATE = 3,      ///< Hertz: 8000, 11025, 16000, 22050, 44100 or 48000. Changes no result.
  POPS_ID_OPTION = 4,    ///< Only 0 is legal.
  POPS_ID_CHANNELS = 5,  ///< Only 1 is legal.
  POPS_ID_FLUSH = 6,     ///< Reads 0; a write of 1 clears the four oldest samples of the history.
  POPS_ID_STEP = 7,      ///< Thousandths: step size of the predictor's update.
  POPS_ID_CEILING = 8,   ///< Thousandths of full scale: an error above it is always loud enough.
  POPS_ID_FLOOR = 9,     ///< Thousandths of full scale: fixed part of the error threshold.
  POPS_ID_SLOPE = 10,    ///< Thousandths: share of the local deviation in the error threshold.
  POPS_ID_ORDER = 11,    ///< Predictor taps, from 2. A write drops coefficients and history, and
                         ///< with it the samples that wait for output: zeros go out instead.
  POPS_ID_SETTLE = 12,   ///< Training samples before detection, from 1; with the order it must
                         ///< fit 32 bits. Acts on the next refill, not on a count that runs.
  POPS_ID_DELAY = 13,    ///< Look-ahead and latency in samples, from 2. A write drops
                         ///< what one of the order does.
  POPS_ID_MODE = 14,     ///< Which shape tests narrow a detection: see POPSProcess.
};

/// Phases of the state machine in POPSProcess.
enum : uint32_t {
  POPS_PHASE_REFILL = 0,  ///< After creation or a restart: the predictor's input fills up.
  POPS_PHASE_TRAIN = 1,   ///< The predictor learns; nothing is judged.
  POPS_PHASE_WATCH = 2,   ///< Every sample is judged, the predictor learns from the good ones.
  POPS_PHASE_HOLD = 3,    ///< After a lone repair: as refill, with the coefficients kept.
};

/// The record of one mono stream. Owned buffers; read it freely, change it through parameters.
struct POPSState {
  uint32_t ulSampleRate;      ///< Stored and read back only.
  uint32_t ulOption;          ///< Stored and read back only.
  uint32_t ulBytesPerSample;  ///< Always 2.
  int16_t* psHistory;         ///< The last ulOrder + ulDelay samples before the current block.
  int16_t* psTail;            ///< ulDelay samples: scratch for the end of a block.
  uint32_t ulChannels;        ///< Always 1.
  uint32_t ulOrder;           ///< Predictor taps.
  uint32_t ulSettle;          ///< Training samples before detection.
  uint32_t ulDelay;           ///< Look-ahead, which is also the latency.
  uint32_t ulPhase;           ///< One of POPS_PHASE_...
  uint32_t ulCount;           ///< Samples left in a phase; in POPS_PHASE_WATCH, repairs in a row.
  float* pfCoefs;             ///< ulOrder predictor coefficients.
  float* pfAnalysis;          ///< ulOrder + ulDelay values: scratch for one sample.
  float fEnergy;              ///< Running energy of the predictor's input.
  float fStep;                ///< See POPS_ID_STEP.
  float fCeiling;             ///< See POPS_ID_CEILING.
  float fFloor;               ///< See POPS_ID_FLOOR.
  float fSlope;               ///< See POPS_ID_SLOPE.
  uint32_t ulDetectMode;      ///< See POPS_ID_MODE.
};

static_assert(sizeof(void*) != 4 || sizeof(POPSState) == 76);

/// Makes a record with the default parameters, silent history and zero coefficients.
/// Returns POPS_ERR_PARAM if state is null, POPS_ERR_NOMEM if an allocation fails. When a buffer
/// could not be had, *state still holds a record that must go to POPSDestroy; when the record
/// itself could not, *state is null.
int32_t POPSCreate(POPSState** state);

/// Frees a record and its buffers, complete or not.
/// Returns POPS_ERR_NOSTATE if state is null.
int32_t POPSDestroy(POPSState* state);

/// Reads a parameter into *value, which is not tested for null.
/// Returns POPS_ERR_NOSTATE if state is null, POPS_ERR_PARAM if the id is unknown.
int32_t POPSGetParameter(const POPSState* state, uint32_t id, uint32_t* value);

/// Writes a parameter; it acts from the next sample on, as its id says, and restarts nothing.
/// Returns POPS_ERR_NOSTATE if state is null; POPS_ERR_PARAM, with nothing changed, if the id
/// cannot be written or the value is illegal for it; POPS_ERR_NOMEM if a new length leaves the
/// record without buffers: the length stands, and the record is unfit to run until a later write
/// succeeds.
int32_t POPSSetParameter(POPSState* state, uint32_t id, uint32_t value);

/// The same through untyped memory: *value is 4 bytes long at any alignment, *size must be 4.
/// Returns POPS_ERR_NOSTATE if state is null, POPS_ERR_PARAM if value or size is null or the size
/// is not 4, then as above.
int32_t POPSGetParameterBlock(const POPSState* state, uint32_t id, void* value,
                              const uint32_t* size);
int32_t POPSSetParameterBlock(POPSState* state, uint32_t id, const void* value, uint32_t size);

/// Filters inputBytes / 2 samples at input, aligned for int16_t, in place, then copies what fits to
/// output where that is another buffer; a last odd byte is copied but not filtered. pin and
/// reserved are not read. Returns POPS_ERR_NOSTATE if state is null; POPS_OK with nothing done if
/// output is null; POPS_ERR_PARAM if input is null; POPS_ERR_NOTREADY with no data touched if the
/// record has lost its buffers. Allocates nothing.
int32_t POPSProcessBuffer(POPSState* state, uint32_t pin, void* input, uint32_t inputBytes,
                          void* output, uint32_t outputBytes, uint32_t reserved);

/// Filters sampleCount samples in place. The result is the input delayed by ulDelay samples;
/// samples that are not repaired pass bit for bit. It does not depend on how the stream is cut into
/// calls, provided that ulSettle is not raised while the filter refills.
///
/// After creation, ulOrder samples fill the predictor's input and ulSettle train it. Then each
/// sample t is held against its prediction p (normalised least mean squares, ulOrder taps) and
/// repaired, which is to say replaced by p, when
///   |t - p| > m fSlope + fFloor, m being the larger standard deviation of the samples around t,
///   or |t - p| > fCeiling;
/// ulDetectMode 1 and 3 demand besides that t lies farther from zero than p, on the same side or
/// beyond; 2 and 3 that t stands off the line through its neighbours by more than fFloor, or that
/// these lie more than 0.4 apart. Any other mode demands nothing besides.
/// After a lone repair the filter refills and trains with its coefficients kept. The second repair
/// in a row clears them, so at most two samples in a row are repaired.
///
/// Two safeguards keep it alive through hours: an energy that rounding has eaten is taken anew from
/// the input, and a prediction that is not finite starts the filter over.
///
/// Does nothing for a null record, a record without buffers, a count below 1 or null samples.
void POPSProcess(POPSState* state, int32_t sampleCount, int16_t* samples);
