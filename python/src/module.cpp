// The Python module tavrix._tavrix: numpy arrays in, numpy arrays out, on the
// tavrix:: interface. Arrays are viewed, never copied on the way in (rows may be
// padded; samples within a row must be contiguous), the GIL is released while
// the library works, and a refused call raises with the library's own message.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <tavrix/balance.h>
#include <tavrix/compress.h>
#include <tavrix/demosaic.h>
#include <tavrix/formats.h>

namespace py = pybind11;

namespace {

// ---- names ----------------------------------------------------------------------

template <class Value>
struct Named {
  const char *name;
  Value value;
};

template <class Value, std::size_t N>
Value Lookup(const Named<Value> (&table)[N], const std::string &name, const char *what) {
  std::string known;
  for (const Named<Value> &entry : table) {
    if (name == entry.name) return entry.value;
    known += std::string(known.empty() ? "" : ", ") + entry.name;
  }
  throw py::value_error(std::string("unknown ") + what + " '" + name + "' (one of: " + known + ")");
}

const Named<tavrix::Algorithm> kAlgorithms[] = {
    {"fast", tavrix::Algorithm::kFastBilinear},
    {"bilinear", tavrix::Algorithm::kBilinear},
    {"laplacian1", tavrix::Algorithm::kLaplacian1},
    {"laplacian2", tavrix::Algorithm::kLaplacian2},
    {"directional", tavrix::Algorithm::kDirectional}};

const Named<tavrix::PixelFormat> kOutputs[] = {{"bgr24", tavrix::PixelFormat::kBgr24},
                                               {"bgrx32", tavrix::PixelFormat::kBgrx32},
                                               {"bgr48", tavrix::PixelFormat::kBgr48}};

const Named<tavrix::SampleBytes> kSampleBytes[] = {{"whole", tavrix::SampleBytes::kWhole},
                                                   {"high", tavrix::SampleBytes::kHighByte},
                                                   {"low", tavrix::SampleBytes::kLowByte}};

// The command-line tool's estimator names.
const Named<tavrix::BalanceEstimator> kEstimators[] = {
    {"grayworld", tavrix::BalanceEstimator::kGrayWorld},
    {"whiteworld", tavrix::BalanceEstimator::kWhiteWorld},
    {"scalebymax", tavrix::BalanceEstimator::kScaleByMax},
    {"meanequalization", tavrix::BalanceEstimator::kMeanEqualization},
    {"stddev", tavrix::BalanceEstimator::kStandardDeviation},
    {"meanstddev", tavrix::BalanceEstimator::kMeanAndStandardDeviation}};

const Named<tavrix::Codec> kCodecs[] = {{"huffman", tavrix::Codec::kHuffman},
                                        {"lz77", tavrix::Codec::kLz77},
                                        {"rle", tavrix::Codec::kRle}};

void Check(const tavrix::Status &s) {
  if (!s.ok()) throw py::value_error(s.message());
}

// ---- arrays ---------------------------------------------------------------------

// The row stride of an array whose rows hold `rowItems` contiguous items of
// `itemBytes` (a 2-D array, or 3-D with the channels innermost).
std::ptrdiff_t RowStride(const py::array &a, const char *what, std::size_t itemBytes) {
  const py::ssize_t columnStep = a.strides(1);
  if (columnStep != py::ssize_t(itemBytes))
    throw py::value_error(std::string(what) + ": the samples of a row must be contiguous (column stride " +
                          std::to_string(columnStep) + " bytes, expected " +
                          std::to_string(itemBytes) + "); pass numpy.ascontiguousarray(...)");
  if (a.ndim() == 3 && a.strides(2) != a.itemsize())
    throw py::value_error(std::string(what) + ": the channels of a pixel must be contiguous (channel stride " +
                          std::to_string(a.strides(2)) + " bytes, expected " +
                          std::to_string(a.itemsize()) + ")");
  const py::ssize_t rowStep = a.strides(0);
  if (rowStep <= 0 && a.shape(0) > 1)
    throw py::value_error(std::string(what) + ": rows must run downwards in memory (row stride " +
                          std::to_string(rowStep) + " bytes)");
  return a.shape(0) > 1 ? rowStep : std::ptrdiff_t(a.shape(1) * itemBytes);
}

bool IsUint8(const py::array &a) { return a.dtype().is(py::dtype::of<std::uint8_t>()); }
bool IsUint16(const py::array &a) { return a.dtype().is(py::dtype::of<std::uint16_t>()); }

std::string Describe(const py::array &a) {
  std::string shape = "(";
  for (py::ssize_t d = 0; d < a.ndim(); ++d)
    shape += (d ? ", " : "") + std::to_string(a.shape(d));
  return shape + (a.ndim() == 1 ? ",)" : ")") + " " + std::string(py::str(a.dtype()));
}

tavrix::RawView RawOf(const py::array &raw) {
  if (raw.ndim() != 2)
    throw py::value_error("raw: a mosaic is a 2-D array (height, width), got " + Describe(raw));
  if (!IsUint8(raw) && !IsUint16(raw))
    throw py::type_error("raw: samples must be uint8 or uint16, got " + Describe(raw));
  tavrix::RawView v;
  v.data = raw.data();
  v.height = int(raw.shape(0));
  v.width = int(raw.shape(1));
  v.type = IsUint8(raw) ? tavrix::SampleType::kMono8 : tavrix::SampleType::kMono16;
  v.strideBytes = RowStride(raw, "raw", raw.itemsize());
  return v;
}

// The pixel format an (H, W, C) array holds.
tavrix::PixelFormat FormatOf(const py::array &image, const char *what) {
  if (image.ndim() == 3 && image.shape(2) == 3 && IsUint8(image)) return tavrix::PixelFormat::kBgr24;
  if (image.ndim() == 3 && image.shape(2) == 4 && IsUint8(image)) return tavrix::PixelFormat::kBgrx32;
  if (image.ndim() == 3 && image.shape(2) == 3 && IsUint16(image)) return tavrix::PixelFormat::kBgr48;
  const std::string wanted = std::string(what) +
                             ": a colour image is (height, width, 3) uint8, (height, width, 4) "
                             "uint8 or (height, width, 3) uint16, got " + Describe(image);
  if (image.ndim() == 3 && (IsUint8(image) || IsUint16(image))) throw py::value_error(wanted);
  throw py::type_error(wanted);
}

tavrix::ColorView ColorOf(py::array &image, const char *what) {
  const tavrix::PixelFormat format = FormatOf(image, what);
  if (!image.writeable()) throw py::value_error(std::string(what) + ": the array is read-only");
  return tavrix::ColorView(image.mutable_data(), int(image.shape(1)), int(image.shape(0)),
                           RowStride(image, what, tavrix::BytesPerPixel(format)), format);
}

std::vector<py::ssize_t> ShapeOf(tavrix::PixelFormat f, int height, int width) {
  return {height, width, f == tavrix::PixelFormat::kBgrx32 ? 4 : 3};
}

py::array NewImage(tavrix::PixelFormat f, int height, int width) {
  const auto shape = ShapeOf(f, height, width);
  py::array image = f == tavrix::PixelFormat::kBgr48 ? py::array(py::dtype::of<std::uint16_t>(), shape)
                                                     : py::array(py::dtype::of<std::uint8_t>(), shape);
  // The algorithms leave borders as the buffer held them: start from zeros.
  std::memset(image.mutable_data(), 0, std::size_t(image.nbytes()));
  return image;
}

ePatternOrigin OriginOf(const py::object &pattern) {
  if (py::isinstance<py::int_>(pattern)) {
    const int origin = pattern.cast<int>();
    if (origin == eOriginGB || origin == eOriginGR || origin == eOriginBG || origin == eOriginRG)
      return ePatternOrigin(origin);
    throw py::value_error("pattern: origin " + std::to_string(origin) +
                          " is none of GB (1), GR (2), BG (4), RG (8)");
  }
  if (!py::isinstance<py::str>(pattern))
    throw py::type_error("pattern: a name such as 'RGGB', 'BayerRG12p', 'SRGGB10P' or an origin number");
  tavrix::PatternName parsed;
  Check(tavrix::ParsePatternName(pattern.cast<std::string>(), &parsed));
  return parsed.origin;
}

tavrix::Parallelism ThreadsOf(int threads) {
  if (threads < 0) throw py::value_error("threads: 0 (every core) or a positive count, got " + std::to_string(threads));
  tavrix::Parallelism p;
  p.threads = threads;
  return p;
}

// Rows and columns a decimating 32-bit fast pass fills: every factor-th column
// (the width rounded down to even) and every factor-th even row.
struct Decimated {
  int width, height, rows;
};
Decimated DecimatedGeometry(int width, int height, int factor) {
  const int outWidth = (width / factor) & ~1;
  const int step = factor % 2 == 0 ? factor : 2 * factor;
  const int rows = (height - 2) / step + 1;
  // One spare row: with 8-bit samples the converter clears the last row it owns.
  return {outWidth, std::max(4, (rows + 2) & ~1), rows};
}

// ---- functions ------------------------------------------------------------------

tavrix::Packing PackingOf(const std::string &name);
py::buffer_info ContiguousBuffer(const py::buffer &b, const char *what);

// A frame of a camera layout: `raw` holds its bytes (a bytes-like object, or a
// uint8 array whose rows are the packed rows).
tavrix::RawView PackedRawOf(const py::object &raw, tavrix::Packing packing, int width,
                            int height, std::size_t stride, py::buffer_info *keep) {
  if (width <= 0 || height <= 0)
    throw py::value_error("width and height of the packed frame are needed, got " +
                          std::to_string(width) + "x" + std::to_string(height));
  const std::size_t rowBytes = tavrix::PackedRowBytes(packing, width);
  std::size_t packedStride = stride != 0 ? stride : rowBytes;
  if (py::isinstance<py::array>(raw) && py::array(raw.cast<py::array>()).ndim() == 2 && stride == 0) {
    const py::array a = raw.cast<py::array>();
    packedStride = std::size_t(RowStride(a, "raw", 1));
    *keep = py::buffer_info(const_cast<void *>(a.data()), 1, "B", 1,
                            {py::ssize_t(packedStride) * a.shape(0)}, {1});
  } else {
    *keep = ContiguousBuffer(raw.cast<py::buffer>(), "raw");
  }
  const std::size_t have = std::size_t(keep->size * keep->itemsize);
  const std::size_t need = packedStride * std::size_t(height - 1) + rowBytes;
  if (have < need)
    throw py::value_error("raw: holds " + std::to_string(have) + " bytes but " +
                          std::to_string(height) + " rows of " + std::to_string(width) + " " +
                          tavrix::PackingName(packing) + " samples need " + std::to_string(need));
  return tavrix::RawView::Packed(keep->ptr, width, height, packing,
                                 std::ptrdiff_t(packedStride));
}

py::array Demosaic(const py::object &rawObject, const py::object &pattern,
                   const std::string &algorithm, int bits, const std::string &output,
                   const std::array<int, 3> &balance, const py::object &matrix, int sampleFactor,
                   const std::string &sampleBytes, int threads, py::object out,
                   const py::object &packingName, int packedWidth, int packedHeight,
                   std::size_t packedStride) {
  py::buffer_info packedBytes;
  tavrix::RawView view;
  if (!packingName.is_none() && PackingOf(packingName.cast<std::string>()) != tavrix::Packing::kPlain8 &&
      PackingOf(packingName.cast<std::string>()) != tavrix::Packing::kPlain16) {
    view = PackedRawOf(rawObject, PackingOf(packingName.cast<std::string>()), packedWidth,
                       packedHeight, packedStride, &packedBytes);
  } else {
    if (!py::isinstance<py::array>(rawObject))
      throw py::type_error("raw: a numpy array of samples (or give packing= for camera bytes)");
    view = RawOf(rawObject.cast<py::array>());
  }
  tavrix::DemosaicOptions o;
  o.origin = OriginOf(pattern);
  o.algorithm = Lookup(kAlgorithms, algorithm, "algorithm");
  o.bitDepth = bits;
  o.sampleBytes = Lookup(kSampleBytes, sampleBytes, "sample_bytes");
  o.balanceRed = balance[0];
  o.balanceGreen = balance[1];
  o.balanceBlue = balance[2];
  if (!matrix.is_none()) {
    const py::array_t<double, py::array::c_style | py::array::forcecast> m(matrix);
    if (m.size() != 9)
      throw py::value_error("matrix: 3x3 or 9 numbers acting on (blue, green, red), got " +
                            std::to_string(m.size()));
    std::copy(m.data(), m.data() + 9, o.matrix.begin());
    o.correctColors = true;
  }
  o.sampleFactor = sampleFactor;
  o.parallel = ThreadsOf(threads);

  const bool wide = view.type == tavrix::SampleType::kMono16;
  const std::string record = output.empty() ? (wide ? "bgr48" : "bgr24") : output;
  const tavrix::PixelFormat format = Lookup(kOutputs, record, "output");
  const bool decimating = format == tavrix::PixelFormat::kBgrx32 && sampleFactor > 1 &&
                          o.algorithm == tavrix::Algorithm::kFastBilinear && !o.correctColors;
  const Decimated g = decimating ? DecimatedGeometry(view.width, view.height, sampleFactor)
                                 : Decimated{view.width, view.height, view.height};
  py::array image = out.is_none() ? NewImage(format, g.height, g.width) : out.cast<py::array>();
  tavrix::ColorView target = ColorOf(image, "out");
  if (target.format != format)
    throw py::value_error("out: holds " + Describe(image) + " but output '" + record +
                          "' needs " + (format == tavrix::PixelFormat::kBgr48 ? "uint16" : "uint8") +
                          " with " + (format == tavrix::PixelFormat::kBgrx32 ? "4" : "3") +
                          " channels");
  tavrix::Status s;
  {
    py::gil_scoped_release released;
    s = tavrix::Demosaic(view, target, o);
  }
  Check(s);
  if (decimating && out.is_none())
    return image[py::slice(0, g.rows, 1)].cast<py::array>();
  return image;
}

tavrix::BalanceOptions BalanceOptionsOf(const py::array &image, const std::string &estimator,
                                        int depth, int threads) {
  tavrix::BalanceOptions o;
  o.estimator = Lookup(kEstimators, estimator, "estimator");
  o.tableDepth = depth != 0 ? depth : (IsUint16(image) ? 16 : 8);
  o.parallel = ThreadsOf(threads);
  return o;
}

py::array Balance(py::array image, const std::string &estimator, int depth, bool inPlace,
                  int threads) {
  FormatOf(image, "image");
  py::array target = inPlace ? image : py::array(image.dtype(), std::vector<py::ssize_t>(
                                                                     image.shape(), image.shape() + 3));
  if (!inPlace) target[py::ellipsis()] = image;
  const tavrix::ColorView view = ColorOf(target, "image");
  const tavrix::BalanceOptions o = BalanceOptionsOf(image, estimator, depth, threads);
  tavrix::Status s;
  {
    py::gil_scoped_release released;
    s = tavrix::AutoBalance(view, o);
  }
  Check(s);
  return target;
}

py::tuple EstimateBalance(const py::array &image, const std::string &estimator, int depth) {
  const tavrix::PixelFormat format = FormatOf(image, "image");
  const tavrix::ConstColorView view(image.data(), int(image.shape(1)), int(image.shape(0)),
                                    RowStride(image, "image", tavrix::BytesPerPixel(format)),
                                    format);
  const tavrix::BalanceOptions o = BalanceOptionsOf(image, estimator, depth, 1);
  tavrix::BalanceTables tables;
  tavrix::Status s;
  {
    py::gil_scoped_release released;
    s = tavrix::EstimateBalance(view, o, &tables);
  }
  Check(s);
  auto asArray = [](const std::vector<std::uint16_t> &t) {
    return py::array_t<std::uint16_t>(py::ssize_t(t.size()), t.data());
  };
  return py::make_tuple(asArray(tables.red), asArray(tables.green), asArray(tables.blue),
                        !tables.unchanged);
}

// The bytes of a buffer whose items follow one another in C order.
py::buffer_info ContiguousBuffer(const py::buffer &b, const char *what) {
  py::buffer_info info = b.request();
  py::ssize_t expected = info.itemsize;
  for (py::ssize_t d = info.ndim - 1; d >= 0; --d) {
    if (info.shape[d] > 1 && info.strides[d] != expected)
      throw py::value_error(std::string(what) + ": the buffer is not contiguous; pass bytes(...) "
                            "or numpy.ascontiguousarray(...)");
    expected *= info.shape[d];
  }
  return info;
}

py::bytes Compress(const py::buffer &data, const std::string &codec) {
  const tavrix::Codec c = Lookup(kCodecs, codec, "codec");
  const py::buffer_info in = ContiguousBuffer(data, "data");
  const std::size_t size = std::size_t(in.size * in.itemsize);
  std::string stream(tavrix::MaxCompressedSize(c, size), '\0');
  if (stream.empty())
    throw py::value_error("data: " + std::to_string(size) + " bytes is more than a stream can hold");
  std::size_t written = 0;
  tavrix::Status s;
  {
    py::gil_scoped_release released;
    s = tavrix::Compress(c, in.ptr, size, stream.data(), stream.size(), &written);
  }
  Check(s);
  stream.resize(written);
  return py::bytes(stream);
}

py::bytes Decompress(const py::buffer &stream, const std::string &codec, std::size_t size) {
  const tavrix::Codec c = Lookup(kCodecs, codec, "codec");
  const py::buffer_info in = ContiguousBuffer(stream, "stream");
  std::string data(size, '\0');
  tavrix::Status s;
  {
    py::gil_scoped_release released;
    s = tavrix::Decompress(c, in.ptr, std::size_t(in.size * in.itemsize), data.data(), size);
  }
  Check(s);
  return py::bytes(data);
}

tavrix::Packing PackingOf(const std::string &name) {
  const std::optional<tavrix::Packing> p = tavrix::PackingFromName(name);
  if (!p) throw py::value_error("packing: unknown layout '" + name + "'");
  return *p;
}

py::array Unpack(const py::buffer &buffer, const std::string &packing, int width, int height,
                 int bits, std::size_t stride) {
  const tavrix::Packing p = PackingOf(packing);
  if (width <= 0 || height <= 0)
    throw py::value_error("width and height must be positive, got " + std::to_string(width) +
                          "x" + std::to_string(height));
  const int depth = bits != 0 ? bits : (tavrix::PackingFixedBits(p) != 0 ? tavrix::PackingFixedBits(p) : 16);
  const std::size_t rowBytes = tavrix::PackedRowBytes(p, width);
  const std::size_t packedStride = stride != 0 ? stride : rowBytes;
  const py::buffer_info in = ContiguousBuffer(buffer, "buffer");
  const std::size_t have = std::size_t(in.size * in.itemsize);
  const std::size_t need = packedStride * std::size_t(height - 1) + rowBytes;
  if (have < need)
    throw py::value_error("buffer: holds " + std::to_string(have) + " bytes but " +
                          std::to_string(height) + " rows of " + std::to_string(width) + " " +
                          packing + " samples need " + std::to_string(need));
  py::array_t<std::uint16_t> samples({py::ssize_t(height), py::ssize_t(width)});
  tavrix::Status s;
  {
    py::gil_scoped_release released;
    s = tavrix::Unpack(p, depth, width, height, in.ptr, packedStride, samples.mutable_data(),
                       std::size_t(width) * 2);
  }
  Check(s);
  return samples;
}

py::bytes PackSamples(const py::array &samples, const std::string &packing, int bits) {
  const tavrix::Packing p = PackingOf(packing);
  if (samples.ndim() != 2 || !IsUint16(samples))
    throw py::type_error("samples: a 2-D uint16 array, got " + Describe(samples));
  const int height = int(samples.shape(0)), width = int(samples.shape(1));
  const int depth = bits != 0 ? bits : (tavrix::PackingFixedBits(p) != 0 ? tavrix::PackingFixedBits(p) : 16);
  const std::size_t rowBytes = tavrix::PackedRowBytes(p, width);
  std::string out(rowBytes * std::size_t(height), '\0');
  const std::ptrdiff_t stride = RowStride(samples, "samples", 2);
  tavrix::Status s;
  {
    py::gil_scoped_release released;
    s = tavrix::Pack(p, depth, width, height, static_cast<const std::uint16_t *>(samples.data()),
                     std::size_t(stride), out.data(), rowBytes);
  }
  Check(s);
  return py::bytes(out);
}

py::dict Pattern(const std::string &name) {
  tavrix::PatternName parsed;
  Check(tavrix::ParsePatternName(name, &parsed));
  const char *names[] = {"", "GB", "GR", "", "BG", "", "", "", "RG"};
  py::dict d;
  d["origin"] = names[int(parsed.origin)];
  d["packing"] = parsed.packing ? py::object(py::str(tavrix::PackingName(*parsed.packing)))
                                : py::object(py::none());
  d["bits"] = parsed.bits;
  return d;
}

}  // namespace

PYBIND11_MODULE(_tavrix, m) {
  m.doc() = "Tavrix: demosaicing, colour balance and lossless compression of raw camera frames.";

  m.def("demosaic", &Demosaic, py::arg("raw"), py::kw_only(), py::arg("pattern") = "GB",
        py::arg("algorithm") = "fast", py::arg("bits") = 0, py::arg("output") = "",
        py::arg("balance") = std::array<int, 3>{0, 0, 0}, py::arg("matrix") = py::none(),
        py::arg("sample_factor") = 1, py::arg("sample_bytes") = "whole", py::arg("threads") = 1,
        py::arg("out") = py::none(), py::arg("packing") = py::none(), py::arg("width") = 0,
        py::arg("height") = 0, py::arg("stride") = 0,
        R"(Demosaics a Bayer mosaic into a colour image (channels blue, green, red).

raw: (height, width) uint8 or uint16 array of samples, right-aligned; rows may
  be padded (a slice of a wider array), samples within a row contiguous.
pattern: the Bayer phase: 'GB', 'GR', 'BG', 'RG' (row 0's colours), 'RGGB',
  OpenCV ('COLOR_BayerBG2BGR'), V4L2 ('SRGGB10P'), GenICam ('BayerRG12p'), DNG
  ('0112') or dcraw ('0x94949494') names, or an origin number (1, 2, 4, 8).
algorithm: 'fast', 'bilinear', 'laplacian1', 'laplacian2' or 'directional'
  (the best quality; every pixel written).
bits: significant bits of uint16 samples (8..16); 0 means 16.
output: 'bgr24' -> (H, W, 3) uint8, 'bgrx32' -> (H, W, 4) uint8, 'bgr48' ->
  (H, W, 3) uint16 on the sensor's scale; default bgr24 for uint8, bgr48 for uint16.
balance: additive (red, green, blue) offsets on the 8-bit scale.
matrix: a 3x3 colour-correction matrix acting on (blue, green, red); None for none.
sample_factor: bgrx32 with the fast algorithm: keep every n-th column and row.
sample_bytes: uint16 to bgrx32 with the fast algorithm: 'whole', 'high' or 'low'.
threads: 1 (default, no thread created), 0 for every core, or a count; the
  result is the same byte for byte.
out: an array to write into (its borders are left as they are where the
  algorithm does not write them); a new zero-filled array otherwise.
packing, width, height, stride: raw is the bytes of a camera layout ('raw10',
  'raw12', 'raw14', 'mono10p', 'mono12p', 'mono12packed', 'msb16', 'be16') of
  width x height samples, rows stride bytes apart (0: packed; a 2-D uint8 array
  gives its own); unpacked a band of rows at a time, never as a whole frame.

Returns the output array. Raises TypeError for a wrong dtype and ValueError,
with the library's reason, for anything the library refuses.)");

  m.def("balance", &Balance, py::arg("image"), py::kw_only(), py::arg("estimator") = "grayworld",
        py::arg("depth") = 0, py::arg("in_place") = false, py::arg("threads") = 1,
        R"(Balances the colours of an image automatically.

image: (H, W, 3) uint8, (H, W, 4) uint8 or (H, W, 3) uint16, blue-green-red.
estimator: 'grayworld', 'whiteworld', 'scalebymax', 'meanequalization',
  'stddev' or 'meanstddev'.
depth: significant bits per channel (1..16); 0 means 8 for uint8, 16 for uint16.
in_place: False (default) returns a balanced copy and leaves the image alone;
  True balances the image itself and returns it.)");

  m.def("estimate_balance", &EstimateBalance, py::arg("image"), py::kw_only(),
        py::arg("estimator") = "grayworld", py::arg("depth") = 0,
        R"(Measures an image: returns (red, green, blue, changed), three 65536-entry
uint16 lookup tables and whether the estimator found anything to correct.)");

  m.def("compress", &Compress, py::arg("data"), py::kw_only(), py::arg("codec") = "huffman",
        R"(Compresses a bytes-like object (bytes, bytearray, a numpy array) losslessly
with 'huffman', 'lz77' or 'rle'; returns the stream as bytes.)");

  m.def("decompress", &Decompress, py::arg("stream"), py::kw_only(), py::arg("codec"),
        py::arg("size"),
        R"(Decodes a stream made by compress() with the same codec into `size` bytes (the
size of what was compressed: a Huffman stream does not carry it). A damaged
stream raises ValueError.)");

  m.def("unpack", &Unpack, py::arg("buffer"), py::kw_only(), py::arg("packing"), py::arg("width"),
        py::arg("height"), py::arg("bits") = 0, py::arg("stride") = 0,
        R"(Unpacks camera samples into a (height, width) uint16 array of right-aligned values.

packing: 'raw10', 'raw12', 'raw14' (MIPI CSI-2), 'mono10p', 'mono12p' (GenICam),
  'mono12packed' (GigE Vision), 'msb16', 'be16', 'plain8' or 'plain16'.
bits: significant bits (the packed layouts fix them; 0 takes that, or 16).
stride: bytes between row starts in the buffer; 0 for packed rows.)");

  m.def("pack", &PackSamples, py::arg("samples"), py::kw_only(), py::arg("packing"),
        py::arg("bits") = 0,
        "Packs a (height, width) uint16 array of right-aligned samples into a camera layout.");

  m.def("pattern", &Pattern, py::arg("name"),
        R"(Reads a Bayer pattern name: returns {'origin': 'GB'|'GR'|'BG'|'RG',
'packing': layout or None, 'bits': bits or 0}.)");

  m.def("hardware_threads", &tavrix::HardwareThreads, "The number of hardware threads.");
  m.attr("ALGORITHMS") =
      py::make_tuple("fast", "bilinear", "laplacian1", "laplacian2", "directional");
  m.attr("ESTIMATORS") = py::make_tuple("grayworld", "whiteworld", "scalebymax",
                                        "meanequalization", "stddev", "meanstddev");
  m.attr("CODECS") = py::make_tuple("huffman", "lz77", "rle");
}
