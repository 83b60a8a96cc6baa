// The balance object: settings, the offset tables, the dispatchers and the apply pass.
#include "tavrix/color_balance.h"

#include <algorithm>
#include <cstdint>

#include "balance/banded_passes.h"
#include "balance/level_tables.h"
#include "balance/pixel_layout.h"
#include "balance/row_kernels.h"

namespace tavrix::detail {
namespace {

constexpr int kOffsetTableDepth = 8;  // offsets and the dispatcher work on 256-entry tables
constexpr int kOffsetTableEntries = 1 << kOffsetTableDepth;

// Replaces every channel value v of pixels from .. width - 1 of a row by entry v of
// its table, in place. The table pointers are locals: the byte stores could
// otherwise change them as far as the compiler knows, and it would reload them for
// every sample.
template <class Layout>
void ApplyPixels(uint8_t* row, uint32_t from, uint32_t width, const ConstTables& tables) {
  const uint16_t* const blue = tables[kBlue];
  const uint16_t* const green = tables[kGreen];
  const uint16_t* const red = tables[kRed];
  uint8_t* pixel = row + size_t(from) * Layout::kPixelBytes;
  for (uint32_t column = from; column < width; ++column, pixel += Layout::kPixelBytes) {
    Layout::Put(pixel, kBlue, blue[Layout::Get(pixel, kBlue)]);
    Layout::Put(pixel, kGreen, green[Layout::Get(pixel, kGreen)]);
    Layout::Put(pixel, kRed, red[Layout::Get(pixel, kRed)]);
  }
}

// What an 8-bit pass stores: the low byte of each of the first 256 entries.
void PrepareByteTables(const ConstTables& tables, ByteTables& bytes) {
  for (int c = 0; c < kChannels; ++c)
    for (int run = 0; run < ByteTables::kRuns; ++run)
      for (int i = 0; i < 2 * ByteTables::kRunBytes; ++i)
        bytes.runs[c][run][i] = uint8_t(tables[c][run * ByteTables::kRunBytes + i % ByteTables::kRunBytes]);
}

// Rows are independent: each band rewrites its own, all reading one set of byte tables.
template <class Layout>
void ApplyTables(const ImageView& image, const ConstTables& tables, const RowBands& bands) {
  const RowKernels kernels = KernelsFor(KindOf<Layout>());
  ByteTables bytes;
  if (kernels.apply) PrepareByteTables(tables, bytes);
  ForEachBand(image.height, bands, [&](int, uint32_t from, uint32_t to) {
    for (uint32_t row = from; row < to; ++row) {
      uint8_t* const start = RowStart(image, row);
      const uint32_t done = kernels.apply ? kernels.apply(start, image.width, bytes) : 0;
      ApplyPixels<Layout>(start, done, image.width, tables);
    }
  });
}

uint16_t OffsetEntry(int i, int offset) {
  return uint16_t(std::clamp<int64_t>(int64_t(i) + offset, 0, kOffsetTableEntries - 1));
}

}  // namespace

bool ApplyInBands(const CImageInfo* info, const CImageData* data, const ConstTables& tables,
                  const RowBands& bands) {
  const std::optional<OpenedImage> image = OpenImage(info, data);
  if (!image || !tables[kBlue] || !tables[kGreen] || !tables[kRed]) return false;
  WithLayout(image->kind,
             [&](auto layout) { ApplyTables<decltype(layout)>(image->view, tables, bands); });
  return true;
}

}  // namespace tavrix::detail

namespace detail = tavrix::detail;

CColorBalance::CColorBalance()
    : m_lutDepth(0),
      m_algorithm(eMeanEqualization),
      m_autoMode(false),
      m_autoApplied(false),
      m_unchanged(false),
      m_redBalance(0),
      m_greenBalance(0),
      m_blueBalance(0),
      m_redLUT(),
      m_greenLUT(),
      m_blueLUT() {}

CColorBalance::CColorBalance(CColorBalance const& other) = default;
CColorBalance& CColorBalance::operator=(CColorBalance const& other) = default;
CColorBalance::~CColorBalance() = default;

eAlgorithm CColorBalance::GetAlgorithm() { return m_algorithm; }
void CColorBalance::SetAlgorithm(eAlgorithm algorithm) { m_algorithm = algorithm; }
bool CColorBalance::GetAutoColorBalanceMode() { return m_autoMode; }
void CColorBalance::SetAutoColorBalanceMode(bool on) { m_autoMode = on; }
bool CColorBalance::GetAutoColorBalanceApplied() { return m_autoApplied; }
void CColorBalance::SetAutoColorBalanceApplied(bool applied) { m_autoApplied = applied; }
int CColorBalance::GetLutDepth() { return m_lutDepth; }
void CColorBalance::SetLutDepth(int depth) { m_lutDepth = depth; }

void CColorBalance::SetColorBalance(int red, int green, int blue) {
  m_redBalance = red;
  m_greenBalance = green;
  m_blueBalance = blue;
}

// The second argument receives green and then blue; the third is never written.
// Callers depend on this exact behaviour.
void CColorBalance::GetColorBalance(int& red, int& green, int& /*blue*/) {
  red = m_redBalance;
  green = m_greenBalance;
  green = m_blueBalance;
}

void CColorBalance::ComputeColorBalance(int red, int green, int blue) {
  m_lutDepth = detail::kOffsetTableDepth;
  for (int i = 0; i < detail::kOffsetTableEntries; ++i) {
    m_redLUT[i] = detail::OffsetEntry(i, red);
    m_greenLUT[i] = detail::OffsetEntry(i, green);
    m_blueLUT[i] = detail::OffsetEntry(i, blue);
  }
}

void CColorBalance::ComputeColorBalance(CImageInfo* info, CImageData* data) {
  // Height 0 is refused here too, so that it changes nothing at all.
  if (info == nullptr || data == nullptr || data->pixels == nullptr || info->height == 0) return;
  // 8 even for 48-bit images: the dispatcher always builds 256-entry tables.
  m_lutDepth = detail::kOffsetTableDepth;
  switch (m_algorithm) {
    case eMeanEqualization: return MeanEqualization(info, data);
    case eGrayWorld: return GrayWorld(info, data);
    case eStandardDeviation: return StandardDeviation(info, data);
    case eMeanAndStandardDeviation: return MeanAndStandardDeviation(info, data);
  }
}

void CColorBalance::ComputeColorBalance(CImageInfo* info, CImageData* data, eAlgorithm algorithm,
                                        unsigned short* red, unsigned short* green,
                                        unsigned short* blue) {
  if (data == nullptr || data->pixels == nullptr) return;
  switch (algorithm) {
    case eMeanEqualization: return MeanEqualization(info, data, red, green, blue);
    case eGrayWorld: return GrayWorld(info, data, red, green, blue);
    case eStandardDeviation: return StandardDeviation(info, data, red, green, blue);
    case eMeanAndStandardDeviation: return MeanAndStandardDeviation(info, data, red, green, blue);
  }
}

void CColorBalance::ApplyColorBalance(CImageInfo* info, CImageData* data) {
  detail::ApplyInBands(info, data, {m_blueLUT, m_greenLUT, m_redLUT}, {});
}

void CColorBalance::ApplyColorBalance(CImageInfo* info, CImageData* data, unsigned short* red,
                                      unsigned short* green, unsigned short* blue) {
  if (m_unchanged) return;
  if (detail::ApplyInBands(info, data, {blue, green, red}, {})) m_autoApplied = true;
}

bool CColorBalance::FormatSupported(CImageInfo& info) {
  return detail::LayoutOf(info).has_value();
}
