// Arithmetic on vectors of floats, element by element, for i in [0, n).
//
// a and b are sources, d is a destination, s a source that is overwritten by the result, n the
// number of elements; a complex element counts as one. c is a real constant, cr and ci the parts of
// a complex one. A difference has its subtrahend first, a quotient its divisor.
//
// d may be a or b; partial overlap is not supported. A refused call writes nothing. Where nothing
// else is said, a primitive returns -8 if a pointer is null, then -6 if n < 1, else 0. Each result
// is rounded once to its type; of a NaN that an operation makes, sign and payload are not told.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// d = a + b; in place s = s + a. The complex forms test n first (-6), then the pointers (-8).
int32_t ippsAdd_32f(const float* a, const float* b, float* d, int32_t n);
int32_t ippsAdd_64f(const double* a, const double* b, double* d, int32_t n);
int32_t ippsAdd_32fc(const Complex32f* a, const Complex32f* b, Complex32f* d, int32_t n);
int32_t ippsAdd_64fc(const Complex64f* a, const Complex64f* b, Complex64f* d, int32_t n);
int32_t ippsAdd_32f_I(const float* a, float* s, int32_t n);
int32_t ippsAdd_64f_I(const double* a, double* s, int32_t n);
int32_t ippsAdd_32fc_I(const Complex32f* a, Complex32f* s, int32_t n);
int32_t ippsAdd_64fc_I(const Complex64f* a, Complex64f* s, int32_t n);

/// d = b - a; in place s = s - a. The complex forms test n first (-6), then the pointers (-8).
int32_t ippsSub_32f(const float* a, const float* b, float* d, int32_t n);
int32_t ippsSub_64f(const double* a, const double* b, double* d, int32_t n);
int32_t ippsSub_32fc(const Complex32f* a, const Complex32f* b, Complex32f* d, int32_t n);
int32_t ippsSub_64fc(const Complex64f* a, const Complex64f* b, Complex64f* d, int32_t n);
int32_t ippsSub_32f_I(const float* a, float* s, int32_t n);
int32_t ippsSub_64f_I(const double* a, double* s, int32_t n);
int32_t ippsSub_32fc_I(const Complex32f* a, Complex32f* s, int32_t n);

/// d = a * b; in place s = s * a. Complex: re = ar br - ai bi and im = ar bi + ai br, for floats
/// with both products and their sum in double precision.
int32_t ippsMul_32f(const float* a, const float* b, float* d, int32_t n);
int32_t ippsMul_64f(const double* a, const double* b, double* d, int32_t n);
int32_t ippsMul_32fc(const Complex32f* a, const Complex32f* b, Complex32f* d, int32_t n);
int32_t ippsMul_64fc(const Complex64f* a, const Complex64f* b, Complex64f* d, int32_t n);
int32_t ippsMul_32f_I(const float* a, float* s, int32_t n);
int32_t ippsMul_64f_I(const double* a, double* s, int32_t n);
int32_t ippsMul_32fc_I(const Complex32f* a, Complex32f* s, int32_t n);

/// d = a * b, the exact integer product. d overlaps neither, as its elements are wider.
int32_t ippsMul_16s32f(const int16_t* a, const int16_t* b, float* d, int32_t n);

/// s = s + a * b. Floats: the product is exact, the sum is rounded to double precision and then to
/// single. Doubles: product and sum are rounded.
int32_t ippsAddProduct_32f(const float* a, const float* b, float* s, int32_t n);
int32_t ippsAddProduct_64f(const double* a, const double* b, double* s, int32_t n);

/// d = b / a; in place s = s / a. Where a is 0, of either sign: plus infinity if b > 0, minus
/// infinity if b < 0, else the NaN 0xffc00000 or 0xfff8000000000000. Complex: by the product with
/// the conjugate and 1 / (ar ar + ai ai) in double precision; where both parts of a are 0, that NaN
/// in both parts. Returns 6 if a divisor was 0.
int32_t ippsDiv_32f(const float* a, const float* b, float* d, int32_t n);
int32_t ippsDiv_64f(const double* a, const double* b, double* d, int32_t n);
int32_t ippsDiv_32fc(const Complex32f* a, const Complex32f* b, Complex32f* d, int32_t n);
int32_t ippsDiv_32f_I(const float* a, float* s, int32_t n);
int32_t ippsDiv_64f_I(const double* a, double* s, int32_t n);
int32_t ippsDiv_32fc_I(const Complex32f* a, Complex32f* s, int32_t n);

/// d = a + c; in place s = s + c. A real c of 0 or a NaN copies a bit by bit, or leaves s alone.
int32_t ippsAddC_32f(const float* a, float c, float* d, int32_t n);
int32_t ippsAddC_32fc(const Complex32f* a, float cr, float ci, Complex32f* d, int32_t n);
int32_t ippsAddC_32f_I(float c, float* s, int32_t n);
int32_t ippsAddC_64f_I(double c, double* s, int32_t n);
int32_t ippsAddC_32fc_I(float cr, float ci, Complex32f* s, int32_t n);

/// d = a - c; in place s = s - c. A real c of 0 or a NaN copies a bit by bit, or leaves s alone.
int32_t ippsSubC_32f(const float* a, float c, float* d, int32_t n);
int32_t ippsSubC_32fc(const Complex32f* a, float cr, float ci, Complex32f* d, int32_t n);
int32_t ippsSubC_32f_I(float c, float* s, int32_t n);
int32_t ippsSubC_32fc_I(float cr, float ci, Complex32f* s, int32_t n);

/// d = c - a; in place s = c - s.
int32_t ippsSubCRev_32f(const float* a, float c, float* d, int32_t n);
int32_t ippsSubCRev_64f(const double* a, double c, double* d, int32_t n);
int32_t ippsSubCRev_32fc(const Complex32f* a, float cr, float ci, Complex32f* d, int32_t n);
int32_t ippsSubCRev_32f_I(float c, float* s, int32_t n);
int32_t ippsSubCRev_64f_I(double c, double* s, int32_t n);
int32_t ippsSubCRev_32fc_I(float cr, float ci, Complex32f* s, int32_t n);

/// d = a * c; in place s = s * c. A real c of 1 or a NaN copies a bit by bit, or leaves s alone; a
/// real c of 0 stores +0.0, whatever a holds, infinities and NaNs too.
int32_t ippsMulC_32f(const float* a, float c, float* d, int32_t n);
int32_t ippsMulC_64f(const double* a, double c, double* d, int32_t n);
int32_t ippsMulC_32fc(const Complex32f* a, float cr, float ci, Complex32f* d, int32_t n);
int32_t ippsMulC_32f_I(float c, float* s, int32_t n);
int32_t ippsMulC_64f_I(double c, double* s, int32_t n);
int32_t ippsMulC_32fc_I(float cr, float ci, Complex32f* s, int32_t n);
int32_t ippsMulC_64fc_I(double cr, double ci, Complex64f* s, int32_t n);

/// d = a * r with r = 1 / c rounded to the element's type: two roundings, not one. r acts as the
/// constant of MulC. Complex: r = (cr / m, -ci / m) with m = cr cr + ci ci. Returns -10, behind -8
/// and -6, if c or m is 0 or a NaN.
int32_t ippsDivC_32f(const float* a, float c, float* d, int32_t n);
int32_t ippsDivC_64f(const double* a, double c, double* d, int32_t n);
int32_t ippsDivC_32fc(const Complex32f* a, float cr, float ci, Complex32f* d, int32_t n);
int32_t ippsDivC_32f_I(float c, float* s, int32_t n);
int32_t ippsDivC_32fc_I(float cr, float ci, Complex32f* s, int32_t n);

/// d = c / a; in place s = c / s. A divisor of 0 as in ippsDiv_32f. Returns 6 if there was one.
int32_t ippsDivCRev_32f(const float* a, float c, float* d, int32_t n);
int32_t ippsDivCRev_32f_I(float c, float* s, int32_t n);

/// d = |a|, the sign bit cleared; in place s = |s|.
int32_t ippsAbs_32f(const float* a, float* d, int32_t n);
int32_t ippsAbs_64f(const double* a, double* d, int32_t n);
int32_t ippsAbs_32f_I(float* s, int32_t n);
int32_t ippsAbs_64f_I(double* s, int32_t n);

/// d = a * a; in place s = s * s.
int32_t ippsSqr_32f(const float* a, float* d, int32_t n);
int32_t ippsSqr_64f(const double* a, double* d, int32_t n);
int32_t ippsSqr_32f_I(float* s, int32_t n);
int32_t ippsSqr_64f_I(double* s, int32_t n);

#ifdef __cplusplus
}
#endif
