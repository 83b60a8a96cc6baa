#include "demosaicers.h"

#if TAVRIX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace bench {

EntryInfo Info(Entry entry) {
  switch (entry) {
    case Entry::k8To24: return {"8to24", 3, false, false};
    case Entry::k8To32: return {"8to32", 4, false, false};
    case Entry::k16To24: return {"16to24", 3, true, false};
    case Entry::k16To32: return {"16to32", 4, true, false};
    case Entry::k16To48: break;
  }
  return {"16to48", 6, true, true};
}

const char *ModeName(eCalculationMode mode) {
  switch (mode) {
    case eFastBilinear: return "fast";
    case eBilinear: return "bilinear";
    case eLaplacian1: return "laplacian1";
    case eLaplacian2: break;
  }
  return "laplacian2";
}

void TavrixConvert(CBayerConverter &converter, Entry entry, const std::uint8_t *mosaic8,
                   const std::uint16_t *mosaic16, int width, int height, void *output) {
  const ISize size = {width, height};
  const CColorMatrix identity;
  auto *bytes = static_cast<unsigned char *>(output);
  switch (entry) {
    case Entry::k8To24: converter.ConvertMono8ToBGR(bytes, size, mosaic8, size, identity); break;
    case Entry::k8To32: converter.ConvertMono8ToBGRx(bytes, size, mosaic8, size, identity); break;
    case Entry::k16To24:
      converter.ConvertMono16ToBGR(bytes, size, mosaic16, size, kSensorBits, identity);
      break;
    case Entry::k16To32:
      converter.ConvertMono16ToBGRx(bytes, size, mosaic16, size, kSensorBits, 100, identity);
      break;
    case Entry::k16To48:
      converter.ConvertMono16ToBGR48(static_cast<unsigned short *>(output), size, mosaic16, size,
                                     kSensorBits, identity);
      break;
  }
}

#if TAVRIX_BENCH_OPENCV
const char *CvMethodName(CvMethod method) {
  switch (method) {
    case CvMethod::kBilinear: return "bilinear";
    case CvMethod::kVng: return "VNG";
    case CvMethod::kEdgeAware: break;
  }
  return "EA";
}

int CvCode(CvMethod method, ePatternOrigin origin, bool alpha) {
  // OpenCV's groups run BG, GB, RG, GR; its name is the colours at (1, 1) and (2, 1).
  const int index = origin == eOriginBG ? 2 : origin == eOriginGB ? 3 : origin == eOriginGR ? 1 : 0;
  if (alpha) return cv::COLOR_BayerBG2BGRA + index;
  switch (method) {
    case CvMethod::kBilinear: return cv::COLOR_BayerBG2BGR + index;
    case CvMethod::kVng: return cv::COLOR_BayerBG2BGR_VNG + index;
    case CvMethod::kEdgeAware: break;
  }
  return cv::COLOR_BayerBG2BGR_EA + index;
}

bool CvSupports(CvMethod method, Entry entry) {
  const EntryInfo info = Info(entry);
  if (info.outBytes == 4) return method == CvMethod::kBilinear;  // BGRA is bilinear only
  return method != CvMethod::kVng || !info.sixteenIn;             // VNG takes 8 bits only
}

void CvConvert(CvMethod method, Entry entry, ePatternOrigin origin, const cv::Mat &mosaic,
               cv::Mat &wide, cv::Mat &output) {
  const EntryInfo info = Info(entry);
  const int code = CvCode(method, origin, info.outBytes == 4);
  if (info.sixteenIn && !info.sixteenOut) {
    cv::cvtColor(mosaic, wide, code);
    wide.convertTo(output, CV_8U, 1.0 / (1 << (kSensorBits - 8)));
  } else {
    cv::cvtColor(mosaic, output, code);
  }
}
#endif

}  // namespace bench
