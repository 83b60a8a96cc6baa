// Ssse3 row unpackers (placeholder: every layout runs the reference).
#include "formats/unpack_rows.h"

namespace tavrix::detail {

UnpackRowFunction Ssse3UnpackRow(Packing) { return nullptr; }

}  // namespace tavrix::detail
