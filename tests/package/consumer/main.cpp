// A program outside the tree that uses the installed package.
#include <tavrix/tavrix.h>

#include <cstdio>

int main() {
  // A flat 4x4 mosaic converts to flat grey pixels (bar the unwritten border).
  unsigned char mosaic[16];
  for (int i = 0; i < 16; ++i) mosaic[i] = 77;
  unsigned char bgr[16 * 3] = {0};
  ISize size = {4, 4};
  CBayerConverter converter;
  CColorMatrix identity;
  converter.ConvertMono8ToBGR(bgr, size, mosaic, size, identity);
  if (bgr[0] != 77 || bgr[1] != 77 || bgr[2] != 77) {
    std::printf("unexpected pixel %d %d %d\n", bgr[0], bgr[1], bgr[2]);
    return 1;
  }

  // Offset tables of +10 applied to the converted pixels.
  CImageInfo info = {4, 4, 24, 8, sizeof bgr, eFormatRGB};
  CImageData data = {bgr};
  CColorBalance balance;
  balance.ComputeColorBalance(10, 10, 10);
  balance.ApplyColorBalance(&info, &data);
  if (bgr[0] != 87) {
    std::printf("balance gave %d\n", bgr[0]);
    return 1;
  }

  // A round trip through the checked decoder.
  CImageCompress codec;
  codec.InitCompress(eRLE, sizeof bgr);
  unsigned char stream[256], back[sizeof bgr];
  const unsigned long length = codec.EncodeImage(bgr, stream, sizeof stream);
  if (length == 0 || !codec.DecodeImage(stream, length, back, sizeof back) || back[5] != bgr[5]) {
    std::printf("compression round trip failed\n");
    return 1;
  }
  std::printf("ok\n");
  return 0;
}
