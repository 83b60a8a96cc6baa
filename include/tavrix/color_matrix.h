#ifndef TAVRIX_COLOR_MATRIX_H
#define TAVRIX_COLOR_MATRIX_H

#include "tavrix/export.h"

/// A 3x3 colour-correction matrix of doubles, row-major, acting on the column
/// vector (blue, green, red): elements 0..2 produce blue, 3..5 green, 6..8 red.
/// A new matrix is the identity.
class TAVRIX_API CColorMatrix {
public:
  CColorMatrix();
  CColorMatrix(CColorMatrix &other);
  /// Same copy for const sources and temporaries.
  CColorMatrix(const CColorMatrix &other);
  ~CColorMatrix();

  /// Copies the nine elements and returns a copy of the target (by value).
  CColorMatrix operator=(CColorMatrix &other);

  /// Sets the identity: elements 0, 4 and 8 to 1.0, the others to 0.0.
  void ResetMatrix();

  double m_matrix[9];
};

#endif
