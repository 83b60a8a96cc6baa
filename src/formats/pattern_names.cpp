// Names of the four Bayer phases in the ecosystems around the library.
//
// Every name comes down to the 2x2 cell at the mosaic's first pixel, written
// row-major (RGGB: row 0 red, green; row 1 green, blue), and the cell gives the
// origin by its first row. Two conventions differ from that reading:
//   - OpenCV names its conversion codes by the second row's second and third
//     colours: BayerBG2BGR is the mosaic R G / G B (eOriginRG);
//   - DNG writes colour indexes (0 red, 1 green, 2 blue) and dcraw a 32-bit word
//     with two bits per site, site (row, col) at bit 2 * (2 * (row % 8) + col % 2).
#include <array>
#include <cctype>
#include <cstdlib>
#include <string>

#include "tavrix/formats.h"

namespace tavrix {
namespace {

using Cell = std::array<char, 4>;  // row-major colours of the 2x2 cell: 'R', 'G', 'B'

// The origin of a Bayer cell; none for any other arrangement.
std::optional<ePatternOrigin> OriginOf(const Cell &c) {
  struct Known { Cell cell; ePatternOrigin origin; };
  constexpr Known kCells[] = {{{'G', 'B', 'R', 'G'}, eOriginGB},
                              {{'G', 'R', 'B', 'G'}, eOriginGR},
                              {{'B', 'G', 'G', 'R'}, eOriginBG},
                              {{'R', 'G', 'G', 'B'}, eOriginRG}};
  for (const Known &k : kCells)
    if (k.cell == c) return k.origin;
  return std::nullopt;
}

std::optional<Cell> CellOfLetters(std::string_view s) {
  if (s.size() != 4) return std::nullopt;
  Cell c{s[0], s[1], s[2], s[3]};
  if (!OriginOf(c)) return std::nullopt;
  return c;
}

// OpenCV's two letters (second row's second and third colours) -> the cell.
// The second row's second colour sits at (1, 1), its third at (1, 0) of the
// next cell to the right, the same as (1, 0).
std::optional<Cell> CellOfOpenCvPair(std::string_view s) {
  if (s.size() != 2) return std::nullopt;
  const char c11 = s[0], c10 = s[1];
  const auto other = [](char x) { return x == 'R' ? 'B' : 'R'; };
  Cell c{};
  if (c10 == 'G' && (c11 == 'R' || c11 == 'B')) c = {other(c11), 'G', 'G', c11};
  else if (c11 == 'G' && (c10 == 'R' || c10 == 'B')) c = {'G', other(c10), c10, 'G'};
  else return std::nullopt;
  return c;
}

struct Suffix {
  const char *text;
  Packing packing;
  int bits;
};

// Sample formats after the pattern in PFNC names (matched upper-cased).
constexpr Suffix kPfncSuffixes[] = {
    {"8", Packing::kPlain8, 8},          {"10", Packing::kPlain16, 10},
    {"10P", Packing::kMono10p, 10},      {"12", Packing::kPlain16, 12},
    {"12P", Packing::kMono12p, 12},      {"12PACKED", Packing::kMono12Packed, 12},
    {"14", Packing::kPlain16, 14},       {"16", Packing::kPlain16, 16}};

// ... and in V4L2 names: the P forms are the MIPI CSI-2 layouts.
constexpr Suffix kV4l2Suffixes[] = {
    {"8", Packing::kPlain8, 8},     {"10", Packing::kPlain16, 10}, {"10P", Packing::kRaw10, 10},
    {"12", Packing::kPlain16, 12},  {"12P", Packing::kRaw12, 12},  {"14", Packing::kPlain16, 14},
    {"14P", Packing::kRaw14, 14},   {"16", Packing::kPlain16, 16}};

// V4L2 fourcc codes, case-sensitive. The 8-bit codes GBRG, GRBG and RGGB are
// also CFA letters and are read as those (phase only, no layout).
struct Fourcc {
  const char *code;
  const char *cell;
  Packing packing;
  int bits;
};
constexpr Fourcc kFourccs[] = {
    {"BA81", "BGGR", Packing::kPlain8, 8},
    {"BG10", "BGGR", Packing::kPlain16, 10}, {"GB10", "GBRG", Packing::kPlain16, 10},
    {"BA10", "GRBG", Packing::kPlain16, 10}, {"RG10", "RGGB", Packing::kPlain16, 10},
    {"pBAA", "BGGR", Packing::kRaw10, 10},   {"pGAA", "GBRG", Packing::kRaw10, 10},
    {"pgAA", "GRBG", Packing::kRaw10, 10},   {"pRAA", "RGGB", Packing::kRaw10, 10},
    {"BG12", "BGGR", Packing::kPlain16, 12}, {"GB12", "GBRG", Packing::kPlain16, 12},
    {"BA12", "GRBG", Packing::kPlain16, 12}, {"RG12", "RGGB", Packing::kPlain16, 12},
    {"pBCC", "BGGR", Packing::kRaw12, 12},   {"pGCC", "GBRG", Packing::kRaw12, 12},
    {"pgCC", "GRBG", Packing::kRaw12, 12},   {"pRCC", "RGGB", Packing::kRaw12, 12},
    {"BG14", "BGGR", Packing::kPlain16, 14}, {"GB14", "GBRG", Packing::kPlain16, 14},
    {"GR14", "GRBG", Packing::kPlain16, 14}, {"RG14", "RGGB", Packing::kPlain16, 14},
    {"pBEE", "BGGR", Packing::kRaw14, 14},   {"pGEE", "GBRG", Packing::kRaw14, 14},
    {"pgEE", "GRBG", Packing::kRaw14, 14},   {"pREE", "RGGB", Packing::kRaw14, 14},
    {"BYR2", "BGGR", Packing::kPlain16, 16}, {"GB16", "GBRG", Packing::kPlain16, 16},
    {"GR16", "GRBG", Packing::kPlain16, 16}, {"RG16", "RGGB", Packing::kPlain16, 16}};

bool StripPrefix(std::string_view &s, std::string_view prefix) {
  if (s.substr(0, prefix.size()) != prefix) return false;
  s.remove_prefix(prefix.size());
  return true;
}

bool Set(PatternName *out, const Cell &cell, std::optional<Packing> packing, int bits) {
  out->origin = *OriginOf(cell);
  out->packing = packing;
  out->bits = bits;
  return true;
}

bool WithSuffix(PatternName *out, std::optional<Cell> cell, std::string_view suffix,
                const Suffix *table, std::size_t count) {
  if (!cell) return false;
  for (std::size_t i = 0; i < count; ++i)
    if (suffix == table[i].text) return Set(out, *cell, table[i].packing, table[i].bits);
  return false;
}

// [COLOR_|CV_]Bayer<XY|CFA>2<BGR|RGB|BGRA|RGBA|GRAY>[_VNG|_EA], upper-cased.
bool ParseOpenCv(std::string_view s, PatternName *out) {
  StripPrefix(s, "CV::");
  if (!StripPrefix(s, "COLOR_")) StripPrefix(s, "CV_");
  if (!StripPrefix(s, "BAYER")) return false;
  const std::size_t two = s.find('2');
  if (two == std::string_view::npos) return false;
  const std::string_view pattern = s.substr(0, two);
  std::string_view rest = s.substr(two + 1);
  constexpr std::string_view kOrders[] = {"BGRA", "RGBA", "BGR", "RGB", "GRAY"};
  bool known = false;
  for (std::string_view order : kOrders)
    if (StripPrefix(rest, order)) {
      known = true;
      break;
    }
  if (!known) return false;
  if (!rest.empty() && rest != "_VNG" && rest != "_EA") return false;
  const std::optional<Cell> cell =
      pattern.size() == 2 ? CellOfOpenCvPair(pattern) : CellOfLetters(pattern);
  return cell && Set(out, *cell, std::nullopt, 0);
}

// DNG colour indexes: four of 0, 1, 2 with optional spaces or commas between.
bool ParseDng(std::string_view s, PatternName *out) {
  std::string digits;
  for (char ch : s) {
    if (ch == ' ' || ch == ',') continue;
    if (ch < '0' || ch > '2') return false;
    digits += "RGB"[ch - '0'];
  }
  std::optional<Cell> cell = CellOfLetters(digits);
  return cell && Set(out, *cell, std::nullopt, 0);
}

// dcraw filter word: 0x and eight hex digits, repeating the same 2x2 cell over
// its eight rows (colour 3 is the second green of four-colour cameras).
bool ParseDcraw(std::string_view s, PatternName *out) {
  if (!StripPrefix(s, "0X") || s.size() != 8) return false;
  for (char ch : s)
    if (!std::isxdigit(static_cast<unsigned char>(ch))) return false;
  const std::uint32_t filters = std::uint32_t(std::strtoul(std::string(s).c_str(), nullptr, 16));
  const auto colour = [filters](int row, int col) {
    return "RGBG"[filters >> (((row << 1 & 14) | (col & 1)) << 1) & 3];
  };
  const Cell cell{colour(0, 0), colour(0, 1), colour(1, 0), colour(1, 1)};
  for (int row = 2; row < 8; ++row)
    for (int col = 0; col < 2; ++col)
      if (colour(row, col) != cell[std::size_t(2 * (row & 1) + col)]) return false;
  return OriginOf(cell) && Set(out, cell, std::nullopt, 0);
}

// The cell whose first row is the pair (PFNC names and the library's own).
std::optional<Cell> CellOfFirstRow(std::string_view pair) {
  for (std::string_view four : {"RGGB", "GRBG", "GBRG", "BGGR"})
    if (four.substr(0, 2) == pair) return CellOfLetters(four);
  return std::nullopt;
}

// Every form but the fourcc codes, on the upper-cased name.
bool ParseUpper(std::string_view s, PatternName *out) {
  std::string_view own = s;
  if (!StripPrefix(own, "EORIGIN")) StripPrefix(own, "ORIGIN");
  if (own.size() == 2)
    if (std::optional<Cell> cell = CellOfFirstRow(own)) return Set(out, *cell, std::nullopt, 0);
  if (std::optional<Cell> cell = CellOfLetters(s)) return Set(out, *cell, std::nullopt, 0);
  if (ParseOpenCv(s, out)) return true;
  std::string_view pfnc = s;
  if (StripPrefix(pfnc, "BAYER") && pfnc.size() > 2 &&
      WithSuffix(out, CellOfFirstRow(pfnc.substr(0, 2)), pfnc.substr(2), kPfncSuffixes,
                 std::size(kPfncSuffixes)))
    return true;
  std::string_view v4l2 = s;
  StripPrefix(v4l2, "V4L2_PIX_FMT_");
  if (StripPrefix(v4l2, "S") && v4l2.size() > 4 &&
      WithSuffix(out, CellOfLetters(v4l2.substr(0, 4)), v4l2.substr(4), kV4l2Suffixes,
                 std::size(kV4l2Suffixes)))
    return true;
  return ParseDng(s, out) || ParseDcraw(s, out);
}

}  // namespace

Status ParsePatternName(std::string_view name, PatternName *out) {
  while (!name.empty() && std::isspace(static_cast<unsigned char>(name.front())))
    name.remove_prefix(1);
  while (!name.empty() && std::isspace(static_cast<unsigned char>(name.back())))
    name.remove_suffix(1);
  PatternName result;
  bool found = false;
  for (const Fourcc &f : kFourccs)
    if (name == f.code) found = Set(&result, *CellOfLetters(f.cell), f.packing, f.bits);
  std::string upper(name);
  for (char &ch : upper) ch = char(std::toupper(static_cast<unsigned char>(ch)));
  if (!found) found = ParseUpper(upper, &result);
  if (!found)
    return Status(StatusCode::kInvalidOption,
                  "unknown Bayer pattern name \"" + std::string(name) +
                      "\" (try RGGB, BayerRG8, SRGGB10P, COLOR_BayerBG2BGR, 0112 or 0x94949494)");
  if (out != nullptr) *out = result;
  return Status();
}

std::optional<ePatternOrigin> PatternOriginFromOpenCvCode(int code) {
  // Each block lists BG, GB, RG, GR in OpenCV's naming.
  constexpr int kFirstCodes[] = {46, 62, 86, 135, 139};  // 2BGR, 2BGR_VNG, 2GRAY, 2BGR_EA, 2BGRA
  constexpr ePatternOrigin kOrder[] = {eOriginRG, eOriginGR, eOriginBG, eOriginGB};
  for (int first : kFirstCodes)
    if (code >= first && code < first + 4) return kOrder[code - first];
  return std::nullopt;
}

}  // namespace tavrix
