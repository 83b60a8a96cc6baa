// The line bodies compiled for SSSE3 + SSE4.1 (this file alone carries those flags).
#include "bayer/kernels/simd/x86_line_bodies.h"

namespace tavrix::detail {

const RowBody *LineBodiesSse41(BodyInput input, BodyOutput output) {
  return X86LineBodies(input, output);
}

}  // namespace tavrix::detail
