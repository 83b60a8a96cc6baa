// Scalar helpers of the per-site kernel families: the averages and discrete
// Laplacians of the bilinear and first-order passes, and the candidate record
// and selector of the second-order passes. The converter's private members of
// the same names forward here, so the kernels inline them and tests reach them.
//
// All arithmetic is 32-bit two's complement: sums wrap rather than overflow (the
// candidate record is public and takes any int), right shifts round toward
// minus infinity, and results "cut to 16 bits" keep the low 16 bits, signed.
#ifndef TAVRIX_SRC_BAYER_KERNELS_SITE_HELPERS_H
#define TAVRIX_SRC_BAYER_KERNELS_SITE_HELPERS_H

#include <cstdint>

#include "tavrix/bayer_converter.h"

namespace tavrix::detail {

// Floor of v / 2^k for any sign, without relying on how >> treats negatives.
inline int FloorShift(int v, int k) { return v < 0 ? ~(~v >> k) : v >> k; }

// The low 16 bits of v as a signed value.
inline short Cut16(int v) { return short(std::int16_t(std::uint16_t(unsigned(v)))); }

// Wrapping 32-bit sum of terms (a machine-word sum, never signed overflow).
inline int Sum32(std::uint32_t v) { return std::int32_t(v); }

inline short Bilinear(short a, short b) { return Cut16(FloorShift(a + b, 1)); }
inline short Bilinear(short a, short b, short c, short d) {
  return Cut16(FloorShift(a + b + c + d, 2));
}

inline short Laplacian1(short a, short b, short c) { return Cut16(FloorShift(2 * a - b - c, 2)); }
inline short Laplacian1(short a, short b, short c, short d, short e) {
  return Cut16(FloorShift(4 * a - b - c - d - e, 3));
}

// What the selector reads of a candidate. The passes build these on the
// stack; CColorCorrectionTerm carries the same two derived fields.
struct Candidate {
  int Gradient;
  int Estimate;
};

// Gradient and Estimate by the formula of a reference count (1, 2 or 4):
//   1: C - R1,                       B1 + (G >> 1)
//   2: 2C - R1 - R2,                 ((B1 + B2) >> 1) + (G >> 2)
//   4: 4C - R1 - R2 - R3 - R4,       ((B1 + B2 + B3 + B4) >> 2) + (G >> 3)
// Base counts take no part: a two-reference candidate with one base reads Base2 = 0.
template <int kRefCount>
inline Candidate MakeCandidate(int center, int ref1, int ref2, int ref3, int ref4, int base1,
                               int base2, int base3, int base4) {
  using U = std::uint32_t;
  Candidate c;
  if constexpr (kRefCount == 1) {
    c.Gradient = Sum32(U(center) - U(ref1));
    c.Estimate = Sum32(U(base1) + U(FloorShift(c.Gradient, 1)));
  } else if constexpr (kRefCount == 2) {
    c.Gradient = Sum32(2u * U(center) - U(ref1) - U(ref2));
    c.Estimate = Sum32(U(FloorShift(Sum32(U(base1) + U(base2)), 1)) + U(FloorShift(c.Gradient, 2)));
  } else {
    static_assert(kRefCount == 4, "candidates use 1, 2 or 4 references");
    c.Gradient = Sum32(4u * U(center) - U(ref1) - U(ref2) - U(ref3) - U(ref4));
    c.Estimate = Sum32(U(FloorShift(Sum32(U(base1) + U(base2) + U(base3) + U(base4)), 2)) +
                       U(FloorShift(c.Gradient, 3)));
  }
  return c;
}

template <int kRefCount>
inline void Derive(CColorCorrectionTerm &t) {
  const Candidate c = MakeCandidate<kRefCount>(t.Center, t.Ref1, t.Ref2, t.Ref3, t.Ref4, t.Base1,
                                               t.Base2, t.Base3, t.Base4);
  t.Gradient = c.Gradient;
  t.Estimate = c.Estimate;
}

// Any other reference count leaves Gradient and Estimate as they were.
inline void DeriveTerm(CColorCorrectionTerm &t) {
  switch (t.RefCount) {
    case 1:
      return Derive<1>(t);
    case 2:
      return Derive<2>(t);
    case 4:
      return Derive<4>(t);
    default:
      return;
  }
}

inline void StoreFields(CColorCorrectionTerm &t, int center, int ref1, int ref2, int ref3, int ref4,
                        int refCount, int base1, int base2, int base3, int base4, int baseCount) {
  t.Center = center;
  t.Ref1 = ref1;
  t.Ref2 = ref2;
  t.Ref3 = ref3;
  t.Ref4 = ref4;
  t.RefCount = refCount;
  t.Base1 = base1;
  t.Base2 = base2;
  t.Base3 = base3;
  t.Base4 = base4;
  t.BaseCount = baseCount;
}

// The chosen candidate's estimate, cut to 16 bits, made non-negative by
// mirroring (not clipping); -32768 has no positive twin and stays as it is.
template <class Term>
inline short AbsoluteEstimate(const Term &t) {
  const int e = Cut16(t.Estimate);
  return Cut16(e < 0 ? -e : e);
}

// Index of the first of terms[kFirst..kLast] whose gradient is the smallest.
// The bounds are constants so that the comparisons unroll and a candidate
// array local to a kernel can live in registers.
template <int kFirst, int kLast, class Term>
inline int FirstSmallest(const Term *terms) {
  int best = kFirst;
  for (int k = kFirst + 1; k <= kLast; ++k)
    if (terms[k].Gradient < terms[best].Gradient) best = k;
  return best;
}

// Picks one candidate of the one-based array `terms` (slot 0 is never read);
// Term is CColorCorrectionTerm or Candidate.
// Gradients are compared signed, with no absolute value: a negative gradient
// always counts as small. thresholds[1..3] are the three levels.
//   count 11: the better of 1 and 2 below T1 (tie: 1), else the best of 3..6
//             below T2, else the best of 7..10 below T3 (ties: the first), else 11.
//   count 3:  term 1 below T1, else term 2 if its gradient is below term 3's
//             (tie: 3).
//   any other count: 0.
template <class Term>
inline short Laplacian2(const Term *terms, int count, const int *thresholds) {
  if (count == 11) {
    const int level1 = FirstSmallest<1, 2>(terms);
    if (terms[level1].Gradient < thresholds[1]) return AbsoluteEstimate(terms[level1]);
    const int level2 = FirstSmallest<3, 6>(terms);
    if (terms[level2].Gradient < thresholds[2]) return AbsoluteEstimate(terms[level2]);
    const int level3 = FirstSmallest<7, 10>(terms);
    if (terms[level3].Gradient < thresholds[3]) return AbsoluteEstimate(terms[level3]);
    return AbsoluteEstimate(terms[11]);
  }
  if (count == 3) {
    if (terms[1].Gradient < thresholds[1]) return AbsoluteEstimate(terms[1]);
    return AbsoluteEstimate(terms[2].Gradient < terms[3].Gradient ? terms[2] : terms[3]);
  }
  return 0;
}

}  // namespace tavrix::detail

#endif
