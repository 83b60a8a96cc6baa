// Demosaic quality: PSNR of every Tavrix algorithm and entry point and of every
// OpenCV method against the photograph the mosaic was sampled from, for each of
// the four origins, excluding a 4-pixel border.
#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <cstdio>
#include <sstream>

#include "demosaicers.h"
#include "suites.h"

#if TAVRIX_BENCH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace bench {
namespace {

constexpr int kBorder = 4;
constexpr int kVngRowShift = 2;
static_assert(kVngRowShift <= kBorder, "the shifted reference must stay inside the image");
constexpr ePatternOrigin kOrigins[] = {eOriginGB, eOriginGR, eOriginBG, eOriginRG};
const char *const kOriginNames[] = {"GB", "GR", "BG", "RG"};

// 8-bit values spread over 12 bits (v * 4095 / 255, exactly for every v).
std::uint16_t To12(std::uint16_t v) { return std::uint16_t((v << 4) | (v >> 4)); }

// One mosaic of one photograph, and the references its outputs are held against.
struct Scene {
  int width, height;
  std::vector<std::uint16_t> reference8, reference12;  // red, green, blue per pixel
  std::vector<std::uint8_t> mosaic8;
  std::vector<std::uint16_t> mosaic16;
};

Scene Sample(const tavrix::files::RgbImage &image, ePatternOrigin origin) {
  Scene s{image.width, image.height, image.data, image.data, {}, {}};
  std::transform(s.reference12.begin(), s.reference12.end(), s.reference12.begin(), To12);
  s.mosaic8.resize(std::size_t(s.width) * s.height);
  s.mosaic16.resize(s.mosaic8.size());
  for (int y = 0; y < s.height; ++y)
    for (int x = 0; x < s.width; ++x) {
      const std::size_t i = std::size_t(y) * s.width + x;
      s.mosaic8[i] = std::uint8_t(image.data[i * 3 + SiteChannel(origin, x, y)]);
      s.mosaic16[i] = To12(s.mosaic8[i]);
    }
  return s;
}

// PSNR of red, green, blue and of the three pooled, over the interior. `bgr`
// points at blue, green, red values `stride` elements apart per pixel; output row
// y is held against reference row y + rowShift.
struct Psnr {
  double channel[3];
  double pooled;
};
template <class T>
Psnr Measure(const T *bgr, int stride, const Scene &s, bool sensorScale, int rowShift = 0) {
  const std::vector<std::uint16_t> &ref = sensorScale ? s.reference12 : s.reference8;
  const double peak = sensorScale ? 4095.0 : 255.0;
  double squared[3] = {0, 0, 0};
  for (int y = kBorder; y < s.height - kBorder; ++y)
    for (int x = kBorder; x < s.width - kBorder; ++x) {
      const std::size_t i = std::size_t(y) * s.width + x;
      for (int c = 0; c < 3; ++c) {
        const double d =
            double(bgr[i * stride + 2 - c]) - ref[(i + std::size_t(rowShift) * s.width) * 3 + c];
        squared[c] += d * d;
      }
    }
  const double n = double(s.width - 2 * kBorder) * (s.height - 2 * kBorder);
  const auto db = [&](double mse) {
    return mse <= 0 ? 99.0 : 10.0 * std::log10(peak * peak / mse);
  };
  Psnr p;
  for (int c = 0; c < 3; ++c) p.channel[c] = db(squared[c] / n);
  p.pooled = db((squared[0] + squared[1] + squared[2]) / (3 * n));
  return p;
}

// Mean PSNR of one method over all photographs, per channel and per origin.
struct Row {
  std::string method;
  double channel[3] = {0, 0, 0}, pooled = 0, byOrigin[4] = {0, 0, 0, 0};
  int count = 0, countByOrigin[4] = {0, 0, 0, 0};
  void Add(const Psnr &p, int origin) {
    for (int c = 0; c < 3; ++c) channel[c] += p.channel[c];
    pooled += p.pooled;
    byOrigin[origin] += p.pooled;
    ++count;
    ++countByOrigin[origin];
  }
};

std::string Db(double sum, int count) {
  char text[16];
  std::snprintf(text, sizeof text, "%.2f", count ? sum / count : 0.0);
  return text;
}

#if TAVRIX_BENCH_OPENCV
// Holds every origin's mosaic against all four of OpenCV's bilinear codes and
// reports whether the code CvCode names is the one that fits best.
std::string CheckOpenCvNaming(const std::vector<NamedImage> &images) {
  std::ostringstream out;
  const char *const cvNames[] = {"BG", "GB", "RG", "GR"};
  for (int o = 0; o < 4; ++o) {
    double sums[4] = {0, 0, 0, 0};
    for (const NamedImage &named : images) {
      const Scene s = Sample(named.image, kOrigins[o]);
      const cv::Mat mosaic(s.height, s.width, CV_8UC1, const_cast<std::uint8_t *>(s.mosaic8.data()));
      for (int k = 0; k < 4; ++k) {
        cv::Mat out;
        cv::cvtColor(mosaic, out, cv::COLOR_BayerBG2BGR + k);
        sums[k] += Measure(out.ptr<std::uint8_t>(), 3, s, false).pooled;
      }
    }
    const int best = int(std::max_element(sums, sums + 4) - sums);
    const int named = CvCode(CvMethod::kBilinear, kOrigins[o], false) - cv::COLOR_BayerBG2BGR;
    out << "- first row " << kOriginNames[o] << ": COLOR_Bayer" << cvNames[named] << "2BGR, "
        << Db(sums[named], int(images.size())) << " dB; best of the four codes: " << cvNames[best]
        << (best == named ? " (match)" : " (MISMATCH)") << "\n";
  }
  return out.str();
}
#endif

// The directional algorithm, which only the tavrix:: interface offers.
void DirectionalConvert(Entry entry, const Scene &s, ePatternOrigin origin, void *output) {
  tavrix::DemosaicOptions options;
  options.origin = origin;
  options.algorithm = tavrix::Algorithm::kDirectional;
  options.bitDepth = kSensorBits;
  const EntryInfo info = Info(entry);
  const tavrix::RawView raw =
      info.sixteenIn ? tavrix::RawView::Mono16(s.mosaic16.data(), s.width, s.height)
                     : tavrix::RawView::Mono8(s.mosaic8.data(), s.width, s.height);
  const tavrix::PixelFormat format = info.sixteenOut ? tavrix::PixelFormat::kBgr48
                                     : info.outBytes == 4 ? tavrix::PixelFormat::kBgrx32
                                                          : tavrix::PixelFormat::kBgr24;
  tavrix::Demosaic(raw, tavrix::ColorView{output, s.width, s.height,
                                          std::ptrdiff_t(s.width) * info.outBytes, format},
                   options);
}

}  // namespace

std::string QualityTable() {
  const std::vector<NamedImage> images = LoadImages();
  if (images.empty()) return "No sample photographs could be read from " + ImageDir() + ".\n";
  std::vector<Row> rows;
  const auto row = [&rows](const std::string &method) -> Row & {
    for (Row &r : rows)
      if (r.method == method) return r;
    rows.push_back(Row{method});
    return rows.back();
  };
  std::vector<std::uint8_t> output;
  CBayerConverter converter;
  std::map<std::string, std::array<double, 3>> perPhoto;  // laplacian1, directional, VNG
  for (const NamedImage &named : images)
    for (int o = 0; o < 4; ++o) {
      const Scene s = Sample(named.image, kOrigins[o]);
      output.resize(std::size_t(s.width) * s.height * 6);
      converter.SetPatternOrigin(kOrigins[o]);
      for (Entry entry : kEntries)
        for (eCalculationMode mode : kModes) {
          const EntryInfo info = Info(entry);
          std::fill(output.begin(), output.end(), 0);  // borders some passes leave unwritten
          converter.SetCalcMode(mode);
          TavrixConvert(converter, entry, s.mosaic8.data(), s.mosaic16.data(), s.width, s.height,
                        output.data());
          const Psnr p = info.sixteenOut
                             ? Measure(reinterpret_cast<const std::uint16_t *>(output.data()), 3,
                                       s, true)
                             : Measure(output.data(), info.outBytes, s, false);
          row(std::string("Tavrix ") + ModeName(mode) + " " + info.name).Add(p, o);
          if (mode == eLaplacian1 && entry == Entry::k8To24) perPhoto[named.name][0] += p.pooled / 4;
        }
      for (Entry entry : kEntries) {
        const EntryInfo info = Info(entry);
        DirectionalConvert(entry, s, kOrigins[o], output.data());
        const Psnr p = info.sixteenOut
                           ? Measure(reinterpret_cast<const std::uint16_t *>(output.data()), 3, s, true)
                           : Measure(output.data(), info.outBytes, s, false);
        row(std::string("Tavrix directional ") + info.name).Add(p, o);
        if (entry == Entry::k8To24) perPhoto[named.name][1] += p.pooled / 4;
      }
#if TAVRIX_BENCH_OPENCV
      for (Entry entry : {Entry::k8To24, Entry::k16To48})
        for (CvMethod method : {CvMethod::kBilinear, CvMethod::kVng, CvMethod::kEdgeAware}) {
          if (!CvSupports(method, entry)) continue;
          const bool sixteen = Info(entry).sixteenIn;
          const cv::Mat mosaic =
              sixteen ? cv::Mat(s.height, s.width, CV_16UC1, const_cast<std::uint16_t *>(s.mosaic16.data()))
                      : cv::Mat(s.height, s.width, CV_8UC1, const_cast<std::uint8_t *>(s.mosaic8.data()));
          cv::Mat wide, out;
          CvConvert(method, entry, kOrigins[o], mosaic, wide, out);
          const Psnr p = sixteen ? Measure(out.ptr<std::uint16_t>(), 3, s, true)
                                 : Measure(out.ptr<std::uint8_t>(), 3, s, false);
          row(std::string("OpenCV ") + CvMethodName(method) + " " + Info(entry).name).Add(p, o);
          // OpenCV 4.6's VNG output lies two rows below its mosaic (row y shows source
          // row y + 2): held against the shifted reference, it shows the method's own quality.
          if (method == CvMethod::kVng) {
            const Psnr realigned = Measure(out.ptr<std::uint8_t>(), 3, s, false, kVngRowShift);
            row("OpenCV VNG 8to24, realigned by 2 rows").Add(realigned, o);
            perPhoto[named.name][2] += realigned.pooled / 4;
          }
        }
#endif
    }

  std::ostringstream out;
  out << "PSNR in dB (mean over " << images.size()
      << " photographs; 16to48 against the photograph on the 12-bit scale, the others on the "
         "8-bit scale; " << kBorder << "-pixel border excluded):\n\n"
      << "| method | red | green | blue | pooled | first row GB | GR | BG | RG |\n"
      << "|---|---:|---:|---:|---:|---:|---:|---:|---:|\n";
  for (const Row &r : rows) {
    out << "| " << r.method;
    for (double c : r.channel) out << " | " << Db(c, r.count);
    out << " | " << Db(r.pooled, r.count);
    for (int o = 0; o < 4; ++o) out << " | " << Db(r.byOrigin[o], r.countByOrigin[o]);
    out << " |\n";
  }
  out << "\nPer photograph (8to24, pooled, mean over the four origins):\n\n"
      << "| photograph | Tavrix laplacian1 | Tavrix directional | OpenCV VNG realigned |\n"
      << "|---|---:|---:|---:|\n";
  for (const auto &photo : perPhoto)
    out << "| " << photo.first << " | " << Db(photo.second[0], 1) << " | "
        << Db(photo.second[1], 1) << " | " << Db(photo.second[2], 1) << " |\n";
  out << "\nPhotographs:";
  for (const NamedImage &named : images)
    out << " " << named.name << " (" << named.image.width << "x" << named.image.height << ")";
  out << "\n";
#if TAVRIX_BENCH_OPENCV
  out << "\nOpenCV pattern naming, checked by PSNR (bilinear, 8-bit, mean over the photographs):\n"
      << CheckOpenCvNaming(images);
#endif
  return out.str();
}

}  // namespace bench
