// The line bodies compiled for AVX2 + BMI2 (this file alone carries those flags).
#include "bayer/kernels/simd/x86_line_bodies.h"

namespace tavrix::detail {

const RowBody *LineBodiesAvx2(BodyInput input, BodyOutput output) {
  return X86LineBodies(input, output);
}

const RowBody *LookupBodiesAvx2(BodyInput input, BodyOutput output) {
  return X86LookupBodies(input, output);
}

const RowBody *CorrectedBodiesAvx2(BodyInput input, BodyOutput output) {
  return X86CorrectedBodies(input, output);
}

}  // namespace tavrix::detail
