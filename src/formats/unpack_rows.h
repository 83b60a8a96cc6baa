// Row unpackers: one function per layout and vector path, all with the
// signature of RowUnpacker::RowFunction (packed bytes in, width right-aligned
// samples out, `shift` used by the MSB-aligned words alone).
//
// The reference functions in unpack_rows.cpp define every layout; a vector file
// (unpack_rows_ssse3.cpp, unpack_rows_avx2.cpp) offers bodies for the layouts it
// speeds up and returns null for the others, which then run the reference.
// Vector bodies do the whole groups they can and hand the rest of the row to
// the reference, so a row of any width gives the same samples on every path.
#ifndef TAVRIX_SRC_FORMATS_UNPACK_ROWS_H
#define TAVRIX_SRC_FORMATS_UNPACK_ROWS_H

#include <cstddef>
#include <cstdint>

#include "tavrix/formats.h"

namespace tavrix::detail {

using UnpackRowFunction = RowUnpacker::RowFunction;
using PackRowFunction = void (*)(const std::uint16_t *samples, std::uint8_t *packed,
                                 std::size_t width, unsigned bits);

UnpackRowFunction ReferenceUnpackRow(Packing packing);
PackRowFunction ReferencePackRow(Packing packing);

// Null when the path has no body of its own for the layout.
UnpackRowFunction Ssse3UnpackRow(Packing packing);
UnpackRowFunction Avx2UnpackRow(Packing packing);
UnpackRowFunction NeonUnpackRow(Packing packing);

// The body for the path active now (chosen once per call by the caller).
UnpackRowFunction ActiveUnpackRow(Packing packing);

}  // namespace tavrix::detail

#endif
