// Demosaicing speed: every Tavrix entry point with every algorithm, OpenCV's
// equivalents, and the two ceilings (memcpy of the output, a streaming copy).
#include <cstring>
#include <memory>

#include "cases.h"
#include "demosaicers.h"
#include "frames.h"
#include "suites.h"

#if TAVRIX_BENCH_OPENCV
#include <opencv2/core.hpp>
#endif

namespace bench {
namespace {

// Reads each sample and writes it to every channel of its output pixel: the least
// work any demosaic with this input and output must do.
template <class Out, int kChannels, class In>
void StreamCopy(Out *out, const In *in, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i)
    for (int c = 0; c < kChannels; ++c) out[i * kChannels + c] = Out(in[i]);
}

// The same for three channels, a group of samples at a time packed into three 64-bit
// words (little-endian): stored byte by byte, the baseline instruction set stays well
// below what a vectorised peer writes, and the ceiling would not be one.
// One store per word: gathered in an array first, the words would be copied through
// the stack and reloaded as a vector, which stalls store forwarding.
inline void StoreWords(void *out, std::uint64_t a, std::uint64_t b, std::uint64_t c) {
  auto *bytes = static_cast<std::uint8_t *>(out);
  std::memcpy(bytes, &a, 8);
  std::memcpy(bytes + 8, &b, 8);
  std::memcpy(bytes + 16, &c, 8);
}

template <class In>
void StreamTriples(std::uint8_t *out, const In *in, std::size_t pixels) {
  std::size_t i = 0;
  for (; i + 8 <= pixels; i += 8, out += 24) {
    std::uint64_t p[8];
    for (int j = 0; j < 8; ++j) p[j] = std::uint8_t(in[i + j]) * std::uint64_t(0x010101);
    StoreWords(out, p[0] | p[1] << 24 | p[2] << 48,
               p[2] >> 16 | p[3] << 8 | p[4] << 32 | p[5] << 56, p[5] >> 8 | p[6] << 16 | p[7] << 40);
  }
  StreamCopy<std::uint8_t, 3>(out, in + i, pixels - i);
}
void StreamTriples(std::uint16_t *out, const std::uint16_t *in, std::size_t pixels) {
  std::size_t i = 0;
  for (; i + 4 <= pixels; i += 4, out += 12) {
    std::uint64_t p[4];
    for (int j = 0; j < 4; ++j) p[j] = in[i + j] * std::uint64_t(0x000100010001);
    StoreWords(out, p[0] | p[1] << 48, p[1] >> 16 | p[2] << 32, p[2] >> 32 | p[3] << 16);
  }
  StreamCopy<std::uint16_t, 3>(out, in + i, pixels - i);
}

void Stream(Entry entry, const Frame &f, void *out) {
  const std::size_t n = f.Pixels();
  auto *bytes = static_cast<std::uint8_t *>(out);
  switch (entry) {
    case Entry::k8To24: StreamTriples(bytes, f.mosaic8.data(), n); break;
    case Entry::k8To32: StreamCopy<std::uint8_t, 4>(bytes, f.mosaic8.data(), n); break;
    case Entry::k16To24: StreamTriples(bytes, f.mosaic16.data(), n); break;
    case Entry::k16To32: StreamCopy<std::uint8_t, 4>(bytes, f.mosaic16.data(), n); break;
    case Entry::k16To48:
      StreamTriples(static_cast<std::uint16_t *>(out), f.mosaic16.data(), n);
      break;
  }
}

std::string Prefix(const Frame &f) {
  return "demosaic/" + std::to_string(f.width) + "x" + std::to_string(f.height) + "/";
}

#if TAVRIX_BENCH_OPENCV
// The peer a Tavrix algorithm is held against: bilinear for the bilinear passes,
// the edge-aware method for the first-order Laplacian, VNG (8-bit only, else
// edge-aware) for the direction-selecting second-order Laplacian.
std::string PeerCase(const Frame &f, Entry entry, eCalculationMode mode) {
  CvMethod method = mode == eLaplacian1   ? CvMethod::kEdgeAware
                    : mode == eLaplacian2 ? CvMethod::kVng
                                          : CvMethod::kBilinear;
  if (method == CvMethod::kVng && Info(entry).sixteenIn) method = CvMethod::kEdgeAware;
  // OpenCV writes BGRA only bilinearly: the other methods are held at 24 bits.
  if (!CvSupports(method, entry)) entry = Info(entry).sixteenIn ? Entry::k16To24 : Entry::k8To24;
  return Prefix(f) + Info(entry).name + "/opencv_" + CvMethodName(method);
}

void AddOpenCvCases(const Frame &f, Buffers &buffers) {
  for (Entry entry : kEntries)
    for (CvMethod method : {CvMethod::kBilinear, CvMethod::kVng, CvMethod::kEdgeAware}) {
      if (!CvSupports(method, entry)) continue;
      const EntryInfo info = Info(entry);
      AddCase(Prefix(f) + info.name + "/opencv_" + CvMethodName(method), Unit::kMegapixels,
              f.Pixels(), [&f, &buffers, entry, method, info](benchmark::State &state) {
                const cv::Mat mosaic =
                    info.sixteenIn ? cv::Mat(f.height, f.width, CV_16UC1,
                                             const_cast<std::uint16_t *>(f.mosaic16.data()))
                                   : cv::Mat(f.height, f.width, CV_8UC1,
                                             const_cast<std::uint8_t *>(f.mosaic8.data()));
                // Outputs over the shared buffers, so that OpenCV allocates nothing.
                const int channels = info.outBytes == 4 ? 4 : 3;
                const int wideChannels = CvSupports(CvMethod::kBilinear, entry) ? channels : 3;
                cv::Mat wide(f.height, f.width, CV_16UC(wideChannels), buffers.scratch.data());
                cv::Mat out(f.height, f.width,
                            info.sixteenOut ? CV_16UC(channels) : CV_8UC(channels),
                            buffers.output.data());
                for (auto _ : state) {
                  CvConvert(method, entry, kFrameOrigin, mosaic, wide, out);
                  benchmark::DoNotOptimize(out.data);
                }
                if (out.data != buffers.output.data()) state.SkipWithError("OpenCV reallocated");
              });
    }
}
#endif

}  // namespace

void AddDemosaicCases(const Frame &f, Buffers &buffers) {
  buffers.Reserve(f.Pixels() * 8);  // up to OpenCV's 16-bit BGRA intermediate
  const std::string prefix = Prefix(f);
  const std::string section = "Demosaic " + std::to_string(f.width) + "x" +
                              std::to_string(f.height) + " (Mpix/s of mosaic pixels)";
  for (Entry entry : kEntries) {
    const EntryInfo info = Info(entry);
    for (eCalculationMode mode : kModes) {
      auto converter = std::make_shared<CBayerConverter>();
      converter->SetPatternOrigin(kFrameOrigin);
      converter->SetCalcMode(mode);
      const std::string name = prefix + info.name + "/tavrix_" + ModeName(mode);
      AddCase(name, Unit::kMegapixels, f.Pixels(),
              [&f, &buffers, converter, entry](benchmark::State &state) {
                for (auto _ : state) {
                  TavrixConvert(*converter, entry, f.mosaic8.data(), f.mosaic16.data(), f.width,
                                f.height, buffers.output.data());
                  benchmark::ClobberMemory();
                }
              });
      std::string peer;
#if TAVRIX_BENCH_OPENCV
      peer = PeerCase(f, entry, mode);
#endif
      AddComparison({section, std::string(info.name) + " " + ModeName(mode), name, peer,
                     prefix + "memcpy_" + std::to_string(info.outBytes) + "B",
                     prefix + info.name + "/stream"});
    }
    // The directional algorithm, through the views interface on one thread;
    // held against OpenCV's VNG, the best peer method here.
    const std::string directional = prefix + info.name + "/tavrix_directional";
    AddCase(directional, Unit::kMegapixels, f.Pixels(),
            [&f, &buffers, info](benchmark::State &state) {
              tavrix::DemosaicOptions options;
              options.origin = kFrameOrigin;
              options.algorithm = tavrix::Algorithm::kDirectional;
              options.bitDepth = kSensorBits;
              const tavrix::RawView raw =
                  info.sixteenIn ? tavrix::RawView::Mono16(f.mosaic16.data(), f.width, f.height)
                                 : tavrix::RawView::Mono8(f.mosaic8.data(), f.width, f.height);
              const tavrix::ColorView out{buffers.output.data(), f.width, f.height, 0,
                                          info.sixteenOut      ? tavrix::PixelFormat::kBgr48
                                          : info.outBytes == 4 ? tavrix::PixelFormat::kBgrx32
                                                               : tavrix::PixelFormat::kBgr24};
              for (auto _ : state) {
                tavrix::Demosaic(raw, out, options);
                benchmark::ClobberMemory();
              }
            });
    std::string directionalPeer;
#if TAVRIX_BENCH_OPENCV
    directionalPeer = PeerCase(f, entry, eLaplacian2);
#endif
    AddComparison({section, std::string(info.name) + " directional", directional, directionalPeer,
                   prefix + "memcpy_" + std::to_string(info.outBytes) + "B",
                   prefix + info.name + "/stream"});
    AddCase(prefix + info.name + "/stream", Unit::kMegapixels, f.Pixels(),
            [&f, &buffers, entry](benchmark::State &state) {
              for (auto _ : state) {
                Stream(entry, f, buffers.output.data());
                benchmark::ClobberMemory();
              }
            });
  }
  for (int bytes : {3, 4, 6})
    AddMemcpyCase(prefix + "memcpy_" + std::to_string(bytes) + "B", Unit::kMegapixels,
                  f.Pixels(), f.Pixels() * bytes, buffers);
#if TAVRIX_BENCH_OPENCV
  AddOpenCvCases(f, buffers);
#endif
}

void AddMemcpyCase(const std::string &name, Unit unit, std::size_t work, std::size_t bytes,
                   Buffers &buffers) {
  buffers.Reserve(bytes);
  AddCase(name, unit, work, [&buffers, bytes](benchmark::State &state) {
    for (auto _ : state) {
      std::memcpy(buffers.output.data(), buffers.scratch.data(), bytes);
      benchmark::ClobberMemory();
    }
  });
}

void Buffers::Reserve(std::size_t bytes) {
  // Touched once here, so that no case pays for the first page faults.
  if (output.size() < bytes) output.assign(bytes, 0);
  if (scratch.size() < bytes) scratch.assign(bytes, 1);
}

}  // namespace bench
