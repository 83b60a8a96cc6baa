#include "tavrix/color_matrix.h"

CColorMatrix::CColorMatrix() { ResetMatrix(); }

CColorMatrix::CColorMatrix(CColorMatrix &other) {
  for (int i = 0; i < 9; ++i) m_matrix[i] = other.m_matrix[i];
}

CColorMatrix::CColorMatrix(const CColorMatrix &other) {
  for (int i = 0; i < 9; ++i) m_matrix[i] = other.m_matrix[i];
}

CColorMatrix::~CColorMatrix() {}

CColorMatrix CColorMatrix::operator=(CColorMatrix &other) {
  for (int i = 0; i < 9; ++i) m_matrix[i] = other.m_matrix[i];
  return *this;
}

void CColorMatrix::ResetMatrix() {
  for (int i = 0; i < 9; ++i) m_matrix[i] = (i % 4 == 0) ? 1.0 : 0.0;
}
