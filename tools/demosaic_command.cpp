// tavrix demosaic: raw mosaic (PGM, headerless samples or a camera raw file) -> colour image.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>

#include <tavrix/tavrix.h>

#include "auto_balance.h"
#include "camera_raw.h"
#include "cli.h"
#include "image_files.h"
#include "sensor_input.h"
#include "tiff_files.h"

namespace tavrix::cli {

const char kDemosaicHelp[] = R"(Usage: tavrix demosaic IN OUT [options]
       tavrix demosaic IN... --out-dir DIR [options]

Turns a raw Bayer mosaic into a colour image.

IN is a binary PGM (P5; maxval up to 255 gives 8-bit samples, above 255
16-bit samples, and the maxval gives the bit depth unless --bits says
otherwise); with --width, --height and --bits, a headerless file of
samples: bytes when --bits is 8, little-endian 16-bit words for 9..16,
or the camera layout --packing names; or a camera raw file (DNG, CR2,
NEF, ARW, RAF, ...; needs LibRaw): its visible area, black level
subtracted and scaled so that the white level becomes 2^bits-1 (bits:
what the white level needs, or --bits), with the file's own pattern.
Sensors that are not Bayer mosaics are refused.
OUT is .png (8 or 16 bits per channel), .tif/.tiff (8 or 16 bits per
channel; needs libtiff), .ppm or .pam, by its extension.

Options:
  --pattern NAME           the Bayer phase (default GB): the first row's colours
                           (GB, GR, BG, RG), CFA letters (RGGB), OpenCV codes
                           (COLOR_BayerBG2BGR), V4L2 (SRGGB10P, pRAA), GenICam
                           (BayerRG12p), DNG (0112) or dcraw (0x94949494) names;
                           a name with a layout (SRGGB10P) also sets --packing
  --algorithm NAME         fast | bilinear | laplacian1 | laplacian2 | directional
                           (default fast; directional: best quality, every pixel)
  --output RECORD          bgr24: 8 bits per channel (default for 8-bit samples)
                           bgr48: the sensor's own scale (default for 16-bit samples)
                           bgrx32: 8 bits per channel, the converter's 32-bit record
  --balance R,G,B          colour-balance offsets on the 8-bit scale, -255..255
  --white-balance camera|none|R,G,B
                           gains written into the converter's tables: every
                           entry of a channel's table times its gain, rounded,
                           capped at the table's maximum (after the offsets of
                           --balance). camera (the default for camera raw
                           files): the file's as-shot multipliers, the
                           smallest made 1; none (the default otherwise)
  --correct                apply a colour-correction matrix (identity unless --matrix)
  --matrix m0,...,m8       the matrix, row-major, acting on (blue, green, red):
                           m0..m2 make blue, m3..m5 green, m6..m8 red
  --decimate N             keep every N-th column and row (fast algorithm, bgrx32
                           output); the width becomes W/N rounded down to even;
                           for odd N only rows that are multiples of 2N are kept
  --auto-balance NAME      balance the result: grayworld | whiteworld | scalebymax |
                           meanequalization | stddev | meanstddev
  --crop X,Y,W,H           write only this region of the result
  --width W --height H --bits B
                           the geometry of a headerless raw IN
  --packing NAME           the layout of a headerless raw IN: raw10 | raw12 | raw14
                           (MIPI CSI-2) | mono10p | mono12p (GenICam) | mono12packed
                           (GigE Vision) | msb16 (words with the sample in the high
                           bits) | be16 (big-endian words) | plain8 | plain16;
                           the packed layouts fix --bits
  --bits B                 with a PGM: the significant bits of its samples;
                           with a camera raw file: the depth to scale to
  --format png|tiff|ppm|pam
                           type of the files written into --out-dir (default png)
  --out-dir DIR            several inputs: write DIR/NAME.png for each IN
  --force                  replace existing outputs
  --quiet                  no summary line

Output values: bgr48 keeps the sensor's scale, 0..2^bits-1 (values the
Laplacian passes push outside it are clipped; words of 32768 or more, which
the first-order pass makes of negative values, become 0). A .ppm or .pam
stores them with maxval 2^bits-1; a 16-bit .png stores them shifted left to
the full 16-bit scale and records the significant bits (sBIT), so that
tavrix balance reads them back on the sensor's scale. Pixels an algorithm
does not compute (the last row and column for fast, a border of one or two
pixels for the others) are black.

Examples:
  tavrix demosaic frame.pgm frame.png --pattern RG --algorithm laplacian2
  tavrix demosaic dump.raw dump.png --width 1280 --height 960 --bits 12 --pattern BG
  tavrix demosaic csi.raw csi.png --width 4056 --height 3040 --pattern SRGGB12P
  tavrix demosaic *.pgm --out-dir developed --auto-balance grayworld
  tavrix demosaic photo.dng photo.tiff --algorithm laplacian2
)";

namespace {

const std::vector<OptionRule> kOptions = {
    {"--pattern", true}, {"--algorithm", true}, {"--output", true},       {"--balance", true},
    {"--correct", false}, {"--matrix", true},   {"--decimate", true},     {"--auto-balance", true},
    {"--crop", true},    {"--width", true},     {"--height", true},       {"--bits", true},
    {"--format", true},  {"--packing", true},
    {"--white-balance", true}};

const ePatternOrigin kOrigins[] = {eOriginGB, eOriginGR, eOriginBG, eOriginRG};
const char *const kOriginNames[] = {"GB", "GR", "BG", "RG"};  // as camera_raw.h names them
const eCalculationMode kModes[] = {eFastBilinear, eBilinear, eLaplacian1, eLaplacian2};
enum class Record { kBgr24, kBgrx32, kBgr48 };
const char *const kRecordNames[] = {"bgr24", "bgrx32", "bgr48"};
const char *const kFormatExtensions[] = {".png", ".ppm", ".pam", ".tiff"};

constexpr int kMaxSide = 1 << 30;
constexpr int kMaxDecimation = 1024;
constexpr int kMaxOffset = 255;  // beyond it every value saturates anyway
constexpr double kMaxGain = 64;   // six stops; beyond it nearly every value saturates

enum class WhiteBalance { kDefault, kCamera, kNone, kGains };

// Everything the command line fixes, checked before any file is read.
struct Settings {
  SensorFormat sensor;
  eCalculationMode mode = eFastBilinear;
  bool directional = false;
  bool recordGiven = false;
  Record record = Record::kBgr24;
  int offsets[3] = {0, 0, 0};  // red, green, blue
  bool correct = false;
  CColorMatrix matrix;
  int decimate = 1;
  bool autoBalance = false;
  std::size_t estimator = 0;
  bool crop = false;
  int cropBox[4] = {0, 0, 0, 0};
  bool raw = false;
  int rawWidth = 0, rawHeight = 0;
  int bits = 0;  // 0: from the PGM
  bool replace = false;
  bool quiet = false;
  bool patternGiven = false;
  WhiteBalance whiteBalance = WhiteBalance::kDefault;
  double gains[3] = {1, 1, 1};  // red, green, blue, for WhiteBalance::kGains
};

Settings ReadSettings(const Arguments &a) {
  Settings s;
  s.sensor = ReadSensorFormat(a);
  if (a.Has("--algorithm"))
  {
    const std::size_t k =
        a.Choice("--algorithm", {"fast", "bilinear", "laplacian1", "laplacian2", "directional"});
    // The directional algorithm runs through the views interface; the
    // converter keeps building the tables it needs for white balance gains.
    s.directional = k == 4;
    s.mode = s.directional ? eLaplacian1 : kModes[k];
  }
  if (a.Has("--output")) {
    s.recordGiven = true;
    s.record = Record(a.Choice("--output", {kRecordNames[0], kRecordNames[1], kRecordNames[2]}));
  }
  if (a.Has("--balance")) {
    const std::vector<int> v = a.Integers("--balance", 3, -kMaxOffset, kMaxOffset);
    std::copy(v.begin(), v.end(), s.offsets);
  }
  s.correct = a.Has("--correct");
  if (a.Has("--matrix")) {
    if (!s.correct) a.Refuse("--matrix needs --correct (without it the matrix is not applied)");
    const std::vector<double> m = a.Reals("--matrix", 9);
    std::copy(m.begin(), m.end(), s.matrix.m_matrix);
  }
  if (a.Has("--decimate")) s.decimate = a.Integer("--decimate", 1, kMaxDecimation);
  if (s.decimate > 1) {
    if (s.mode != eFastBilinear)
      a.Refuse("--decimate needs --algorithm fast: only the fast pass thins rows and columns "
               "alike (the per-site passes thin only some origins)");
    if (s.correct)
      a.Refuse("--decimate cannot be combined with --correct: the corrected fast pass thins "
               "the rows but writes every column");
    if (s.recordGiven && s.record != Record::kBgrx32)
      a.Refuse("--decimate needs --output bgrx32: only the 32-bit output is thinned");
    s.recordGiven = true;
    s.record = Record::kBgrx32;
  }
  if (a.Has("--auto-balance")) {
    s.autoBalance = true;
    s.estimator = a.Choice("--auto-balance", EstimatorNames());
  }
  if (a.Has("--crop")) {
    s.crop = true;
    const std::vector<int> v = a.Integers("--crop", 4, 0, kMaxSide);
    std::copy(v.begin(), v.end(), s.cropBox);
    if (s.cropBox[2] == 0 || s.cropBox[3] == 0) a.Refuse("--crop " + a.Value("--crop") + ": empty region");
  }
  s.raw = a.Has("--width") || a.Has("--height");
  if (s.sensor.packingGiven && !s.raw)
    a.Refuse("--packing applies to a headerless raw input: give --width and --height");
  if (!s.raw) s.sensor.packing.reset();  // a PGM says its own sample format
  if (s.raw) {
    if (!a.Has("--width") || !a.Has("--height") || (!a.Has("--bits") && !s.sensor.packing))
      a.Refuse("a headerless raw input needs --width, --height and --bits together");
    s.rawWidth = a.Integer("--width", 1, kMaxSide);
    s.rawHeight = a.Integer("--height", 1, kMaxSide);
  }
  if (a.Has("--bits")) s.bits = a.Integer("--bits", 8, 16);
  if (s.raw) s.bits = HeaderlessBits(a, s.sensor, s.bits, s.rawWidth);
  if (a.Has("--format") && !a.Has("--out-dir")) a.Refuse("--format applies to --out-dir only");
  s.replace = a.Has("--force");
  s.quiet = a.Has("--quiet");
  s.patternGiven = a.Has("--pattern");
  if (a.Has("--white-balance")) {
    const std::string &v = a.Value("--white-balance");
    if (v == "camera" || v == "none") {
      s.whiteBalance = v == "camera" ? WhiteBalance::kCamera : WhiteBalance::kNone;
    } else {
      s.whiteBalance = WhiteBalance::kGains;
      const std::vector<double> g = a.Reals("--white-balance", 3);
      for (double gain : g)
        if (!(gain > 0 && gain <= kMaxGain))
          a.Refuse("--white-balance " + v + ": gains must lie above 0 and at most 64");
      std::copy(g.begin(), g.end(), s.gains);
    }
  }
  return s;
}

bool StartsLikePgm(const std::string &path) {
  char magic[2] = {0, 0};
  std::ifstream(path, std::ios::binary).read(magic, 2);
  return magic[0] == 'P' && magic[1] == '5';
}

// A camera raw file also fills `camera`.
files::GreyImage LoadMosaic(const std::string &path, const Settings &s,
                            std::optional<files::CameraRaw> &camera) {
  files::GreyImage mosaic;
  std::string error;
  if (!s.raw && !StartsLikePgm(path)) {
    camera.emplace();
    if (!files::ReadCameraRaw(path, s.bits, *camera, error)) {
      const std::string notRaw = "not a camera raw file";
      if (error.rfind(notRaw, 0) == 0)
        error = "not a binary PGM (no P5 header) nor a camera raw file" +
                error.substr(notRaw.size()) +
                "; for a headerless raw file give --width, --height and --bits";
      throw Failure(path, error);
    }
    if (s.patternGiven)
      throw Failure(path, "--pattern: a camera raw file states its own pattern (here " +
                              camera->pattern + ")");
    return std::move(camera->mosaic);
  }
  if (s.raw) {
    const bool read = s.sensor.packing ? ReadPackedMosaic(path, s.rawWidth, s.rawHeight, s.bits,
                                                          *s.sensor.packing, mosaic, error)
                                       : files::ReadRawMosaic(path, s.rawWidth, s.rawHeight,
                                                              s.bits, mosaic, error);
    if (!read) throw Failure(path, error);
    return mosaic;
  }
  if (!files::ReadPgm(path, mosaic, error)) {
    if (error.rfind("not a binary PGM", 0) == 0)
      error += "; for a headerless raw file give --width, --height and --bits";
    throw Failure(path, error);
  }
  if (s.bits != 0) {
    if (!mosaic.wide && s.bits != 8)
      throw Failure(path, "--bits " + std::to_string(s.bits) +
                              ": the PGM holds 8-bit samples (maxval below 256), so --bits must be 8");
    mosaic.bits = s.bits;
  }
  return mosaic;
}

// What the converter would refuse silently, said aloud.
void CheckMosaic(const std::string &path, const files::GreyImage &m) {
  const std::string size = std::to_string(m.width) + " x " + std::to_string(m.height);
  if (m.width % 2 != 0 || m.height % 2 != 0)
    throw Failure(path, size + ": odd " + (m.width % 2 != 0 ? "width" : "height") +
                            "; the converter needs whole 2 x 2 Bayer cells (even width and height)");
  if (m.width < 4 || m.height < 4)
    throw Failure(path, size + " is too small; the converter needs at least 4 x 4");
  const std::uint16_t top = std::uint16_t((1u << m.bits) - 1);
  const auto high = std::find_if(m.data.begin(), m.data.end(), [top](std::uint16_t v) { return v > top; });
  if (high != m.data.end()) {
    const std::size_t at = std::size_t(high - m.data.begin());
    throw Failure(path, "sample " + std::to_string(*high) + " at row " +
                            std::to_string(at / std::size_t(m.width)) + ", column " +
                            std::to_string(at % std::size_t(m.width)) + " does not fit in " +
                            std::to_string(m.bits) + " bits (see --bits)");
  }
}

// The converter's output buffer and the part of it that holds the image.
struct Geometry {
  ISize buffer;  // the output size handed to the converter
  int rows;      // rows of it the conversion fills
};

Geometry GeometryOf(const std::string &path, const files::GreyImage &m, int factor) {
  if (factor == 1) return {{m.width, m.height}, m.height};
  // The decimating 32-bit fast pass: the even-row kernel alone visits rows
  // 0, 2, ..., H - 2 and keeps those that are multiples of N (so of 2N for
  // odd N), writing W/N pixels from each, packed.
  const int width = (m.width / factor) & ~1;
  if (width < 4)
    throw Failure(path, "--decimate " + std::to_string(factor) + " leaves " +
                            std::to_string(width) + " columns of " + std::to_string(m.width) +
                            "; the converter needs an output at least 4 wide");
  const int step = factor % 2 == 0 ? factor : 2 * factor;
  const int rows = (m.height - 2) / step + 1;
  // A spare row below the image: with 8-bit samples the converter clears the
  // last row of its output, which the fast pass has otherwise not written.
  return {{width, std::max(4, (rows + 2) & ~1)}, rows};
}

std::size_t RecordBytes(Record r) {
  return r == Record::kBgr24 ? sizeof(tagRGBTRIPLE)
         : r == Record::kBgrx32 ? sizeof(CBayerConverter::BGRxTRIPLE)
                                : sizeof(CBayerConverter::RGBTRIPLE16);
}

// Runs the entry point for the record and the sample width; returns the seconds it took.
double Convert(CBayerConverter &conv, const Settings &s, Record record,
               const files::GreyImage &m, const ISize &outSize, std::uint16_t *buffer) {
  const ISize inSize = {m.width, m.height};
  CColorMatrix matrix = s.matrix;
  std::vector<unsigned char> narrow;
  if (!m.wide) narrow.assign(m.data.begin(), m.data.end());
  unsigned char *bytes = reinterpret_cast<unsigned char *>(buffer);
  const unsigned short depth = static_cast<unsigned short>(m.bits);
  constexpr unsigned short kSixteenBitSamples = 100;  // the format code of plain 16-bit words
  const auto start = std::chrono::steady_clock::now();
  switch (record) {
    case Record::kBgr24:
      if (m.wide)
        conv.ConvertMono16ToBGR(bytes, outSize, m.data.data(), inSize, depth, matrix);
      else
        conv.ConvertMono8ToBGR(bytes, outSize, narrow.data(), inSize, matrix);
      break;
    case Record::kBgrx32:
      if (m.wide)
        conv.ConvertMono16ToBGRx(bytes, outSize, m.data.data(), inSize, depth,
                                 kSixteenBitSamples, matrix);
      else
        conv.ConvertMono8ToBGRx(bytes, outSize, narrow.data(), inSize, matrix);
      break;
    case Record::kBgr48:
      conv.ConvertMono16ToBGR48(buffer, outSize, m.data.data(), inSize, depth, matrix);
      break;
  }
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  return took.count();
}

// The 48-bit records can leave the sensor's range: the Laplacian passes
// overshoot, and the first-order one stores a negative value as a large word
// (-5 as 65531). Files and the balance step take 0 .. 2^bits - 1, so a word
// of 32768 or more counts as negative and becomes 0, any other value above
// the range becomes the maximum.
void ClipToSensorRange(std::uint16_t *words, std::size_t count, int bits) {
  const std::uint16_t top = std::uint16_t((1u << bits) - 1);
  constexpr std::uint16_t kWrappedNegative = 0x8000;
  for (std::size_t i = 0; i < count; ++i)
    if (words[i] > top) words[i] = words[i] >= kWrappedNegative ? 0 : top;
}

template <class Pixel>
void ToRgb(const unsigned char *records, int width, int rows, std::vector<std::uint16_t> &rgb) {
  const std::size_t count = std::size_t(width) * std::size_t(rows);
  rgb.resize(count * 3);
  for (std::size_t i = 0; i < count; ++i) {
    Pixel px;
    std::memcpy(&px, records + i * sizeof(Pixel), sizeof(Pixel));
    rgb[3 * i] = px.rgbtRed;
    rgb[3 * i + 1] = px.rgbtGreen;
    rgb[3 * i + 2] = px.rgbtBlue;
  }
}

void Crop(files::RgbImage &image, const int box[4], const std::string &path) {
  const int x = box[0], y = box[1], w = box[2], h = box[3];
  if (std::int64_t(x) + w > image.width || std::int64_t(y) + h > image.height)
    throw Failure(path, "--crop " + std::to_string(x) + "," + std::to_string(y) + "," +
                            std::to_string(w) + "," + std::to_string(h) + " reaches outside the " +
                            std::to_string(image.width) + " x " + std::to_string(image.height) +
                            " result");
  std::vector<std::uint16_t> region(std::size_t(w) * std::size_t(h) * 3);
  for (int r = 0; r < h; ++r) {
    const auto from = image.data.begin() + std::ptrdiff_t((std::size_t(y + r) * image.width + x) * 3);
    std::copy(from, from + std::ptrdiff_t(w) * 3, region.begin() + std::ptrdiff_t(r) * w * 3);
  }
  image = {w, h, image.bits, std::move(region)};
}

files::FileType OutputType(const std::string &path) {
  const files::FileType type = files::TypeFromName(path);
  if (type == files::FileType::kTiff && !files::TiffSupported())
    throw Failure(path, "TIFF is not available in this build (libtiff was not found); name it .png, .ppm or .pam");
  if (type == files::FileType::kTiff) return type;
  if (type != files::FileType::kPng && type != files::FileType::kPpm && type != files::FileType::kPam)
    throw Failure(path, "unknown image type: name it .png, .tiff, .ppm or .pam");
  if (type == files::FileType::kPng && !files::PngSupported())
    throw Failure(path, "PNG is not available in this build (libpng was not found); name it .ppm or .pam");
  return type;
}

void WriteResult(OutputFile &out, files::FileType type, const files::RgbImage &image,
                 const files::TiffNotes &notes) {
  std::string error;
  const bool written = type == files::FileType::kTiff
                           ? files::WriteTiff(out.Open(), image, notes, error)
                           : files::WriteImage(out.Open(), type, image, error);
  if (!written) throw Failure(out.Path(), error, kExitCannotWrite);
  out.Commit();
}

ePatternOrigin OriginNamed(const std::string &name) {
  for (std::size_t i = 0; i < 4; ++i)
    if (name == kOriginNames[i]) return kOrigins[i];
  return eOriginGB;
}

const char *NameOf(ePatternOrigin origin) {
  for (std::size_t i = 0; i < 4; ++i)
    if (origin == kOrigins[i]) return kOriginNames[i];
  return "?";
}

// ---- white balance ------------------------------------------------------------

// Red, green, blue gains for one input: the file's as-shot multipliers, the
// user's, or none.
struct Gains {
  double rgb[3] = {1, 1, 1};
  bool Unity() const { return rgb[0] == 1 && rgb[1] == 1 && rgb[2] == 1; }
};

Gains GainsFor(const std::string &path, const Settings &s,
               const std::optional<files::CameraRaw> &camera) {
  Gains g;
  if (s.whiteBalance == WhiteBalance::kGains) std::copy(s.gains, s.gains + 3, g.rgb);
  const bool fromFile = s.whiteBalance == WhiteBalance::kCamera ||
                        (s.whiteBalance == WhiteBalance::kDefault && camera);
  if (!fromFile) return g;
  if (!camera)
    throw Failure(path, "--white-balance camera: only camera raw files record an as-shot white "
                        "balance; give the gains as --white-balance R,G,B");
  if (camera->multipliers[0] == 0) {
    if (!s.quiet)
      std::fprintf(stderr, "tavrix: %s: records no as-shot white balance; written without\n",
                   path.c_str());
    return g;
  }
  std::copy(camera->multipliers, camera->multipliers + 3, g.rgb);
  return g;
}

// Builds the converter's tables for this frame and multiplies them by the
// gains. The entry points rebuild the tables when the frame's depth settings
// differ from the stored ones, which would undo the gains: a 4 x 4 conversion
// with the same entry point stores this frame's settings first. Without gains
// the tables are rebuilt all the same, since an earlier frame may have scaled them.
void PrepareTables(CBayerConverter &conv, const Settings &s, Record record,
                   const files::GreyImage &m, const Gains &g) {
  if (!g.Unity()) {
    const files::GreyImage probe{4, 4, m.bits, m.wide, std::vector<std::uint16_t>(16, 0)};
    std::vector<std::uint16_t> scratch(4 * 4 * 3, 0);
    conv.SetSampleFactor(1);
    Convert(conv, s, record, probe, {4, 4}, scratch.data());
    conv.SetSampleFactor(s.decimate);
  }
  conv.SetColorBalance(s.offsets[0], s.offsets[1], s.offsets[2]);
  if (g.Unity()) return;
  // The 32-bit fast pass of 16-bit samples reads 8-bit values from its tables;
  // every other conversion reads values on the sensor's scale.
  const bool eightBitTables = record == Record::kBgrx32 && s.mode == eFastBilinear && m.wide;
  const double top = eightBitTables ? 255 : double((1u << m.bits) - 1);
  unsigned short *const tables[3] = {conv.GetRedLUT(), conv.GetGreenLUT(), conv.GetBlueLUT()};
  constexpr std::size_t kLutSize = 65536;  // any 16-bit sample indexes it
  for (int c = 0; c < 3; ++c)
    for (std::size_t i = 0; i < kLutSize; ++i)
      tables[c][i] = static_cast<unsigned short>(std::min(top, std::floor(tables[c][i] * g.rgb[c] + 0.5)));
}

// What a TIFF records of how it was made.
files::TiffNotes NotesFor(const Settings &s, const files::GreyImage &m, ePatternOrigin origin,
                          const Gains &g, const std::optional<files::CameraRaw> &camera,
                          int outputBits) {
  static const char *const kModeNames[] = {"fast", "bilinear", "laplacian1", "laplacian2"};
  const std::string algorithm = s.directional ? "directional" : kModeNames[int(s.mode) & 3];
  char gains[96];
  std::snprintf(gains, sizeof gains, "%.4g,%.4g,%.4g", g.rgb[0], g.rgb[1], g.rgb[2]);
  files::TiffNotes notes;
  notes.description = "tavrix demosaic: " + std::to_string(m.bits) + "-bit mosaic, pattern " +
                      NameOf(origin) + ", algorithm " + algorithm +
                      ", white balance gains " + gains + "; " + std::to_string(outputBits) +
                      " significant bits per channel";
  if (camera) {
    notes.description += "; black level " + std::to_string(camera->black) + ", white level " +
                         std::to_string(camera->white);
    notes.make = camera->make;
    notes.model = camera->model;
  }
  notes.software = std::string("tavrix ") + TAVRIX_TOOL_VERSION;
  return notes;
}

// Colour (0 red, 1 green, 2 blue) of site (x, y) under `origin`.
int SiteColour(ePatternOrigin origin, int x, int y) {
  const bool redRow = (origin == eOriginGR || origin == eOriginRG) == (y % 2 == 0);
  const bool greenFirst = (origin == eOriginGB || origin == eOriginGR) == (y % 2 == 0);
  if ((x % 2 == 0) == greenFirst) return 1;
  return redRow ? 0 : 2;
}

// The directional algorithm through tavrix::Demosaic. With white balance
// gains the samples go through the converter's tables first (offsets and gains
// as every other algorithm applies them) and the call adds no offsets.
double ConvertDirectional(CBayerConverter &conv, const Settings &s, Record record,
                          const files::GreyImage &m, const Gains &gains, std::uint16_t *buffer) {
  tavrix::DemosaicOptions o;
  o.origin = conv.GetPatternOrigin();
  o.algorithm = tavrix::Algorithm::kDirectional;
  o.bitDepth = m.wide ? m.bits : 0;
  o.correctColors = s.correct;
  std::copy(s.matrix.m_matrix, s.matrix.m_matrix + 9, o.matrix.begin());
  std::vector<std::uint16_t> samples(m.data.begin(), m.data.end());
  if (!gains.Unity()) {
    const unsigned short *const tables[3] = {conv.GetRedLUT(), conv.GetGreenLUT(), conv.GetBlueLUT()};
    for (int y = 0; y < m.height; ++y)
      for (int x = 0; x < m.width; ++x) {
        std::uint16_t &v = samples[std::size_t(y) * m.width + x];
        v = tables[SiteColour(o.origin, x, y)][v];
      }
  } else {
    o.balanceRed = s.offsets[0];
    o.balanceGreen = s.offsets[1];
    o.balanceBlue = s.offsets[2];
  }
  std::vector<std::uint8_t> narrow;
  if (!m.wide) narrow.assign(samples.begin(), samples.end());
  const tavrix::RawView raw = m.wide ? tavrix::RawView::Mono16(samples.data(), m.width, m.height)
                                     : tavrix::RawView::Mono8(narrow.data(), m.width, m.height);
  const tavrix::PixelFormat format = record == Record::kBgr24    ? tavrix::PixelFormat::kBgr24
                                     : record == Record::kBgrx32 ? tavrix::PixelFormat::kBgrx32
                                                                 : tavrix::PixelFormat::kBgr48;
  const auto start = std::chrono::steady_clock::now();
  const tavrix::Status status =
      tavrix::Demosaic(raw, tavrix::ColorView{buffer, m.width, m.height, 0, format}, o);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  if (!status.ok()) throw Failure("tavrix::Demosaic", status.message());
  return took.count();
}

TaskResult Demosaic(CBayerConverter &conv, const Settings &s, const Task &task) {
  const files::FileType type = OutputType(task.output);
  OutputFile out(task.output, s.replace);
  std::optional<files::CameraRaw> camera;
  const files::GreyImage mosaic = LoadMosaic(task.input, s, camera);
  CheckMosaic(task.input, mosaic);
  const Record record = s.recordGiven ? s.record : mosaic.wide ? Record::kBgr48 : Record::kBgr24;
  if (record == Record::kBgr48 && !mosaic.wide)
    throw Failure(task.input, "--output bgr48 needs 16-bit samples; this mosaic has 8-bit samples");
  const Geometry g = GeometryOf(task.input, mosaic, s.decimate);
  const ePatternOrigin origin = camera ? OriginNamed(camera->pattern) : s.sensor.origin;
  conv.SetPatternOrigin(origin);
  const Gains gains = GainsFor(task.input, s, camera);
  PrepareTables(conv, s, record, mosaic, gains);

  // Zero-filled, so that pixels the algorithm leaves unwritten come out black.
  const std::size_t bytes = std::size_t(g.buffer.width) * std::size_t(g.buffer.height) * RecordBytes(record);
  std::vector<std::uint16_t> buffer((bytes + 1) / 2, 0);
  TaskResult result;
  result.workSeconds = s.directional ? ConvertDirectional(conv, s, record, mosaic, gains, buffer.data())
                                     : Convert(conv, s, record, mosaic, g.buffer, buffer.data());
  result.pixels = double(mosaic.width) * mosaic.height;
  if (record == Record::kBgr48) ClipToSensorRange(buffer.data(), buffer.size(), mosaic.bits);

  const unsigned char *records = reinterpret_cast<const unsigned char *>(buffer.data());
  if (s.autoBalance) {
    const std::size_t imageBytes = std::size_t(g.buffer.width) * std::size_t(g.rows) * RecordBytes(record);
    if (imageBytes > 0xffffffffu)
      throw Failure(task.input, "too large for --auto-balance (the balance step takes images below 4 GiB)");
    const PixelLayout layout = record == Record::kBgr24 ? PixelLayout::kBgr24
                               : record == Record::kBgrx32 ? PixelLayout::kBgrx32
                                                           : PixelLayout::kBgr48;
    const int depth = record == Record::kBgr48 ? mosaic.bits : 8;
    const auto start = std::chrono::steady_clock::now();
    const bool applied = AutoBalance(s.estimator, layout, g.buffer.width, g.rows, depth,
                                     reinterpret_cast<unsigned char *>(buffer.data()));
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    result.workSeconds += took.count();
    if (!applied && !s.quiet)
      std::fprintf(stderr, "tavrix: %s: %s found nothing to correct; written unbalanced\n",
                   task.input.c_str(), EstimatorNames()[s.estimator].c_str());
  }

  files::RgbImage image;
  image.width = g.buffer.width;
  image.height = g.rows;
  image.bits = record == Record::kBgr48 ? mosaic.bits : 8;
  switch (record) {
    case Record::kBgr24: ToRgb<tagRGBTRIPLE>(records, image.width, image.height, image.data); break;
    case Record::kBgrx32:
      ToRgb<CBayerConverter::BGRxTRIPLE>(records, image.width, image.height, image.data);
      break;
    case Record::kBgr48:
      ToRgb<CBayerConverter::RGBTRIPLE16>(records, image.width, image.height, image.data);
      break;
  }
  if (s.crop) Crop(image, s.cropBox, task.input);
  WriteResult(out, type, image, NotesFor(s, mosaic, origin, gains, camera, image.bits));
  return result;
}

}  // namespace

int DemosaicCommand(const std::vector<std::string> &args) {
  const Arguments a("demosaic", args, kOptions);
  const Settings s = ReadSettings(a);
  std::string extension = files::PngSupported() ? ".png" : ".ppm";
  if (a.Has("--format"))
    extension = kFormatExtensions[a.Choice("--format", {"png", "ppm", "pam", "tiff"})];
  const std::vector<Task> tasks =
      TasksOf(a, [&](const std::string &name) { return ReplaceExtension(name, extension); });

  auto conv = std::make_unique<CBayerConverter>();  // ~400 KB of tables: one for all frames
  conv->SetCalcMode(s.mode);
  conv->SetSampleFactor(s.decimate);
  conv->SetColorCorrectionMode(s.correct);
  // The 32-bit entry points correct with the stored matrix, the others with their argument.
  const double *m = s.matrix.m_matrix;
  conv->SetCorrectionMatrix(m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8]);
  return RunTasks(a, tasks, Summary::kPixels,
                  [&](const Task &task) { return Demosaic(*conv, s, task); });
}

}  // namespace tavrix::cli
