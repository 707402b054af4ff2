// The constants are those of the primitive's own call. Where VOLK has a kernel only for a part of
// the work, or for different rounding, it is still the mark to beat: its bits are not compared.
#include "bench/primitives/volk.h"

#include <volk/volk.h>

#include <cmath>
#include <unordered_map>

#include "bench/primitives/operands.h"

namespace zr::bench {
namespace {

const auto kConstant = static_cast<float>(ConstantFor("c"));
const lv_32fc_t kComplexConstant = {static_cast<float>(ConstantFor("cr")),
                                    static_cast<float>(ConstantFor("ci"))};
const auto kScale = static_cast<float>(std::exp2(-ConstantFor("scaleFactor")));

using V = VolkOperands;

// Made when it is first asked for, which is before main.
const std::unordered_map<std::string, VolkCall>& Calls() {
  static const std::unordered_map<std::string, VolkCall> calls = {
      {"ippsAdd_32f", [](const V& v) { volk_32f_x2_add_32f(v.d, v.a, v.b, v.n); }},
      {"ippsAdd_64f", [](const V& v) { volk_64f_x2_add_64f(v.d, v.a, v.b, v.n); }},
      {"ippsAdd_32fc", [](const V& v) { volk_32fc_x2_add_32fc(v.d, v.a, v.b, v.n); }},
      {"ippsAdd_32f_I", [](const V& v) { volk_32f_x2_add_32f(v.d, v.d, v.a, v.n); }},
      {"ippsAdd_64f_I", [](const V& v) { volk_64f_x2_add_64f(v.d, v.d, v.a, v.n); }},
      {"ippsAdd_32fc_I", [](const V& v) { volk_32fc_x2_add_32fc(v.d, v.d, v.a, v.n); }},
      {"ippsSub_32f", [](const V& v) { volk_32f_x2_subtract_32f(v.d, v.b, v.a, v.n); }},
      {"ippsSub_32f_I", [](const V& v) { volk_32f_x2_subtract_32f(v.d, v.d, v.a, v.n); }},
      {"ippsMul_32f", [](const V& v) { volk_32f_x2_multiply_32f(v.d, v.a, v.b, v.n); }},
      {"ippsMul_64f", [](const V& v) { volk_64f_x2_multiply_64f(v.d, v.a, v.b, v.n); }},
      {"ippsMul_32fc", [](const V& v) { volk_32fc_x2_multiply_32fc(v.d, v.a, v.b, v.n); }},
      {"ippsMul_32f_I", [](const V& v) { volk_32f_x2_multiply_32f(v.d, v.d, v.a, v.n); }},
      {"ippsMul_64f_I", [](const V& v) { volk_64f_x2_multiply_64f(v.d, v.d, v.a, v.n); }},
      {"ippsMul_32fc_I", [](const V& v) { volk_32fc_x2_multiply_32fc(v.d, v.d, v.a, v.n); }},
      {"ippsDiv_32f", [](const V& v) { volk_32f_x2_divide_32f(v.d, v.b, v.a, v.n); }},
      {"ippsDiv_32fc", [](const V& v) { volk_32fc_x2_divide_32fc(v.d, v.b, v.a, v.n); }},
      {"ippsDiv_32f_I", [](const V& v) { volk_32f_x2_divide_32f(v.d, v.d, v.a, v.n); }},
      {"ippsDiv_32fc_I", [](const V& v) { volk_32fc_x2_divide_32fc(v.d, v.d, v.a, v.n); }},
      {"ippsAddC_32f", [](const V& v) { volk_32f_s32f_add_32f(v.d, v.a, kConstant, v.n); }},
      {"ippsAddC_32f_I", [](const V& v) { volk_32f_s32f_add_32f(v.d, v.d, kConstant, v.n); }},
      {"ippsSubC_32f", [](const V& v) { volk_32f_s32f_add_32f(v.d, v.a, -kConstant, v.n); }},
      {"ippsSubC_32f_I", [](const V& v) { volk_32f_s32f_add_32f(v.d, v.d, -kConstant, v.n); }},
      {"ippsMulC_32f", [](const V& v) { volk_32f_s32f_multiply_32f(v.d, v.a, kConstant, v.n); }},
      {"ippsMulC_32f_I", [](const V& v) { volk_32f_s32f_multiply_32f(v.d, v.d, kConstant, v.n); }},
      {"ippsMulC_32fc",
       [](const V& v) { volk_32fc_s32fc_multiply_32fc(v.d, v.a, kComplexConstant, v.n); }},
      {"ippsMulC_32fc_I",
       [](const V& v) { volk_32fc_s32fc_multiply_32fc(v.d, v.d, kComplexConstant, v.n); }},
      {"ippsDivC_32f",
       [](const V& v) { volk_32f_s32f_multiply_32f(v.d, v.a, 1.0F / kConstant, v.n); }},
      {"ippsDivC_32f_I", [](const V& v) { volk_32f_s32f_normalize(v.d, kConstant, v.n); }},
      {"ippsDivC_32fc",
       [](const V& v) { volk_32fc_s32fc_multiply_32fc(v.d, v.a, 1.0F / kComplexConstant, v.n); }},
      {"ippsDivC_32fc_I",
       [](const V& v) { volk_32fc_s32fc_multiply_32fc(v.d, v.d, 1.0F / kComplexConstant, v.n); }},

      {"ippsSum_32f", [](const V& v) { volk_32f_accumulator_s32f(v.result, v.a, v.n); }},
      {"ippsStdDev_32f",
       [](const V& v) { volk_32f_stddev_and_mean_32f_x2(v.result, v.index, v.a, v.n); }},
      {"ippsDotProd_32f", [](const V& v) { volk_32f_x2_dot_prod_32f(v.result, v.a, v.b, v.n); }},
      {"ippsMaxIndx_32f", [](const V& v) { volk_32f_index_max_32u(v.index, v.a, v.n); }},
      {"ippsMinIndx_32f", [](const V& v) { volk_32f_index_min_32u(v.index, v.a, v.n); }},

      {"ippsConvert_16s32f", [](const V& v) { volk_16i_s32f_convert_32f(v.d, v.a, 1.0F, v.n); }},
      {"ippsConvert_16s32f_Sfs",
       [](const V& v) { volk_16i_s32f_convert_32f(v.d, v.a, 1.0F / kScale, v.n); }},
      {"ippsConvert_32s32f", [](const V& v) { volk_32i_s32f_convert_32f(v.d, v.a, 1.0F, v.n); }},
      {"ippsConvert_64f32f", [](const V& v) { volk_64f_convert_32f(v.d, v.a, v.n); }},
      {"ippsConvert_32f16s_Sfs",
       [](const V& v) { volk_32f_s32f_convert_16i(v.d, v.a, kScale, v.n); }},
      {"ippsConvert_32f32s_Sfs",
       [](const V& v) { volk_32f_s32f_convert_32i(v.d, v.a, kScale, v.n); }},
      {"ippsRealToCplx_32f", [](const V& v) { volk_32f_x2_interleave_32fc(v.d, v.a, v.b, v.n); }},
      {"ippsReal_32fc", [](const V& v) { volk_32fc_deinterleave_real_32f(v.d, v.a, v.n); }},
      {"ippsImag_32fc", [](const V& v) { volk_32fc_deinterleave_imag_32f(v.d, v.a, v.n); }},
      {"ippsConj_32fc", [](const V& v) { volk_32fc_conjugate_32fc(v.d, v.a, v.n); }},
      {"ippsSwapBytes_16u_I", [](const V& v) { volk_16u_byteswap(v.d, v.n); }},
  };
  return calls;
}

}  // namespace

VolkCall VolkCallFor(const std::string& primitive) {
  const auto call = Calls().find(primitive);
  return call == Calls().end() ? nullptr : call->second;
}

}  // namespace zr::bench
