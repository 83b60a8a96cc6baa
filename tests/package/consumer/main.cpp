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
  std::printf("ok\n");
  return 0;
}
