// Avx2 row unpackers (placeholder: every layout runs the reference).
#include "formats/unpack_rows.h"

namespace tavrix::detail {

UnpackRowFunction Avx2UnpackRow(Packing) { return nullptr; }

}  // namespace tavrix::detail
