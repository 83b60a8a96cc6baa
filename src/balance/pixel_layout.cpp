#include "balance/pixel_layout.h"

namespace tavrix::detail {

std::optional<LayoutKind> LayoutOf(const CImageInfo& info) {
  switch (info.colorFormat) {
    case eFormatRGB:
      if (info.bitsPerPixel == 24 && info.bitsPerChannel == 8) return LayoutKind::kBgr24;
      if (info.bitsPerPixel == 48) return LayoutKind::kBgr48;
      break;
    case eFormatRGBA:
      if (info.bitsPerPixel == 32) return LayoutKind::kBgrx32;
      break;
  }
  return std::nullopt;
}

std::optional<OpenedImage> OpenImage(const CImageInfo* info, const CImageData* data) {
  if (info == nullptr || data == nullptr || data->pixels == nullptr) return std::nullopt;
  const std::optional<LayoutKind> kind = LayoutOf(*info);
  if (!kind || info->height == 0) return std::nullopt;
  return OpenedImage{*kind, {data->pixels, size_t(info->imageSize / info->height), info->width,
                             info->height}};
}

}  // namespace tavrix::detail
