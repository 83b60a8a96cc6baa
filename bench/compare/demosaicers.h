// The demosaicing contenders, called the same way by the speed cases and the
// quality table: Tavrix's five entry points and OpenCV's cvtColor Bayer codes.
#ifndef TAVRIX_BENCH_COMPARE_DEMOSAICERS_H
#define TAVRIX_BENCH_COMPARE_DEMOSAICERS_H

#include <cstdint>

#include "tavrix/tavrix.h"

#if TAVRIX_BENCH_OPENCV
#include <opencv2/core.hpp>
#endif

namespace bench {

enum class Entry { k8To24, k8To32, k16To24, k16To32, k16To48 };
constexpr Entry kEntries[] = {Entry::k8To24, Entry::k8To32, Entry::k16To24, Entry::k16To32,
                              Entry::k16To48};

struct EntryInfo {
  const char *name;      // "8to24"
  int outBytes;          // bytes per output pixel
  bool sixteenIn;        // 16-bit samples in
  bool sixteenOut;       // 16-bit words out (on the sensor's 12-bit scale)
};
EntryInfo Info(Entry entry);

constexpr eCalculationMode kModes[] = {eFastBilinear, eBilinear, eLaplacian1, eLaplacian2};
const char *ModeName(eCalculationMode mode);

// The bit depth of every 16-bit mosaic here.
constexpr int kSensorBits = 12;

// Runs one entry point: 8-bit entries read mosaic8, 16-bit entries mosaic16.
void TavrixConvert(CBayerConverter &converter, Entry entry, const std::uint8_t *mosaic8,
                   const std::uint16_t *mosaic16, int width, int height, void *output);

#if TAVRIX_BENCH_OPENCV
enum class CvMethod { kBilinear, kVng, kEdgeAware };
const char *CvMethodName(CvMethod method);

// The cvtColor code for a mosaic whose first row is `origin`. OpenCV names a
// pattern by the second row's second and third pixels, so a first row of blue,
// green is its "RG". `alpha` asks for BGRA (bilinear only).
int CvCode(CvMethod method, ePatternOrigin origin, bool alpha);

// What a caller does with OpenCV to get the entry's output: cvtColor, and for
// 8-bit channels from 16-bit samples a convertTo that scales the 12-bit values
// down (into `wide`, then `output`). False when OpenCV has no such method.
bool CvSupports(CvMethod method, Entry entry);
void CvConvert(CvMethod method, Entry entry, ePatternOrigin origin, const cv::Mat &mosaic,
               cv::Mat &wide, cv::Mat &output);
#endif

}  // namespace bench

#endif
